#include "core/matrix/MatNorm2Dist.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "core/array/Array2dTem.h"
#include "core/matrix/MatCreate.h"
#include "support/LogCapture.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Matrix::MatCreate;
using Tavlin::Core::Matrix::MatNorm2DistInternal;
using Tavlin::Core::Matrix::MatNorm2DistTransposed;
using TestSupport::LogCapture;

namespace
{

// Values in [-1, 1) from a fixed sequence.
std::unique_ptr<Array2dReal64> Random(int rows, int cols, unsigned seed)
{
    std::unique_ptr<Array2dReal64> m(MatCreate<Array2dReal64>(rows, cols));
    unsigned state = seed;
    for (int i = 0; i < rows * cols; ++i)
    {
        state = state * 1103515245u + 12345u;
        m->mData[i] = ((state >> 8) & 0xffff) / 32768.0 - 1.0;
    }
    return m;
}

double Direct(const double* x, const double* y, int d)
{
    double sum = 0.0;
    for (int k = 0; k < d; ++k)
        sum += (x[k] - y[k]) * (x[k] - y[k]);
    return std::sqrt(sum);
}

} // namespace

TEST(MatNorm2Dist, DistancesMatchTheDirectComputation)
{
    auto a = Random(7, 5, 1);
    auto b = Random(4, 5, 2);
    std::unique_ptr<Array2dReal64> d(MatNorm2DistTransposed(a.get(), b.get()));
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->Height(), 7);
    EXPECT_EQ(d->Width(), 4);
    for (int i = 0; i < 7; ++i)
        for (int j = 0; j < 4; ++j)
            EXPECT_NEAR(d->mData[i * 4 + j], Direct(a->mData + i * 5, b->mData + j * 5, 5), 1e-12);

    // The internal form takes the vectors of b in its columns.
    std::unique_ptr<Array2dReal64> bT(MatCreate<Array2dReal64>(5, 4));
    for (int j = 0; j < 4; ++j)
        for (int k = 0; k < 5; ++k)
            bT->mData[k * 4 + j] = b->mData[j * 5 + k];
    std::unique_ptr<Array2dReal64> internal(MatNorm2DistInternal(a.get(), bT.get()));
    ASSERT_NE(internal, nullptr);
    for (int i = 0; i < 28; ++i)
        EXPECT_EQ(internal->mData[i], d->mData[i]);
}

TEST(MatNorm2Dist, IdenticalVectorsAreAtZeroOrATinyDistanceNeverNaN)
{
    auto a = Random(50, 16, 3);
    std::unique_ptr<Array2dReal64> d(MatNorm2DistTransposed(a.get(), a.get()));
    ASSERT_NE(d, nullptr);
    for (int i = 0; i < 50; ++i)
    {
        const double self = d->mData[i * 50 + i];
        EXPECT_FALSE(std::isnan(self));
        EXPECT_GE(self, 0.0);
        EXPECT_LT(self, 1e-6);
    }
}

TEST(MatNorm2Dist, DimensionProblemsAreReportedAndGiveNull)
{
    LogCapture internalLog("Core.Matrix.MatNorm2Dist");
    LogCapture transposedLog("Core.Matrix.MatNorm2DistTransposed");
    auto a = Random(3, 4, 4);
    auto b = Random(3, 4, 5);
    EXPECT_EQ(MatNorm2DistInternal(a.get(), b.get()), nullptr);
    EXPECT_EQ(internalLog.Text(), "MatNorm2DistInternal operands: dimensionality problem\n");

    auto c = Random(2, 3, 6);
    EXPECT_EQ(MatNorm2DistTransposed(a.get(), c.get()), nullptr);
    EXPECT_EQ(transposedLog.Text(), "MatNorm2DistTransposed operands: A and B should be of same dimensionality\n");
}

TEST(MatNorm2Dist, DebugLevelTimesEachStage)
{
    LogCapture log("Core.Matrix.MatNorm2Dist", log4cpp::Priority::DEBUG);
    auto a = Random(3, 2, 7);
    auto b = Random(2, 4, 8);
    std::unique_ptr<Array2dReal64> d(MatNorm2DistInternal(a.get(), b.get()));
    const std::string text = log.Text();
    EXPECT_NE(text.find("aT 3 2\n"), std::string::npos) << text;
    EXPECT_NE(text.find("b  2 4\n"), std::string::npos) << text;
    for (const char* label : {"aaT: 0h0m", "bb: 0h0m", "matmul: 0h0m", "sqrt(abs(aa + bb - 2ab)): 0h0m", "delete: 0h0m"})
        EXPECT_NE(text.find(label), std::string::npos) << label;
    EXPECT_NE(text.find(" (cpu-matnorm2dist-total)\n"), std::string::npos);
}
