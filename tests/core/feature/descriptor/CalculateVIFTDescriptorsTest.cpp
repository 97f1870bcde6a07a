#include "core/feature/descriptor/CalculateVIFTDescriptors.h"

#include <gtest/gtest.h>

#include <memory>

#include "core/array/ArrayFactories.h"
#include "support/LogCapture.h"
#include "support/SyntheticImage.h"
#include "support/TestSupport.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Array::Array2dVec3UInt8;
using Tavlin::Core::Feature::AppendScaleLevel;
using Tavlin::Core::Feature::CalculateVIFTDescriptors;
using Tavlin::Core::Feature::FeatureDefinition;
using Tavlin::Core::Feature::NilLowContrastDescriptors;
using Tavlin::Core::Feature::PointDescriptorTable;
using TestSupport::CountOf;
using TestSupport::LogCapture;

namespace
{
// Rows i = 0 .. n - 1 at (i, 2i) with descriptor values first + i + k / 10.
std::unique_ptr<PointDescriptorTable> Rows(int n, int length, double first, const double* contrast = nullptr)
{
    auto table = std::make_unique<PointDescriptorTable>(FeatureDefinition("vift"));
    table->SetDescriptorLength(length);
    for (int i = 0; i < n; ++i)
        table->AddPoint(i, 2 * i, 1.5, 0, contrast ? contrast[i] : 1.0);
    // Exactly as many descriptor rows as points, as a kernel's joined store has.
    table->SetStorage(Tavlin::Core::Array::ArrayCreate<Array2dReal64>(length, n, 0, 0));
    for (int i = 0; i < n; ++i)
        for (int k = 0; k < length; ++k)
            table->GetDescriptor(i)[k] = first + i + k / 10.0;
    return table;
}
} // namespace

TEST(CalculateVIFTDescriptors, EndsWithTheMissingKernelAndNoTable)
{
    std::unique_ptr<Array2dVec3UInt8> image(TestSupport::MakeColourImage8(
        40, 30, [](long long x, long long y, int c) { return static_cast<int>((7 * x + 3 * y + 50 * c) % 256); }));
    LogCapture kernel("Core.Feature.DoCalculateVIFTDescriptors", log4cpp::Priority::ERROR);
    LogCapture frame("Core.Feature.CalculateVIFTDescriptors", log4cpp::Priority::ERROR);
    // Each name ends the run with this message once (checked end to end).
    EXPECT_EQ(CalculateVIFTDescriptors(image.get(), "rgbvift4", 8, 5), nullptr);
    EXPECT_EQ(CountOf(kernel.Text(), "VIFT not compiled in\n"), 1);

    // No levels, or a colour model without channels, fail before the kernel.
    EXPECT_EQ(CalculateVIFTDescriptors(image.get(), "vift", 8, 0), nullptr);
    EXPECT_EQ(CalculateVIFTDescriptors(image.get(), "nosuchvift", 8, 5), nullptr);
    EXPECT_EQ(CountOf(frame.Text(), "levels must be at least 1"), 1);
    EXPECT_EQ(CountOf(frame.Text(), "no channels for the colour model 'nosuch'"), 1);
    EXPECT_EQ(CountOf(kernel.Text(), "VIFT not compiled in"), 1);

    for (auto size : {std::make_pair(1, 1), std::make_pair(1, 300), std::make_pair(700, 12)})
    {
        std::unique_ptr<Array2dVec3UInt8> tiny(TestSupport::MakeColourImage8(
            size.first, size.second, [](long long x, long long, int) { return static_cast<int>(x % 256); }));
        EXPECT_EQ(CalculateVIFTDescriptors(tiny.get(), "vift", 8, 5), nullptr);
    }
}

TEST(NilLowContrastDescriptors, ZeroesRowsBelowTheThreshold)
{
    const double contrast[] = {0.001, 0.005, 0.00499999, 1.0, -3.0};
    auto table = Rows(5, 4, 1.0, contrast);
    LogCapture debug("Core.Feature.CalculateVIFTDescriptors");
    EXPECT_EQ(NilLowContrastDescriptors(table.get()), 3);
    EXPECT_EQ(CountOf(debug.Text(), "Descriptor part nilled due to low constrast: 3 5"), 1);
    const bool nilled[] = {true, false, true, false, true};
    for (int i = 0; i < 5; ++i)
        for (int k = 0; k < 4; ++k)
            EXPECT_EQ(table->GetDescriptor(i)[k], nilled[i] ? 0.0 : 1.0 + i + k / 10.0) << i;

    // Nothing below the threshold: no message.
    auto bright = Rows(3, 4, 1.0);
    LogCapture quiet("Core.Feature.CalculateVIFTDescriptors");
    EXPECT_EQ(NilLowContrastDescriptors(bright.get()), 0);
    EXPECT_EQ(quiet.Text(), "");
}

TEST(AppendScaleLevel, CopiesAllColumnsBehindTheRowsThere)
{
    auto result = Rows(3, 5, 0.0);
    auto level = Rows(4, 5, 100.0);
    ASSERT_TRUE(AppendScaleLevel(result.get(), level.get()));
    ASSERT_EQ(result->Size(), 7);
    for (int i = 0; i < 7; ++i)
    {
        const int j = i < 3 ? i : i - 3;
        EXPECT_EQ(result->X()[i], j);
        EXPECT_EQ(result->Y()[i], 2 * j);
        EXPECT_EQ(result->Scale()[i], 1.5);
        for (int k = 0; k < 5; ++k)
            EXPECT_EQ(result->GetDescriptor(i)[k], (i < 3 ? 0.0 : 100.0) + j + k / 10.0) << i;
    }

    // The point columns have room (capacity 8) where the descriptor store has not (5).
    auto five = Rows(5, 2, 0.0);
    auto two = Rows(2, 2, 50.0);
    ASSERT_TRUE(AppendScaleLevel(five.get(), two.get()));
    ASSERT_EQ(five->Size(), 7);
    EXPECT_EQ(five->GetDescriptor(6)[1], 51.1);
    EXPECT_EQ(five->GetDescriptor(4)[0], 4.0);

    // Another descriptor length is refused and nothing changes.
    auto other = Rows(2, 6, 0.0);
    LogCapture errors("Core.Feature.CalculateVIFTDescriptors", log4cpp::Priority::ERROR);
    EXPECT_FALSE(AppendScaleLevel(result.get(), other.get()));
    EXPECT_EQ(result->Size(), 7);
    EXPECT_EQ(CountOf(errors.Text(), "levels differ in descriptor length: 5 and 6"), 1);
}
