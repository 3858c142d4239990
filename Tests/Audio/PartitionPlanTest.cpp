#include "Audio/Processes/CPartitionPlan.h"

#include <gtest/gtest.h>
#include <vector>

using namespace lum;

namespace {

std::vector<CPartitionPlan::CStage> stagesOf(int minBlock, int length) {
    const CPartitionPlan plan = CPartitionPlan::find(minBlock, length);
    return {plan.stages.begin(), plan.stages.end()};
}

} // namespace

TEST(PartitionPlanTest, commonKernelsGetTheirKnownPlans) {
    struct {
        int minBlock;
        int length;
        std::vector<CPartitionPlan::CStage> stages; // level (16 << level samples), partitions
    } const rows[] = {
        {128, 529, {{3, 5}}},
        {128, 1059, {{3, 9}}},
        {128, 2117, {{3, 3}, {5, 4}}},
        {128, 0, {}},
        {128, 1, {{3, 1}}},
        {16384, 529, {{10, 1}}},
        {16384, 40000, {{10, 3}}},
        {1, 16, {{0, 1}}}, // below the smallest block
    };
    for (const auto& row : rows)
        EXPECT_EQ(stagesOf(row.minBlock, row.length), row.stages) << row.length;
}

TEST(PartitionPlanTest, stagesCoverTheKernelAndLineUp) {
    for (int minBlock : {16, 64, 100, 128, 1024, 16384})
        for (int length : {1, 17, 529, 1151, 2303, 5000, 48000, 400000}) {
            const std::vector<CPartitionPlan::CStage> stages = stagesOf(minBlock, length);
            ASSERT_FALSE(stages.empty());
            const int first = CPartitionPlan::blockOf(stages[0].level);
            EXPECT_GE(first, minBlock);
            int covered = 0;
            for (const CPartitionPlan::CStage& stage : stages) {
                EXPECT_EQ(covered, CPartitionPlan::blockOf(stage.level) - first) << length;
                EXPECT_GE(stage.partitions, 1);
                EXPECT_LT(covered, length) << "an empty stage";
                covered += stage.partitions * CPartitionPlan::blockOf(stage.level);
            }
            EXPECT_GE(covered, length);
        }
}
