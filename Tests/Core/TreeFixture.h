#pragma once

#include "Core/CApplication.h"
#include "Core/CCoreCreators.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

/// An object that keeps a record of what is done to it, in one list for all.
class CProbe : public lum::CObject {
public:
    static void fillClass(lum::CClassInfo& info);

    lum::CErrorResult init() override { return note("init", CObject::init()); }
    lum::CErrorResult initContent() override { return note("content", CObject::initContent()); }
    lum::CErrorResult initDone() override { return note("done", CObject::initDone()); }
    lum::CErrorResult onChildAdded(CObject* child) override {
        return note("added:" + child->getName().toUtf8());
    }
    lum::CErrorResult attrA(const lum::CAttrEntry& value) {
        return note("a=" + value.text().toUtf8(), nullptr);
    }
    lum::CErrorResult attrB(const lum::CAttrEntry& value) {
        return note("b=" + value.text().toUtf8(), nullptr);
    }
    lum::CErrorResult attrBad(const lum::CAttrEntry&) { return LUM_FAIL("bad attribute"); }
    lum::CErrorResult ping() { return onPing ? onPing(*this, nullptr) : note("ping", nullptr); }
    lum::CErrorResult pingArguments(lum::CAttrMap& arguments) {
        return onPing ? onPing(*this, &arguments)
                      : note("ping:" + arguments["sender"].text().toUtf8() + ":" +
                                 arguments["event-name"].text().toUtf8(),
                             nullptr);
    }

    lum::CErrorResult note(const std::string& what, lum::CErrorResult result = nullptr) {
        journal.push_back(getName().toUtf8() + " " + what);
        return result;
    }

    static inline std::vector<std::string> journal;
    lum::CErrorResult (*onPing)(CProbe&, lum::CAttrMap*) = nullptr;
};

inline constexpr lum::CAttrRow<CProbe> kProbeAttrs[] = {
    {"a", &CProbe::attrA}, {"b", &CProbe::attrB}, {"bad", &CProbe::attrBad}};
inline constexpr lum::CEventRow<CProbe> kProbeEvents[] = {
    {"ping", &CProbe::ping}, {"ping-arguments", &CProbe::pingArguments}};

inline void CProbe::fillClass(lum::CClassInfo& info) {
    CObject::fillClass(info);
    info.addAttrs(kProbeAttrs);
    info.addEvents(kProbeEvents);
}

inline const lum::CCreatorRow kProbeCreators[] = {lum::creatorRow<CProbe>("probe"),
                                                  {nullptr, nullptr, nullptr}};
inline const lum::CCreatorRow* const kTestCreators[] = {lum::kCoreCreators, kProbeCreators,
                                                        nullptr};

/// Authored form of a node, and its compiled form.
struct CNode {
    std::string tag;
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<CNode> children;
    std::string templateClass; // of a template, whose body is the rest

    static std::string bytesOf(const CNode& root, size_t padding = 0) {
        std::vector<std::string> texts{""};
        std::string body, offsets, pool;
        put(root, texts, body);
        for (const std::string& text : texts) {
            number(offsets, 4 * texts.size() + pool.size(), 4);
            pool += text + '\0';
        }
        pool.append(padding, '\x55');
        std::string file;
        number(file, texts.size(), 4);
        number(file, offsets.size() + pool.size(), 4);
        return file + offsets + pool + body;
    }

private:
    static void number(std::string& out, size_t value, int size) {
        for (int i = 0; i < size; i++) out += static_cast<char>(value >> (8 * i));
    }
    static void text(const std::string& value, std::vector<std::string>& texts, std::string& out) {
        size_t index = 0;
        while (index < texts.size() && texts[index] != value) index++;
        if (index == texts.size()) texts.push_back(value);
        number(out, index, 2);
    }
    static void put(const CNode& node, std::vector<std::string>& texts, std::string& out) {
        text(node.tag, texts, out);
        text(node.name, texts, out);
        number(out, !node.templateClass.empty(), 1);
        std::string content;
        number(content, node.attributes.size(), 2);
        for (const auto& [key, value] : node.attributes) {
            text(key, texts, content);
            text(value, texts, content);
        }
        number(content, node.children.size(), 2);
        for (const CNode& child : node.children) put(child, texts, content);
        if (!node.templateClass.empty()) {
            text(node.templateClass, texts, out);
            number(out, content.size() + 5, 4);
            out.append(5, '\0'); // the body's tag, name and form
        }
        out += content;
    }
};

/// The innermost message of a failure.
inline std::string first(const lum::CErrorResult& error) {
    return error.line(0).toUtf8();
}

using Journal = std::vector<std::string>;

/// A started application with an empty shared root, and one instance root.
class CTreeTest : public testing::Test {
protected:
    void SetUp() override {
        CProbe::journal.clear();
        ASSERT_FALSE(lum::CApplication::start({kTestCreators, nullptr, nullptr}));
        ASSERT_FALSE(lum::CApplication::get()->initSharedObject(""));
        ASSERT_FALSE(lum::CApplication::get()->initRootObject(root, ""));
    }
    void TearDown() override {
        lum::CObject::destroyObject(root);
        lum::CApplication::finish();
    }
    /// Raw child, without any pass.
    template <class T = lum::CObject>
    static T* add(lum::CObject* parent, const char* name, const char* tag = "core:object") {
        lum::CObject* child = nullptr;
        EXPECT_FALSE(parent->createChild(child, tag, name, false));
        return dynamic_cast<T*>(child);
    }
    static CProbe* addProbe(lum::CObject* parent, const char* name) {
        return add<CProbe>(parent, name, "probe");
    }
    static std::string attr(const lum::CObject* object, const char* name) {
        const lum::CAttrEntry* entry = object->findAttr(name);
        return entry ? entry->text().toUtf8() : "(absent)";
    }
    static void set(lum::CObject* object, const char* name, const char* text) {
        EXPECT_FALSE(object->setAttr(name, text, true));
    }
    static std::vector<std::string> takeJournal() { return std::exchange(CProbe::journal, {}); }

    lum::CObject* root = nullptr;
};
