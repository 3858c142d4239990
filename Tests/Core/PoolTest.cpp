#include "Core/CLumMemAllocator.h"
#include "Core/CVector.h"

#include <atomic>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <thread>
#include <vector>

using namespace lum;

namespace {

bool isAligned(const void* block) {
    return reinterpret_cast<uintptr_t>(block) % 16 == 0;
}

/// A block filled with a value of its own, which any other user of the bytes would spoil.
struct CFilled {
    unsigned char* block;
    size_t size;
    unsigned char value;

    static CFilled make(size_t size, unsigned char value) {
        auto* block = static_cast<unsigned char*>(pool::alloc(size));
        std::memset(block, value, size);
        return {block, size, value};
    }
    bool isIntact() const {
        for (size_t i = 0; i < size; i++)
            if (block[i] != value) return false;
        return true;
    }
};

} // namespace

TEST(PoolTest, blocksOfAllSizesAreApartThroughManyRefills) {
    std::mt19937 random(1);
    std::vector<CFilled> all;
    for (int i = 0; i < 6000; i++) {
        all.push_back(CFilled::make(random() % (i % 50 == 0 ? 20000 : 700),
                                    static_cast<unsigned char>(random())));
        ASSERT_TRUE(isAligned(all.back().block));
    }
    for (const CFilled& filled : all) {
        ASSERT_TRUE(filled.isIntact());
        ASSERT_GE(pool::capacityOf(filled.block), filled.size);
        pool::free(filled.block);
    }
}

TEST(PoolTest, reallocKeepsTheContentAndMovesUnlessTheCapacityFits) {
    for (const auto& [from, to] : {std::pair<size_t, size_t>{100, 5000},
                                   {5000, 100},
                                   {5000, 9000},
                                   {112, 100},
                                   {100, 112},
                                   {5000, 5000}}) {
        CFilled filled = CFilled::make(from, 77);
        const size_t old = pool::capacityOf(filled.block);
        auto* moved = static_cast<unsigned char*>(pool::realloc(filled.block, to));
        EXPECT_EQ(moved == filled.block, to == old) << from << " to " << to;
        filled = {moved, std::min(from, to), 77};
        EXPECT_TRUE(filled.isIntact()) << from << " to " << to;
        pool::free(moved);
    }
}

// Threads fill blocks, check them, free them or leave them in shared places where others find them:
// a block that two threads hold at once is spoilt.
TEST(PoolTest, noTwoThreadsHoldTheSameBlock) {
    struct CPlace {
        std::atomic<CFilled*> filled{nullptr};
    };
    std::vector<CPlace> places(64);
    std::atomic<int> spoilt{0};
    const auto work = [&](unsigned seed) {
        std::mt19937 random(seed);
        for (int i = 0; i < 20000; i++) {
            const size_t size = 1 + random() % 60; // few classes, much contention
            auto* mine = new (pool::alloc(sizeof(CFilled)))
                CFilled(CFilled::make(size, static_cast<unsigned char>(random())));
            CFilled* other = places[random() % places.size()].filled.exchange(mine);
            if (!other) continue;
            if (!other->isIntact()) spoilt++;
            pool::free(other->block);
            pool::free(other);
        }
    };
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < 4; t++) threads.emplace_back(work, t);
    for (std::thread& thread : threads) thread.join();
    for (CPlace& place : places) {
        if (CFilled* filled = place.filled) {
            pool::free(filled->block);
            pool::free(filled);
        }
    }
    EXPECT_EQ(spoilt, 0);
}

TEST(PoolTest, vectorsKeepTheirElementsThroughGrowthAndMoves) {
    CVector<CVector<int, 2>, 2> rows;
    for (int i = 0; i < 40; i++) {
        CVector<int, 2> row;
        for (int k = 0; k <= i; k++) row.push_back(i * 100 + k);
        rows.push_back(std::move(row));
    }
    rows.erase(3);
    rows.insert(0, CVector<int, 2>{7});
    const CVector<CVector<int, 2>, 2> copy = rows;
    const CVector<CVector<int, 2>, 2> moved = std::move(rows);
    EXPECT_EQ(moved.size(), 40U);
    for (const auto* all : {&copy, &moved}) {
        EXPECT_EQ((*all)[0][0], 7);
        EXPECT_EQ((*all)[4].size(), 5U);
        EXPECT_EQ((*all)[39][39], 3939);
    }
}
