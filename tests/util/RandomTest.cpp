#include "util/Random.h"

#include <gtest/gtest.h>

#include <stdlib.h>

#include <numeric>
#include <vector>

using Tavlin::Util::Random;

namespace
{
// glibc's 48-bit generator on the same state, as an independent oracle.
struct Glibc48
{
    unsigned short s[3];
    explicit Glibc48(uint64_t seed) : s{uint16_t(seed), uint16_t(seed >> 16), uint16_t(seed >> 32)} {}
    uint64_t State() const { return uint64_t(s[0]) | (uint64_t(s[1]) << 16) | (uint64_t(s[2]) << 32); }
    // The uniform value below `bound` from nrand48's 31-bit draws: top bits for a power
    // of two, otherwise the remainder, rejecting draws from the incomplete last block.
    long Below(long bound, int* rejected = nullptr)
    {
        long draw = nrand48(s);
        if ((bound & (bound - 1)) == 0)
            return (bound * draw) >> 31;
        while (draw - draw % bound + (bound - 1) > 0x7fffffffL)
        {
            draw = nrand48(s);
            if (rejected)
                ++*rejected;
        }
        return draw % bound;
    }
};
} // namespace

TEST(RandomGenerator, FollowsTheDrand48SequenceBitForBit)
{
    Random random;
    EXPECT_EQ(random.GetSeed(), 0x5DEECE66CULL);
    random.SetSeed(1);
    EXPECT_EQ(random.GetSeed(), 0x5DEECE66CULL);

    Glibc48 oracle(random.GetSeed());
    for (int i = 0; i < 1000; ++i)
    {
        ASSERT_EQ(random(1 << (i % 31)), oracle.Below(1L << (i % 31)));
        ASSERT_EQ(random.GetSeed(), oracle.State());
    }
    EXPECT_EQ(random(1), 0);
    nrand48(oracle.s);
    EXPECT_EQ(random.GetSeed(), oracle.State());
    // jrand48 shows the same state through its 32 top bits; bound 2 keeps the top one.
    EXPECT_EQ(random(2), static_cast<int>(static_cast<uint32_t>(jrand48(oracle.s)) >> 31));

    // Other bounds: the draw modulo the bound, rejecting the incomplete last block. Just
    // above 2^30 about half of all draws fall into it.
    random.SetSeed(123456789);
    Glibc48 modulo(random.GetSeed());
    int rejected = 0;
    for (int bound : {3, 10, 1000, 65537, 1000000007, (1 << 30) + 1})
        for (int i = 0; i < 300; ++i)
            ASSERT_EQ(random(bound), modulo.Below(bound, &rejected)) << bound;
    EXPECT_GT(rejected, 100);
}

TEST(RandomShuffle, ExchangesEachElementWithAnEarlierOrItselfInRisingOrder)
{
    Random random;
    random.SetSeed(7);
    std::vector<int> items(50);
    std::iota(items.begin(), items.end(), 0);
    std::vector<int> expected = items;
    random.Shuffle(items.data(), static_cast<int64_t>(items.size()));
    Random seven;
    seven.SetSeed(7);
    Glibc48 oracle(seven.GetSeed());
    for (size_t i = 1; i < expected.size(); ++i)
        std::swap(expected[i], expected[oracle.Below(long(i) + 1)]);
    EXPECT_EQ(items, expected);
    EXPECT_EQ(random.GetSeed(), oracle.State());

    // One element or none draws nothing.
    uint64_t seed = random.GetSeed();
    random.Shuffle(items.data(), 1);
    random.Shuffle(items.data(), 0);
    EXPECT_EQ(random.GetSeed(), seed);
}
