// Separable convolution against its definition taken pixel by pixel: rows convolved
// over the mirrored row, then columns over the mirrored column of those results, each
// sum in tap order. The bits must agree for images of many bands of rows, kernels as
// tall as the mirror allows, and the in-place form.
#include "core/array/ConvKernelSeparated.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using TestSupport::MakePlane;
using TestSupport::MakeRandomPlane;
using TestSupport::Reflect;

namespace
{

Array2dReal64* Kernel(long long n, uint32_t seed)
{
    return MakeRandomPlane(n, 1, 0, seed, -1.0, 1.0);
}

Array2dReal64* ByDefinition(Array2dReal64* src, Array2dReal64* kx, Array2dReal64* ky)
{
    const long long w = src->Width();
    const long long h = src->Height();
    const long long hx = kx->Width() / 2;
    const long long hy = ky->Width() / 2;
    // Row results for every row the columns reach, mirrored rows included.
    std::vector<std::vector<double>> rows(h + 2 * hy, std::vector<double>(w));
    for (long long y = -hy; y < h + hy; ++y)
        for (long long x = 0; x < w; ++x)
        {
            double sum = 0.0;
            for (long long i = 0; i < kx->Width(); ++i)
                sum += *kx->PixelPtr(i, 0) * *src->PixelPtr(Reflect(x - hx + i, w), Reflect(y, h));
            rows[y + hy][x] = sum;
        }
    return MakePlane(w, h, 0, [&](long long x, long long y) {
        double sum = 0.0;
        for (long long j = 0; j < ky->Width(); ++j)
            sum += *ky->PixelPtr(j, 0) * rows[y + j][x];
        return sum;
    });
}

} // namespace

TEST(ConvKernelSeparated, GivesTheBitsOfTheDefinition)
{
    struct Case
    {
        long long width, height, nx, ny;
    };
    // Heights of one to several bands of rows, the last one short or a single row;
    // kernels reaching exactly to the far edge of the image (ny / 2 == height).
    const Case cases[] = {{23, 250, 7, 87}, {40, 5, 9, 11},  {97, 300, 87, 3}, {1, 1, 1, 1},
                          {13, 193, 5, 25}, {64, 97, 1, 13}, {6, 3, 3, 7},     {31, 120, 11, 9}};
    for (const Case& c : cases)
    {
        const std::string where = std::to_string(c.width) + "x" + std::to_string(c.height) + " kernels " +
                                  std::to_string(c.nx) + "," + std::to_string(c.ny);
        std::unique_ptr<Array2dReal64> src(MakeRandomPlane(c.width, c.height, 0, 5, -50.0, 50.0));
        std::unique_ptr<Array2dReal64> kx(Kernel(c.nx, 17));
        std::unique_ptr<Array2dReal64> ky(Kernel(c.ny, 23));
        std::unique_ptr<Array2dReal64> want(ByDefinition(src.get(), kx.get(), ky.get()));

        Array2dReal64* dst = nullptr;
        ConvKernelSeparated(dst, src.get(), kx.get(), ky.get(), 6, nullptr);
        std::unique_ptr<Array2dReal64> ownDst(dst);
        EXPECT_TRUE(TestSupport::SameImage(dst, want.get())) << where;

        // A source whose border is wide enough is used as it stands.
        auto same = [&](long long x, long long y) { return *src->PixelPtr(x, y); };
        std::unique_ptr<Array2dReal64> framed(MakePlane(c.width, c.height, c.nx / 2 + c.ny / 2 + 1, same));
        Array2dReal64* fromFramed = nullptr;
        ConvKernelSeparated(fromFramed, framed.get(), kx.get(), ky.get(), 0, nullptr);
        std::unique_ptr<Array2dReal64> ownFramed(fromFramed);
        EXPECT_TRUE(TestSupport::SameImage(fromFramed, want.get())) << where << " framed";
        EXPECT_TRUE(TestSupport::SameImage(framed.get(), src.get())) << where << " framed source changed";

        // In place, with and without a border wide enough.
        for (long long border : {0LL, c.nx / 2 + c.ny / 2})
        {
            Array2dReal64* a = MakePlane(c.width, c.height, border, same);
            ConvKernelSeparatedInPlace(a, kx.get(), ky.get());
            std::unique_ptr<Array2dReal64> ownA(a);
            EXPECT_TRUE(TestSupport::SameImage(a, want.get())) << where << " in place, border " << border;
        }
    }
}
