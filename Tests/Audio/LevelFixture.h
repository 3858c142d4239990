#pragma once

#include "Audio/Transform/VectorCode.h"

#include <gtest/gtest.h>

namespace lum {

inline constexpr platform::CpuLevel kAllLevels[] = {
    platform::CpuLevel::Plain, platform::CpuLevel::Avx2, platform::CpuLevel::Avx512};

/// Every test runs with the inner loops of each level; of levels that this machine lacks it says
/// so.
class LevelTest : public testing::TestWithParam<platform::CpuLevel> {
protected:
    void SetUp() override {
        if (GetParam() > platform::cpuLevel()) GTEST_SKIP() << "no such instructions here";
        selectVectorCode(GetParam());
    }
    void TearDown() override { selectVectorCode(platform::cpuLevel()); }
};

inline const char* levelName(platform::CpuLevel level) {
    switch (level) {
    case platform::CpuLevel::Plain:
        return "plain";
    case platform::CpuLevel::Avx2:
        return "avx2";
    case platform::CpuLevel::Avx512:
        return "avx512";
    }
    return "";
}

} // namespace lum
