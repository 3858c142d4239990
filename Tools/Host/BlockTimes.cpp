#include "Host/BlockTimes.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace lum::host {

namespace {

/// The value below which `share` of the times lie, both ends included.
double quantile(std::vector<float>& times, double share) {
    const auto last = static_cast<double>(times.size() - 1);
    const auto place = times.begin() + std::lround(share * last);
    std::nth_element(times.begin(), place, times.end());
    return static_cast<double>(*place);
}

} // namespace

BlockTimes::BlockTimes(std::size_t blocks) : blocks_(blocks) {}

void BlockTimes::beginPlaying() {
    const std::size_t needed = calls_.size() + blocks_;
    if (calls_.capacity() < needed) calls_.reserve(2 * needed);
}

void BlockTimes::add(double microseconds, bool isDisturbed) {
    calls_.push_back({static_cast<float>(microseconds), isDisturbed});
}

/// Median of the undisturbed playings of a block; of all when each was disturbed.
double BlockTimes::ownTime(std::size_t block) const {
    std::vector<float> all;
    std::vector<float> undisturbed;
    for (std::size_t i = block; i < calls_.size(); i += blocks_) {
        all.push_back(calls_[i].microseconds);
        if (!calls_[i].isDisturbed) undisturbed.push_back(calls_[i].microseconds);
    }
    return quantile(undisturbed.empty() ? all : undisturbed, 0.5);
}

BlockStatistics BlockTimes::statistics() const {
    BlockStatistics result;
    if (calls_.size() < blocks_ || blocks_ == 0) return result;
    std::vector<float> own;
    double sum = 0.0;
    for (std::size_t block = 0; block < blocks_; ++block) {
        const double time = ownTime(block);
        own.push_back(static_cast<float>(time));
        sum += time;
    }
    result.mean = sum / static_cast<double>(blocks_);
    result.median = quantile(own, 0.5);
    result.worst = quantile(own, 1.0);
    result.blocks = blocks_;
    result.playings = calls_.size() / blocks_;
    std::vector<float> all;
    for (const Call& call : calls_) {
        const auto time = static_cast<double>(call.microseconds);
        all.push_back(call.microseconds);
        if (call.isDisturbed) ++result.disturbed;
        if (!call.isDisturbed) result.worstUndisturbed = std::max(result.worstUndisturbed, time);
    }
    result.p999 = quantile(all, 0.999);
    result.worstOfAll = quantile(all, 1.0);
    return result;
}

} // namespace lum::host
