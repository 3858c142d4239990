#include "Host/BlockTimes.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace lum::host {

namespace {

/// The value below which `share` of the sorted times lie, both ends included.
double quantile(const std::vector<double>& sorted, double share) {
    const auto last = static_cast<double>(sorted.size() - 1);
    return sorted[static_cast<std::size_t>(std::lround(share * last))];
}

} // namespace

BlockTimes::BlockTimes(std::size_t expectedBlocks) {
    times_.reserve(expectedBlocks);
}

void BlockTimes::add(double microseconds, bool isDisturbed) {
    times_.push_back(microseconds);
    if (isDisturbed) ++disturbed_;
    if (!isDisturbed) worstUndisturbed_ = std::max(worstUndisturbed_, microseconds);
}

BlockStatistics BlockTimes::statistics() const {
    BlockStatistics result;
    if (times_.empty()) return result;
    std::vector<double> sorted = times_;
    std::ranges::sort(sorted);
    result.blocks = sorted.size();
    result.disturbed = disturbed_;
    result.mean =
        std::accumulate(sorted.begin(), sorted.end(), 0.0) / static_cast<double>(sorted.size());
    result.median = quantile(sorted, 0.5);
    result.p999 = quantile(sorted, 0.999);
    result.worst = sorted.back();
    result.worstUndisturbed = worstUndisturbed_;
    return result;
}

} // namespace lum::host
