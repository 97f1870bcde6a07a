// The blocked convolution passes over planes of doubles, in each form this processor can
// run (plain, AVX2, AVX-512), against sums taken one result at a time in tap order: the
// same bits are wanted, for every block shape and every leftover row and column.
#include "core/array/FuncGenConv2dSepDispatch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using TestSupport::kBorderSentinel;
using TestSupport::MakePlane;

namespace
{

typedef void (*PassForm)(const Pattern::DoublePass&, bool);

struct Form
{
    const char* name;
    PassForm run;
};

std::vector<Form> FormsOfThisCpu()
{
    std::vector<Form> forms = {{"plain", &Pattern::DoublePassPlain}};
#if defined(__x86_64__) || defined(__i386__)
    if (__builtin_cpu_supports("avx2"))
        forms.push_back({"avx2", &Pattern::DoublePassAvx2});
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl"))
        forms.push_back({"avx512", &Pattern::DoublePassAvx512});
#endif
    return forms;
}

// Every value of the frame, border included, from a fixed sequence, so that a tap read
// from the wrong place shows.
void FillFrame(Array2dReal64* a, uint32_t seed)
{
    uint32_t state = seed;
    for (uint64_t i = 0; i < a->DataSize(); ++i)
    {
        state = state * 1664525u + 1013904223u;
        a->Data()[i] = ((state >> 8) / 16777216.0) * 200.0 - 100.0;
    }
}

} // namespace

TEST(FuncGenConv2dSepDispatch, EveryFormGivesTheSumsOfOneResultAtATime)
{
    struct Shape
    {
        long long width, height, taps;
    };
    // Odd sizes leave partial blocks both ways; some images are narrower or shorter
    // than the kernel, some kernels shorter than a block's rows; the widest is cut
    // into column tiles by the vertical pass.
    const Shape shapes[] = {{1, 1, 1},   {7, 5, 3},    {13, 11, 5},  {37, 29, 87}, {5, 90, 87},
                            {90, 5, 87}, {67, 41, 9},  {83, 7, 23},  {130, 23, 1}, {101, 13, 5},
                            {64, 8, 3},   {21, 20, 7},  {131, 9, 11}, {801, 9, 87}};
    const std::vector<Form> forms = FormsOfThisCpu();
    for (const Shape& s : shapes)
    {
        const long long h = s.taps / 2;
        std::unique_ptr<Array2dReal64> src(MakePlane(s.width, s.height, h, [](long long, long long) { return 0.0; }));
        FillFrame(src.get(), static_cast<uint32_t>(s.width * 131 + s.taps));
        std::unique_ptr<Array2dReal64> kernel(MakePlane(s.taps, 1, 0, [](long long, long long) { return 0.0; }));
        FillFrame(kernel.get(), 99);
        const double* k = kernel->PixelPtr(0, 0);
        for (bool down : {false, true})
        {
            std::unique_ptr<Array2dReal64> want(
                MakePlane(s.width, s.height, 0, [&](long long x, long long y) {
                    double sum = 0.0;
                    for (long long t = 0; t < s.taps; ++t)
                        sum += k[t] * (down ? *src->PixelPtr(x, y - h + t) : *src->PixelPtr(x - h + t, y));
                    return sum;
                }));
            const std::string where = std::to_string(s.width) + "x" + std::to_string(s.height) + " taps " +
                                      std::to_string(s.taps) + (down ? " down" : " along");
            for (const Form& f : forms)
            {
                // A border of two around the result: the passes must leave it alone.
                std::unique_ptr<Array2dReal64> got(
                    MakePlane(s.width, s.height, 2, [](long long, long long) { return 0.5; }));
                const Pattern::DoublePass pass = {got->PixelPtr(0, 0),
                                                  got->RowStride(),
                                                  down ? src->PixelPtr(0, -h) : src->PixelPtr(-h, 0),
                                                  src->RowStride(),
                                                  s.width,
                                                  s.height,
                                                  k,
                                                  s.taps};
                f.run(pass, down);
                bool same = true;
                for (long long y = 0; y < s.height; ++y)
                    same = same &&
                           std::memcmp(got->PixelPtr(0, y), want->PixelPtr(0, y), s.width * sizeof(double)) == 0;
                EXPECT_TRUE(same) << f.name << " " << where;
                for (long long y = -2; y < s.height + 2; ++y)
                    for (long long x = -2; x < s.width + 2; ++x)
                    {
                        const bool inside = x >= 0 && y >= 0 && x < s.width && y < s.height;
                        ASSERT_TRUE(inside || *got->PixelPtr(x, y) == kBorderSentinel)
                            << f.name << " " << where << " wrote border pixel " << x << "," << y;
                    }
            }
            // And through the entry the convolution uses, whichever form it picks.
            std::unique_ptr<Array2dReal64> got(
                MakePlane(s.width, s.height, 0, [](long long, long long) { return 0.5; }));
            Trait::BpoMul<double, double, double> mul;
            Trait::BpoAddAssign<double, double> add;
            if (down)
                Pattern::FuncGenConv2dSepDispatch_V(got.get(), src.get(), kernel.get(), mul, add, 0);
            else
                Pattern::FuncGenConv2dSepDispatch_H(got.get(), src.get(), kernel.get(), mul, add, 0);
            EXPECT_TRUE(TestSupport::SameImage(got.get(), want.get())) << where;
        }
    }
}

