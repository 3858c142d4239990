#include "Audio/Processes/CPartitionPlan.h"

#include <algorithm>

namespace lum {

namespace {

struct CCost {
    double stage;
    double partition;
};

/// By level, in a common unit of time.
constexpr CCost kCosts[CPartitionPlan::kLevels] = {
    {0.00024855, 0.000078898},  // 16
    {0.000220029, 0.000068457}, // 32
    {0.000214842, 0.000064779}, // 64
    {0.000269852, 0.000066840}, // 128
    {0.000291851, 0.000065163}, // 256
    {0.000307456, 0.000063092}, // 512
    {0.000388251, 0.000046687}, // 1,024
    {0.000484103, 0.000050455}, // 2,048
    {0.000509724, 0.000052838}, // 4,096
    {0.000617706, 0.000055967}, // 8,192
    {0.000698987, 0.000071091}, // 16,384
};

/// Tries every way to go from a level to larger ones and keeps the cheapest.
class CPartitionSearch {
public:
    CPartitionPlan best;

    CPartitionSearch() { best.cost = 1e10; }

    /// remaining: taps that are not covered yet.
    void search(double cost, int remaining, int level) {
        cost += kCosts[level].stage;
        if (cost >= best.cost) return; // costs only grow
        const int block = CPartitionPlan::blockOf(level);
        plan.push_back({level, 0});
        if (level == CPartitionPlan::kLevels - 1) finish(cost, remaining, level);
        for (int next = level + 1; next < CPartitionPlan::kLevels; next++) {
            // A stage of the next size delivers that much later: so many partitions come before it.
            const int count = (1 << (next - level)) - 1;
            if (count * block >= remaining) {
                finish(cost, remaining, level);
                break; // a still larger step would cover the same with the same partitions
            }
            plan.back().partitions = count;
            search(cost + count * kCosts[level].partition, remaining - count * block, next);
        }
        plan.pop_back();
    }

private:
    void finish(double cost, int remaining, int level) {
        const int block = CPartitionPlan::blockOf(level);
        const int count = (remaining + block - 1) / block;
        const double total = cost + count * kCosts[level].partition;
        if (total >= best.cost) return;
        plan.back().partitions = count;
        best.stages = plan;
        best.cost = total;
    }

    CVector<CPartitionPlan::CStage, CPartitionPlan::kLevels> plan;
};

} // namespace

CPartitionPlan CPartitionPlan::find(int minBlock, int kernelLength) {
    if (kernelLength <= 0) return {};
    int level = 0;
    while (level < kLevels - 1 && blockOf(level) < minBlock) level++;
    CPartitionSearch search;
    search.search(0.0, kernelLength, level);
    return std::move(search.best);
}

} // namespace lum
