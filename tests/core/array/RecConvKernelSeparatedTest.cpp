// The recursive filter runs its row pass several rows at a time (in vector lanes where
// the processor has AVX2) and its column pass across all columns at once. Neither may
// change a bit: a row filtered among others equals the row filtered alone, a column
// equals the row of the transposed plane, and the vector and plain loops agree.
#include "core/array/RecConvKernelSeparated.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "core/array/ArrayFactories.h"
#include "core/array/MakeGaussIIR1d.h"
#include "support/SyntheticImage.h"
#include "support/TestSupport.h"

using namespace Tavlin::Core::Array;
using TestSupport::MakePlane;
using TestSupport::MakeRandomPlane;

namespace
{

typedef std::unique_ptr<Array2dReal64> Plane;

Plane Filter(Array2dReal64* src, Array2dReal64* kx, Array2dReal64* ky)
{
    Array2dReal64* dst = nullptr;
    RecConvKernelSeparated(dst, src, kx, ky, nullptr);
    return Plane(dst);
}

// The one-tap kernel 1: a pass that leaves the plane as it is.
Plane Identity()
{
    double one = 1.0;
    return Plane(MakeFromData<Array2dReal64>(&one, 1, 1, 0, 0, false));
}

bool SameBits(const double* a, const double* b, long long n)
{
    return std::memcmp(a, b, static_cast<size_t>(n) * sizeof(double)) == 0;
}

// Every value the filter writes or keeps: image rows with their left and right
// borders, border rows over the image columns.
std::vector<double> Written(Array2dReal64* a)
{
    std::vector<double> values;
    const long long bx = a->BorderWidth();
    for (long long y = -a->BorderHeight(); y < a->Height() + a->BorderHeight(); ++y)
    {
        const bool inside = y >= 0 && y < a->Height();
        const double* row = a->PixelPtr(inside ? -bx : 0, y);
        values.insert(values.end(), row, row + a->Width() + (inside ? 2 * bx : 0));
    }
    return values;
}

const char* const kDumpVariable = "LUMISK_REC_TEST_DUMP";

// Odd sizes, filter orders 1 to 5 across, another order down, filtered in place in a
// plane with borders wide enough and into a widened copy of a plane without borders.
std::vector<std::vector<double>> FilterOddSizes(std::vector<std::string>* names)
{
    const long long sizes[][2] = {{1, 1}, {1, 300}, {300, 1}, {7, 5}, {700, 12}, {13, 37}, {18, 21}};
    std::vector<std::vector<double>> results;
    for (const auto& size : sizes)
        for (int n = 1; n <= 5; ++n)
        {
            const int m = n % 5 + 1;
            Plane kx(MakeGaussIIR1d(1.5 + 0.7 * n, n % 3, n));
            Plane ky(MakeGaussIIR1d(4.0 - 0.5 * n, m % 3, m));
            for (bool inPlace : {true, false})
            {
                const long long border = inPlace ? 2 * std::max(n, m) : 0;
                Plane src(MakeRandomPlane(size[0], size[1], border, 7 + n, -100.0, 155.0));
                Array2dReal64* dst = inPlace ? src.get() : nullptr;
                RecConvKernelSeparated(dst, src.get(), kx.get(), ky.get(), nullptr);
                Plane owner(inPlace ? src.release() : dst);
                results.push_back(Written(dst));
                names->push_back(std::to_string(size[0]) + "x" + std::to_string(size[1]) + " orders " +
                                 std::to_string(n) + "," + std::to_string(m) + (inPlace ? " in place" : " copy"));
            }
        }
    return results;
}

} // namespace

