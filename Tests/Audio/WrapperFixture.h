#pragma once

#include "Audio/CAudioWrapper.h"
#include "Audio/CProductTables.h"
#include "Product.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

namespace lum::test {

/// An instance without a host format, which keeps what the host would hear.
class TestWrapper : public CAudioWrapper {
public:
    using CAudioWrapper::finishInit;
    using CAudioWrapper::inputLabels;
    using CAudioWrapper::isLatencyChanged;
    using CAudioWrapper::pluginCode;
    using CAudioWrapper::updateDefaultRouting;
    using CAudioWrapper::windowHeight;
    using CAudioWrapper::windowWidth;

    ~TestWrapper() override { disconnectHost(); }
    void hostParamChanged(int32_t index, double value) override {
        if (!isInitialised) return;
        {
            std::lock_guard hold(lock);
            changes.push_back({index, value});
        }
        if (onHostCall) onHostCall();
    }
    void hostUpdateDisplay() override {
        displays++;
        if (onHostCall) onHostCall();
    }
    void hostBeginEdit(int32_t index) override { noteEdit(index); }
    void hostEndEdit(int32_t index) override { noteEdit(-index); }

    CAudioParam& param(const char* name) {
        return getCollector().getParam(CString("plugin.modMain.") + name);
    }
    double value(const char* name, int element = 0, int group = 0) {
        return param(name).readValue(group, element, -99.0);
    }
    CString text(const char* name, int element) { return param(name).getString(0, element); }

    std::vector<std::pair<int32_t, double>> changes;
    std::vector<int32_t> edits;
    int displays = 0;
    std::function<void()> onHostCall; // what the host does meanwhile

private:
    void noteEdit(int32_t index) {
        std::lock_guard hold(lock);
        edits.push_back(index);
    }
    std::mutex lock; // any thread may be the one that closes the last guard
};

/// The application with the real product, and an instance of it, not yet initialised.
class WrapperFixture : public testing::Test {
protected:
    WrapperFixture() {
        setenv("XDG_CONFIG_HOME", "/dev/null", 1); // no settings of the user
        const CErrorResult failure = CApplication::start(makeProductTables(kProductResources));
        EXPECT_FALSE(failure) << failure.line(0).toUtf8();
    }
    ~WrapperFixture() override {
        wrapper.reset();
        CApplication::finish();
    }

    void initInstance() {
        wrapper.reset(new TestWrapper);
        const CErrorResult failure = wrapper->init();
        ASSERT_FALSE(failure) << failure.line(0).toUtf8();
        ASSERT_FALSE(wrapper->finishInit());
    }

    std::unique_ptr<TestWrapper> wrapper;
};

} // namespace lum::test
