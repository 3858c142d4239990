/// Times of process calls and what they say.
#pragma once

#include <cstddef>
#include <vector>

namespace lum::host {

/// All in microseconds but the counts.
struct BlockStatistics {
    std::size_t blocks = 0;
    std::size_t disturbed = 0; // blocks in which the system took the core away
    double mean = 0.0;
    double median = 0.0;
    double p999 = 0.0;             // of all blocks
    double worst = 0.0;            // of all blocks
    double worstUndisturbed = 0.0; // what the plug-in itself is to blame for
};

class BlockTimes {
public:
    /// Room for so many blocks is made at once, so that add() takes no memory.
    explicit BlockTimes(std::size_t expectedBlocks);
    void add(double microseconds, bool isDisturbed);
    BlockStatistics statistics() const;

private:
    std::vector<double> times_;
    std::size_t disturbed_ = 0;
    double worstUndisturbed_ = 0.0;
};

} // namespace lum::host
