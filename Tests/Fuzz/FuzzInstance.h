#pragma once

#include "Audio/CAudioWrapper.h"
#include "Audio/CProductTables.h"
#include "Core/CApplication.h"
#include "Product.h"

#include <cstdlib>

/// An instance of the product that lives as long as the fuzzer.
class FuzzInstance : public lum::CAudioWrapper {
public:
    static FuzzInstance& get() {
        static FuzzInstance* instance = make();
        return *instance;
    }
    void hostParamChanged(int32_t, double) override {}
    void hostUpdateDisplay() override {}
    void hostBeginEdit(int32_t) override {}
    void hostEndEdit(int32_t) override {}

private:
    static FuzzInstance* make() {
        setenv("XDG_CONFIG_HOME", "/dev/null", 1);
        if (lum::CApplication::start(lum::makeProductTables(lum::kProductResources))) std::abort();
        auto* instance = new FuzzInstance;
        if (instance->init() || instance->finishInit()) std::abort();
        return instance;
    }
};