TEST(FuncGenConv2dSepDispatch, ColumnTilesAreWholeBlocksEvenForKernelsTallerThanTheCache)
{
    // Widths, rows read per block and block width: the tiles are whole blocks, cover
    // the width in at most as many tiles as the cache needs, and a kernel of more rows
    // than the cache holds still gets tiles of one block.
    const long long cases[][3] = {{640, 90, 20}, {4000, 12, 20}, {801, 90, 12}, {7, 40000, 20}, {1, 5, 8}};
    for (const auto& c : cases)
    {
        const long long tile = Pattern::ColumnTileWidth(c[0], c[1], c[2]);
        EXPECT_GE(tile, c[2]) << c[0] << " " << c[1];
        EXPECT_EQ(tile % c[2], 0) << c[0] << " " << c[1];
        const long long tiles = (c[0] + tile - 1) / tile;
        EXPECT_TRUE(tiles == 1 || tile * c[1] * 8 <= (256 << 10) + c[2] * c[1] * 8) << c[0] << " " << c[1];
    }
    EXPECT_EQ(Pattern::ColumnTileWidth(640, 12, 20), 640); // narrow planes stay whole
}

TEST(FuncGenConv2dSepDispatch, AnUnknownDispatchIdWritesNothing)
{
    std::unique_ptr<Array2dReal64> src(MakePlane(9, 6, 1, [](long long x, long long y) { return x + 10.0 * y; }));
    std::unique_ptr<Array2dReal64> kernel(MakePlane(3, 1, 0, [](long long, long long) { return 1.0; }));
    std::unique_ptr<Array2dReal64> dst(MakePlane(9, 6, 0, [](long long, long long) { return 7.0; }));
    Trait::BpoMul<double, double, double> mul;
    Trait::BpoAddAssign<double, double> add;
    Pattern::FuncGenConv2dSepDispatch_H(dst.get(), src.get(), kernel.get(), mul, add, 3);
    Pattern::FuncGenConv2dSepDispatch_V(dst.get(), src.get(), kernel.get(), mul, add, -1);
    for (long long y = 0; y < 6; ++y)
        for (long long x = 0; x < 9; ++x)
            ASSERT_EQ(*dst->PixelPtr(x, y), 7.0);
    Pattern::FuncGenConv2dSepDispatch_H(dst.get(), src.get(), kernel.get(), mul, add, 2);
    EXPECT_EQ(*dst->PixelPtr(4, 3), 33.0 + 34.0 + 35.0);
}
