#include "core/matrix/MatNorm2Dist.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/LogCapture.h"
#include "support/Matrices.h"

using Tavlin::Core::Matrix::MatNorm2DistInternal;
using Tavlin::Core::Matrix::MatNorm2DistTransposed;
using TestSupport::LogCapture;
using TestSupport::MatrixOf;
using TestSupport::MatrixPtr;
using TestSupport::RandomMatrix;

TEST(MatNorm2Dist, DistancesMatchTheDirectComputationNeverNaN)
{
    MatrixPtr a = RandomMatrix(7, 5, 1);
    MatrixPtr b = RandomMatrix(4, 5, 2);
    MatrixPtr d(MatNorm2DistTransposed(a.get(), b.get()));
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->Height(), 7);
    EXPECT_EQ(d->Width(), 4);
    for (int i = 0; i < 7; ++i)
        for (int j = 0; j < 4; ++j)
        {
            double sum = 0.0;
            for (int k = 0; k < 5; ++k)
                sum += std::pow(a->mData[i * 5 + k] - b->mData[j * 5 + k], 2);
            EXPECT_NEAR(d->mData[i * 4 + j], std::sqrt(sum), 1e-12);
        }

    // Rounding makes |x|^2 + |x|^2 - 2 x.x slightly negative at times.
    MatrixPtr same = RandomMatrix(50, 16, 3);
    MatrixPtr self(MatNorm2DistTransposed(same.get(), same.get()));
    ASSERT_NE(self, nullptr);
    for (int i = 0; i < 50; ++i)
    {
        EXPECT_GE(self->mData[i * 50 + i], 0.0);
        EXPECT_LT(self->mData[i * 50 + i], 1e-6);
    }
}

TEST(MatNorm2Dist, DimensionProblemsAreReportedAndDebugLevelTimesEachStage)
{
    LogCapture internalLog("Core.Matrix.MatNorm2Dist", log4cpp::Priority::DEBUG);
    LogCapture transposedLog("Core.Matrix.MatNorm2DistTransposed");
    MatrixPtr a = RandomMatrix(3, 4, 4);
    EXPECT_EQ(MatNorm2DistInternal(a.get(), a.get()), nullptr);
    EXPECT_NE(internalLog.Text().find("MatNorm2DistInternal operands: dimensionality problem\n"), std::string::npos);
    EXPECT_EQ(MatNorm2DistTransposed(a.get(), RandomMatrix(2, 3, 6).get()), nullptr);
    EXPECT_EQ(transposedLog.Text(), "MatNorm2DistTransposed operands: A and B should be of same dimensionality\n");

    MatrixPtr d(MatNorm2DistInternal(RandomMatrix(3, 2, 7).get(), RandomMatrix(2, 4, 8).get()));
    const std::string text = internalLog.Text();
    for (const char* label : {"aT 3 2\n", "b  2 4\n", "aaT: 0h0m", "bb: 0h0m", "matmul: 0h0m",
                              "sqrt(abs(aa + bb - 2ab)): 0h0m", "delete: 0h0m", " (cpu-matnorm2dist-total)\n"})
        EXPECT_NE(text.find(label), std::string::npos) << label << " in " << text;
}
