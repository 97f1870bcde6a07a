// The 48-bit linear congruential generator of the drand48 family (multiplier
// 0x5DEECE66D, increment 11), and the shuffle whose order decides which points
// --keepLimited keeps. A fixed seed must give the same choice on every machine.
#ifndef TAVLIN_UTIL_RANDOM_H
#define TAVLIN_UTIL_RANDOM_H

#include <cstdint>
#include <utility>
#include <vector>

namespace Tavlin
{
namespace Util
{

class Random
{
public:
    static constexpr uint64_t sMultiplier = 0x5DEECE66DULL;
    static constexpr uint64_t sIncrement = 11;
    static constexpr uint64_t sMask = (1ULL << 48) - 1;

    // The scrambled form of the seed 1.
    Random() : mSeed(0x5DEECE66CULL) {}

    void SetSeed(int64_t seed) { mSeed = (static_cast<uint64_t>(seed) ^ sMultiplier) & sMask; }
    uint64_t GetSeed() const { return mSeed; }

    // Uniform in [0, upperBound).
    int operator()(int upperBound);

    // For i from 1 upward, exchange element i with element random(i + 1).
    template <class T>
    void Shuffle(T* first, int64_t size)
    {
        for (int64_t i = 1; i < size; ++i)
            std::swap(first[i], first[(*this)(static_cast<int>(i + 1))]);
    }

private:
    // One step; the top 31 of the 48 bits.
    int32_t Next()
    {
        mSeed = (mSeed * sMultiplier + sIncrement) & sMask;
        return static_cast<int32_t>(mSeed >> 17);
    }

    uint64_t mSeed;
};

} // namespace Util
} // namespace Tavlin

#endif
