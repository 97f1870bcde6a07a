#include "util/Random.h"

#include <gtest/gtest.h>

#include <stdlib.h>

#include <numeric>
#include <vector>

using Tavlin::Util::Random;

namespace
{

// glibc's 48-bit generator with the same state, as an independent oracle.
struct Glibc48
{
    unsigned short state[3];
    explicit Glibc48(uint64_t seed)
    {
        state[0] = static_cast<unsigned short>(seed & 0xffff);
        state[1] = static_cast<unsigned short>((seed >> 16) & 0xffff);
        state[2] = static_cast<unsigned short>((seed >> 32) & 0xffff);
    }
    long Next31() { return nrand48(state); }
    long NextSigned32() { return jrand48(state); }
    uint64_t State() const
    {
        return uint64_t(state[0]) | (uint64_t(state[1]) << 16) | (uint64_t(state[2]) << 32);
    }
};

} // namespace

TEST(RandomGenerator, FollowsTheDrand48SequenceBitForBit)
{
    Random random;
    random.SetSeed(1);
    EXPECT_EQ(random.GetSeed(), 0x5DEECE66CULL);
    EXPECT_EQ(Random().GetSeed(), 0x5DEECE66CULL);

    // Power-of-two bounds take the top bits of each draw.
    Glibc48 oracle(random.GetSeed());
    for (int i = 0; i < 1000; ++i)
    {
        long draw = oracle.Next31();
        EXPECT_EQ(random(1 << 30), static_cast<int>((int64_t(1 << 30) * draw) >> 31));
        EXPECT_EQ(random.GetSeed(), oracle.State());
    }
    EXPECT_EQ(random(1), 0);
    oracle.Next31();

    // jrand48 shows the same state through its 32 top bits.
    Glibc48 signedOracle(random.GetSeed());
    long top32 = signedOracle.NextSigned32();
    EXPECT_EQ(random(2), static_cast<int>((static_cast<uint32_t>(top32) >> 31)));

    // Other bounds: the draw modulo the bound.
    random.SetSeed(123456789);
    Glibc48 modOracle(random.GetSeed());
    for (int bound : {3, 10, 1000, 65537, 1000000007})
        for (int i = 0; i < 200; ++i)
        {
            long draw = modOracle.Next31();
            long value = draw % bound;
            while (draw - value + (bound - 1) > 0x7fffffffL)
            {
                draw = modOracle.Next31();
                value = draw % bound;
            }
            ASSERT_EQ(random(bound), value) << bound;
        }
}

TEST(RandomGenerator, RejectsDrawsFromTheIncompleteLastBlock)
{
    // With a bound just above 2^30 about half of all draws fall into the incomplete
    // block; the result must stay below the bound and the rejected draws be consumed.
    Random random;
    random.SetSeed(42);
    Glibc48 oracle(random.GetSeed());
    const int bound = (1 << 30) + 1;
    int rejected = 0;
    for (int i = 0; i < 500; ++i)
    {
        long draw = oracle.Next31();
        while (draw - draw % bound + (bound - 1) > 0x7fffffffL)
        {
            ++rejected;
            draw = oracle.Next31();
        }
        int value = random(bound);
        ASSERT_EQ(value, draw % bound);
        ASSERT_LT(value, bound);
    }
    EXPECT_GT(rejected, 100);
}

TEST(RandomShuffle, ExchangesEachElementWithAnEarlierOrItself)
{
    Random random;
    random.SetSeed(7);
    std::vector<int> items(50);
    std::iota(items.begin(), items.end(), 0);
    const std::vector<int> identity = items;
    std::vector<int> expected = items;
    random.Shuffle(items.data(), static_cast<int64_t>(items.size()));

    Random replay;
    replay.SetSeed(7);
    for (size_t i = 1; i < expected.size(); ++i)
        std::swap(expected[i], expected[replay(static_cast<int>(i + 1))]);
    EXPECT_EQ(items, expected);
    EXPECT_NE(items, identity);

    // One element or none draws nothing.
    Random quiet;
    uint64_t seed = quiet.GetSeed();
    int single = 5;
    quiet.Shuffle(&single, 1);
    quiet.Shuffle(&single, 0);
    EXPECT_EQ(quiet.GetSeed(), seed);
}
