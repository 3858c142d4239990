/// Times of process calls and what they say.
#pragma once

#include <cstddef>
#include <vector>

namespace lum::host {

/// All in microseconds but the counts. The first four are of the plug-in alone: each block of the
/// played passage has the median of its undisturbed playings, and these are their mean and so on.
/// The rest is of all calls as they came, the machine's doings included.
struct BlockStatistics {
    double mean = 0.0;
    double median = 0.0;
    double worst = 0.0; // comes back at the same block of each playing
    std::size_t blocks = 0;
    std::size_t playings = 0;

    std::size_t disturbed = 0; // calls in which the system took the core away
    double p999 = 0.0;
    double worstUndisturbed = 0.0;
    double worstOfAll = 0.0;
};

/// The times of a passage that is played again and again. What a block costs comes back with each
/// playing; what the machine adds does not.
class BlockTimes {
public:
    explicit BlockTimes(std::size_t blocks);
    /// Makes room for one playing more, so that add() takes no memory.
    void beginPlaying();
    void add(double microseconds, bool isDisturbed);
    BlockStatistics statistics() const;

private:
    struct Call {
        float microseconds;
        bool isDisturbed;
    };
    double ownTime(std::size_t block) const;

    std::size_t blocks_;
    std::vector<Call> calls_; // [playings * blocks]
};

} // namespace lum::host