TEST(RecConvKernelSeparated, RowsFilteredTogetherMatchRowsFilteredAlone)
{
    // Heights around the blocks of 4 and 16 rows, widths around the blocks of 4 columns.
    Plane identity = Identity();
    for (int n = 1; n <= 5; ++n)
    {
        Plane k(MakeGaussIIR1d(0.8 + n, n % 3, n));
        for (long long width : {1, 2, 5, 8, 301})
            for (long long height : {3, 4, 6, 16, 21, 37})
            {
                Plane src(MakeRandomPlane(width, height, 0, 100 + n, 0.0, 255.0));
                Plane all = Filter(src.get(), k.get(), identity.get());
                for (long long y = 0; y < height; ++y)
                {
                    Plane row(MakePlane(width, 1, 0, [&](long long x, long long) { return *src->PixelPtr(x, y); }));
                    Plane alone = Filter(row.get(), k.get(), identity.get());
                    // The row with its borders of 2N on both sides.
                    ASSERT_TRUE(SameBits(all->PixelPtr(-2 * n, y), alone->PixelPtr(-2 * n, 0), width + 4 * n))
                        << "order " << n << ", " << width << " x " << height << ", row " << y;
                }
            }
    }
}

TEST(RecConvKernelSeparated, ColumnsMatchRowsOfTheTransposedPlane)
{
    // Small planes, and planes large enough (several MB) for their columns to be
    // filtered in strips, the last one narrower.
    Plane identity = Identity();
    const long long sizes[][2] = {{1, 1}, {3, 2}, {9, 7}, {64, 40}, {1, 40}, {64, 1}, {2100, 520}, {1030, 1100}};
    for (int m = 1; m <= 5; ++m)
    {
        Plane k(MakeGaussIIR1d(0.5 + 1.3 * m, (m + 1) % 3, m));
        for (const auto& size : sizes)
        {
            const long long width = size[0];
            const long long height = size[1];
            if (width * height > 100000 && m != 3 && m != 5)
                continue;
            Plane src(MakeRandomPlane(width, height, 0, 200 + m, -50.0, 50.0));
            Plane transposed(
                MakePlane(height, width, 0, [&](long long x, long long y) { return *src->PixelPtr(y, x); }));
            Plane down = Filter(src.get(), identity.get(), k.get());
            Plane across = Filter(transposed.get(), k.get(), identity.get());
            for (long long y = 0; y < height; ++y)
                for (long long x = 0; x < width; ++x)
                    ASSERT_TRUE(SameBits(down->PixelPtr(x, y), across->PixelPtr(y, x), 1))
                        << "order " << m << ", " << width << " x " << height << " at " << x << "," << y << ": "
                        << *down->PixelPtr(x, y) << " against " << *across->PixelPtr(y, x);
        }
    }
}

TEST(RecConvKernelSeparated, VectorAndPlainLoopsGiveTheSameBits)
{
    // The loops are chosen once per process: the plain ones run in a second process of
    // this test with LUMISK_NO_AVX2 set, which writes its results to a file.
    std::vector<std::string> names;
    const std::vector<std::vector<double>> here = FilterOddSizes(&names);
    if (const char* dump = std::getenv(kDumpVariable))
    {
        std::string bytes;
        for (const std::vector<double>& r : here)
            bytes.append(reinterpret_cast<const char*>(r.data()), r.size() * sizeof(double));
        TestSupport::WriteTextFile(dump, bytes);
        return;
    }
    TestSupport::TempDir dir;
    const std::string file = dir.File("plain.bin");
    const TestSupport::RunResult run = TestSupport::RunProgram(
        "/proc/self/exe", {"--gtest_filter=RecConvKernelSeparated.VectorAndPlainLoopsGiveTheSameBits"}, dir.Path(),
        {"LUMISK_NO_AVX2=1", std::string(kDumpVariable) + "=" + file});
    ASSERT_EQ(run.status, 0) << run.out << run.err;
    const std::string plain = TestSupport::ReadTextFile(file);
    size_t offset = 0;
    for (size_t i = 0; i < here.size(); ++i)
    {
        const size_t bytes = here[i].size() * sizeof(double);
        ASSERT_LE(offset + bytes, plain.size()) << names[i];
        EXPECT_EQ(std::memcmp(here[i].data(), plain.data() + offset, bytes), 0) << names[i];
        offset += bytes;
    }
    EXPECT_EQ(offset, plain.size());
}
