#pragma once

#include "Audio/CAudioEnv.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamConverter.h"
#include "Audio/CAudioParamCreators.h"
#include "Audio/CAudioParamDef.h"
#include "Core/CApplication.h"
#include "Core/CMemoryReader.h"
#include "Core/StreamBytes.h"

#include <gtest/gtest.h>
#include <string>

using lum::test::bytesOf;
using CTextAttrs = std::map<std::string, std::string>;

/// A shared tree with the usual converters, and an instance tree with environment and collector.
class CParamFixture : public testing::Test {
protected:
    CParamFixture() {
        static const lum::CCreatorRow* const tables[] = {lum::kAudioParamCreators, nullptr};
        EXPECT_FALSE(lum::CApplication::start({tables, nullptr, nullptr}));
        EXPECT_FALSE(lum::CApplication::get()->initSharedObject(""));
        makeConverter("gain", "audio:cvt-gain", {{"decimals", "1"}, {"label", "dB"}});
        makeConverter("freq", "audio:cvt-freq", {{"label", "Hz"}});
        makeConverter("text", "audio:cvt-text", {});
        makeConverter("real", "audio:cvt-real", {{"decimals", "2"}});
        makeConverter("time", "audio:cvt-time", {{"scale", "0.001"}});
        makeConverter("enum", "audio:cvt-enum", {});
        makeConverter("on-off", "audio:cvt-enum",
                      {{"is-boolean", "true"}, {"state-names", "Off;On"}});
        EXPECT_FALSE(lum::CApplication::get()->initRootObject(root, ""));
        EXPECT_FALSE(create(*root, env, "audio:audio-env", "audio-env", {}));
        EXPECT_FALSE(create(*root, collector, "audio:param-collector", "param-collector",
                            {{"env", "^audio-env"}}));
    }
    ~CParamFixture() override {
        lum::CObject::destroyObject(root);
        lum::CApplication::finish();
    }

    template <class T>
    static lum::CErrorResult create(lum::CObject& parent, T*& out, const char* tag,
                                    const char* name, const CTextAttrs& texts) {
        lum::CAttrMap given;
        for (const auto& [key, text] : texts)
            given[key.c_str()] = lum::CAttrEntry::ofText(text.c_str());
        return parent.createChild(out, tag, name, false, &given);
    }
    lum::CAudioParamConverter* makeConverter(const char* name, const char* tag,
                                             const CTextAttrs& texts) {
        lum::CAudioParamConverter* converter = nullptr;
        EXPECT_FALSE(create(*lum::CObject::sharedRoot(), converter, tag, name, texts));
        return converter;
    }
    /// Declares a parameter; what the texts do not say is a plain number from 0 to 10.
    static lum::CErrorResult declare(lum::CAudioParamDef*& out, CTextAttrs texts) {
        texts.insert({{"element-size", "1"},
                      {"converter", "shared::real"},
                      {"min-values", "0"},
                      {"max-values", "10"},
                      {"def-values", "1"}});
        return create(*lum::CObject::sharedRoot(), out, "audio:param", "param", texts);
    }
    static const lum::CAudioParamInfo& infoOf(const CTextAttrs& texts) {
        lum::CAudioParamDef* definition = nullptr;
        lum::CErrorResult error = declare(definition, texts);
        EXPECT_FALSE(error) << error.line(0).toUtf8();
        return definition->getInfo();
    }
    static const lum::CAudioParamInfo& textInfo() {
        return infoOf(
            {{"data-type", "string"}, {"converter", "shared::text"}, {"def-values", "none"}});
    }
    lum::CAudioParam& bound(const char* name, const lum::CAudioParamInfo& info) {
        lum::CAudioParam& param = collector->getParam(name);
        param.bind(info, {});
        return param;
    }

    lum::CObject* root = nullptr;
    lum::CAudioEnv* env = nullptr;
    lum::CAudioParamCollector* collector = nullptr;
};

inline lum::CAudioParamChange floatChange(const lum::CAudioParamFormat& format, int group,
                                          int first, const std::vector<double>& values,
                                          bool isTruncating = false) {
    int count = static_cast<int>(values.size()) / format.elementSize;
    return lum::CAudioParamChange::ofValues(format, group, first, values.data(), count,
                                            isTruncating, nullptr);
}

/// Values of a group as they read, one per stored element.
inline std::vector<double> groupOf(const lum::CAudioParamStorage& storage, int group) {
    std::vector<double> values;
    for (int i = 0; i < storage.getElementCount(group); i++)
        values.push_back(storage.read(group, i));
    return values;
}
