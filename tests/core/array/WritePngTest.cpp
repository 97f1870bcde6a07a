#include "core/array/WritePng.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "core/array/ArrayFactories.h"
#include "support/ImageCodecs.h"
#include "support/LogCapture.h"
#include "support/MemoryBuffer.h"
#include "util/IOBuffer.h"

using namespace Tavlin::Core::Array;
using Tavlin::Util::IOBuffer;
using TestSupport::LogCapture;
using TestSupport::PlainImage;

namespace
{

const char* const kLog = "Tavlin.Core.Array.WritePng";

// An image with a border, so that a writer that reads the border shows up.
std::unique_ptr<Array2dVec3UInt8> ImageOf(const PlainImage& plain, int border)
{
    std::unique_ptr<Array2dVec3UInt8> image(ArrayCreate<Array2dVec3UInt8>(plain.width, plain.height, border, border));
    std::fill(image->mData, image->mData + image->DataSize(), static_cast<unsigned char>(77));
    for (int y = 0; y < plain.height; ++y)
        std::copy(plain.Pixel(0, y), plain.Pixel(0, y) + 3 * plain.width, image->PixelPtr(0, y));
    return image;
}

// The bytes WritePng puts into a memory buffer of the given capacity.
std::string Encode(Array2dVec3UInt8* image, int64_t capacity, bool* ok)
{
    IOBuffer buffer(capacity);
    *ok = WritePng(image, &buffer);
    return TestSupport::BufferBytes(buffer, 0, buffer.GetPosition());
}

} // namespace

TEST(WritePng, RoundTripsThroughTheSystemsDecoderAndLibpngAlone)
{
    const int sizes[][2] = {{1, 1}, {1, 300}, {300, 1}, {700, 12}, {37, 23}};
    for (const auto& size : sizes)
    {
        SCOPED_TRACE(std::to_string(size[0]) + " x " + std::to_string(size[1]));
        const PlainImage plain = TestSupport::MakeTexturedImage(size[0], size[1], 3, 7);
        std::unique_ptr<Array2dVec3UInt8> image = ImageOf(plain, 2);
        LogCapture log(kLog);
        bool ok = false;
        const std::string png = Encode(image.get(), 4 << 20, &ok);
        ASSERT_TRUE(ok);
        EXPECT_EQ(log.Text(), "");
        EXPECT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1a\n");
        std::unique_ptr<Array2dVec3UInt8> back = TestSupport::ReadPngGuarded(png);
        ASSERT_TRUE(back);
        EXPECT_TRUE(TestSupport::SameRgb(back.get(), plain));
        EXPECT_TRUE(TestSupport::SameRgb(image.get(), TestSupport::DecodePngToRgb(png)));
    }
}

TEST(WritePng, FailuresAreReportedAndReturnFalse)
{
    const PlainImage plain = TestSupport::MakeTexturedImage(64, 48, 3, 3);
    std::unique_ptr<Array2dVec3UInt8> image = ImageOf(plain, 0);
    bool ok = true;
    {
        // A buffer that takes only part of the file.
        LogCapture log(kLog);
        Encode(image.get(), 100, &ok);
        EXPECT_FALSE(ok);
        EXPECT_NE(log.Text().find("[WritePng] the file took fewer bytes than were written"), std::string::npos)
            << log.Text();
    }
    {
        LogCapture log(kLog);
        IOBuffer buffer(1000);
        EXPECT_FALSE(WritePng<Array2dVec3UInt8>(nullptr, &buffer));
        EXPECT_FALSE(WritePng(image.get(), nullptr));
        EXPECT_EQ(log.Text(), "[WritePng] no array or invalid io buffer\n[WritePng] no array or invalid io buffer\n");
    }
    {
        LogCapture log(kLog);
        std::unique_ptr<Array2dVec3UInt8> empty(ArrayCreate<Array2dVec3UInt8>(0, 5, 0, 0));
        Encode(empty.get(), 1000, &ok);
        EXPECT_FALSE(ok);
        EXPECT_EQ(log.Text(), "[WritePng] can not write an image of 0 x 5\n");
    }
}
