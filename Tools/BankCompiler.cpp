// sorrel-bankc: compiles an authored bank of presets into the block that the product embeds.

#include "Audio/CAudioParamStorage.h"
#include "Audio/CAudioPreset.h"
#include "Core/CAtomicFileWriter.h"
#include "Core/CWriteSeqBuffer.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <pugixml.hpp>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using lum::CAudioParamChange;
using lum::CString;

/// Turns offsets of the parser into lines.
class CLineTable {
public:
    explicit CLineTable(const std::string& path) : name(path) {
        std::ifstream file(path, std::ios::binary);
        std::stringstream content;
        content << file.rdbuf();
        text = content.str();
    }
    [[noreturn]] void fail(ptrdiff_t offset, const std::string& message) const {
        int line = 1;
        for (ptrdiff_t i = 0; i < offset && i < static_cast<ptrdiff_t>(text.size()); i++)
            if (text[static_cast<size_t>(i)] == '\n') line++;
        throw std::runtime_error(name + ":" + std::to_string(line) + ": " + message);
    }
    [[noreturn]] void fail(const pugi::xml_node& node, const std::string& message) const {
        fail(node.offset_debug(), message);
    }

private:
    std::string name;
    std::string text;
};

CString toString(const std::string& utf8) {
    return CString::fromUtf8(utf8);
}

std::vector<std::string> splitAt(const std::string& text, char separator) {
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == separator)
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

class CBankCompiler {
public:
    explicit CBankCompiler(const std::string& bankPath) : lines(bankPath), path(bankPath) {}

    void compile(lum::CByteBuffer& payload, uint32_t& blockId) {
        pugi::xml_document document;
        const pugi::xml_parse_result parsed = document.load_file(path.c_str());
        if (!parsed) lines.fail(parsed.offset, parsed.description());
        const pugi::xml_node bank = document.child("bank");
        if (!bank) throw std::runtime_error(path + ":1: the root element is not <bank>");
        lum::CVector<lum::CAudioPresetBank, 1> list;
        buildBank(list.emplace_back(), bank);
        const std::string block = bank.attribute("block").as_string();
        lum::CWriteSeqBuffer buffer;
        if (block == "abnk")
            check(list[0].save(buffer));
        else if (block == "alst")
            check(saveBankList(buffer, list));
        else
            lines.fail(bank, "block is neither \"abnk\" nor \"alst\"");
        blockId = block == "abnk" ? lum::kBankBlock : lum::kListBlock;
        buffer.getBytes(payload);
    }

private:
    void buildBank(lum::CAudioPresetBank& out, const pugi::xml_node& bank) {
        out.name = toString(bank.attribute("name").as_string());
        id = required(bank, "id");
        definitions = required(bank, "definitions");
        for (const pugi::xml_node& node : bank.children("preset"))
            buildPreset(out.presets.emplace_back(), node, bank.child("common"));
        for (const pugi::xml_node& node : bank.children())
            if (node.type() == pugi::node_element && std::string(node.name()) != "preset" &&
                std::string(node.name()) != "common")
                lines.fail(node, "unexpected element <" + std::string(node.name()) + ">");
    }

    void buildPreset(lum::CAudioPreset& out, const pugi::xml_node& preset,
                     const pugi::xml_node& common) {
        name = required(preset, "name");
        out.name = toString(id + ":" + name);
        std::map<std::string, pugi::xml_node> params;
        for (const pugi::xml_node& node : common.children("param"))
            params[required(node, "key")] = node;
        std::map<std::string, pugi::xml_node> own;
        for (const pugi::xml_node& node : preset.children("param"))
            if (!own.emplace(required(node, "key"), node).second)
                lines.fail(node, "the preset has this parameter already");
        for (const auto& [key, node] : own) params[key] = node;
        for (const auto& [key, node] : params) out.setEntry(toString(key), buildEntry(key, node));
    }

    lum::CByteBuffer buildEntry(const std::string& key, const pugi::xml_node& node) {
        lum::CAudioParamStorage storage;
        lum::CAudioParamFormat format;
        const std::string type = node.attribute("type").as_string("float");
        if (type == "string")
            format.dataType = lum::ParamDataType::String;
        else if (type != "float")
            lines.fail(node, "unknown type \"" + type + "\"");
        storage.setFormat(format);
        int group = 0;
        if (node.attribute("values")) storage.apply(buildGroup(node, node, format, group++));
        for (const pugi::xml_node& child : node.children("group"))
            storage.apply(buildGroup(node, child, format, group++));
        if (group == 0) lines.fail(node, "the parameter has no values");
        lum::CWriteSeqBuffer buffer;
        check(buffer.writeString(toString(definitions + key)));
        check(storage.save(buffer));
        lum::CByteBuffer block;
        buffer.getBytes(block);
        return block;
    }

    CAudioParamChange buildGroup(const pugi::xml_node& param, const pugi::xml_node& node,
                                 const lum::CAudioParamFormat& format, int group) {
        const std::string values = replaceName(node.attribute("values").as_string());
        CAudioParamChange change;
        change.group = group;
        change.isTruncating = true;
        change.format = format;
        if (format.isFloat())
            addNumbers(change, param, values);
        else
            addTexts(change, values);
        change.elementCount = change.values.ssize();
        return change;
    }

    void addNumbers(CAudioParamChange& change, const pugi::xml_node& param,
                    const std::string& values) {
        const std::string unit = param.attribute("unit").as_string();
        if (!unit.empty() && unit != "dB") lines.fail(param, "unknown unit \"" + unit + "\"");
        for (const std::string& token : splitAt(values, ' ')) {
            if (token.empty()) continue;
            double value = 0.0;
            if (!toString(token).parseReal(value))
                lines.fail(param, "\"" + token + "\" is no number");
            change.values.push_back(unit.empty() ? value : std::pow(10.0, value / 20.0));
        }
    }

    static void addTexts(CAudioParamChange& change, const std::string& values) {
        change.data = std::make_unique<lum::CAudioParamData>();
        for (const std::string& text : splitAt(values, ','))
            change.values.push_back(change.data->addString(toString(text)));
    }

    std::string replaceName(std::string text) const {
        const size_t place = text.find("{name}");
        if (place != std::string::npos) text.replace(place, 6, name);
        return text;
    }

    std::string required(const pugi::xml_node& node, const char* attribute) const {
        if (!node.attribute(attribute))
            lines.fail(node, "attribute \"" + std::string(attribute) + "\" is missing");
        return node.attribute(attribute).as_string();
    }

    static void check(const lum::CErrorResult& error) {
        if (error) throw std::runtime_error(error.line(0).toUtf8());
    }

    CLineTable lines;
    std::string path;
    std::string id;          // of the registry
    std::string definitions; // full name of the registry's hierarchy
    std::string name;        // of the preset under work
};

void writeBlock(const std::string& path, const lum::CByteBuffer& payload, uint32_t blockId) {
    lum::CAtomicFileWriter file;
    lum::CErrorResult error = file.open(toString(path));
    if (!error) error = file.writeCompressedData(payload, blockId);
    if (!error) error = file.commit();
    if (error) throw std::runtime_error(error.line(0).toUtf8());
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: sorrel-bankc BANK.xml OUT\n"
                             "Compiles an authored bank of presets into a compressed block.\n");
        return 2;
    }
    try {
        lum::CByteBuffer payload;
        uint32_t blockId = 0;
        CBankCompiler(argv[1]).compile(payload, blockId);
        writeBlock(argv[2], payload, blockId);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
