#include "core/array/ReadPngFromMemory.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <string>
#include <vector>

#include <png.h>

#include "support/GuardedMemory.h"
#include "support/ImageCodecs.h"
#include "support/LogCapture.h"

using namespace Tavlin::Core::Array;
using TestSupport::GuardedMemory;
using TestSupport::LogCapture;
using TestSupport::PlainImage;

namespace
{

const char* const kLog = "Tavlin.Core.Array.ReadPng";

std::unique_ptr<Array2dVec3UInt8> Decode(const std::string& bytes)
{
    GuardedMemory block(bytes);
    Array2dVec3UInt8* image = nullptr;
    ReadPngFromMemory(image, block.Data(), block.Size());
    return std::unique_ptr<Array2dVec3UInt8>(image);
}

// The image equals `expected` (RGB, width x height), row by row.
::testing::AssertionResult HasPixels(const Array2dVec3UInt8* image, int width, int height,
                                     const std::vector<unsigned char>& expected)
{
    if (!image)
        return ::testing::AssertionFailure() << "no image";
    if (image->Width() != width || image->Height() != height)
        return ::testing::AssertionFailure() << "size " << image->Width() << " x " << image->Height();
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < 3; ++c)
            {
                const int want = expected[(static_cast<size_t>(y) * width + x) * 3 + c];
                const int got = image->PixelPtr(x, y)[c];
                if (got != want)
                    return ::testing::AssertionFailure()
                           << "pixel " << x << "," << y << " channel " << c << ": " << got << " instead of " << want;
            }
    return ::testing::AssertionSuccess();
}

// Checks the decoded file against the values it was made to hold and against libpng's
// own decoding.
void ExpectDecodes(const std::string& png, int width, int height, const std::vector<unsigned char>& expected)
{
    const PlainImage plain = TestSupport::DecodePngToRgb(png);
    ASSERT_EQ(plain.components, 3);
    EXPECT_EQ(plain.pixels, expected) << "test file is not what it should be";
    LogCapture log(kLog, log4cpp::Priority::INFO);
    std::unique_ptr<Array2dVec3UInt8> image = Decode(png);
    EXPECT_TRUE(HasPixels(image.get(), width, height, expected));
    EXPECT_EQ(log.Text(), "");
}

} // namespace

TEST(ReadPngFromMemory, ConvertsEveryKindToEightBitRgb)
{
    const int width = 13;
    const int height = 5;
    {
        SCOPED_TRACE("8-bit RGB");
        std::vector<unsigned char> rows;
        for (int i = 0; i < width * height * 3; ++i)
            rows.push_back(static_cast<unsigned char>(i * 37 + 5));
        ExpectDecodes(TestSupport::EncodePng(rows, width, height, 8, PNG_COLOR_TYPE_RGB, false), width, height,
                      rows);
    }
    {
        SCOPED_TRACE("4-bit palette with transparency");
        const std::vector<unsigned char> palette = {10, 20, 30, 250, 0, 5, 0, 128, 255, 77, 77, 77};
        const std::vector<unsigned char> alpha = {0, 128, 255, 7};
        std::vector<unsigned char> rows;
        std::vector<unsigned char> expected;
        const int rowBytes = (width * 4 + 7) / 8;
        for (int y = 0; y < height; ++y)
        {
            std::vector<unsigned char> row(rowBytes, 0);
            for (int x = 0; x < width; ++x)
            {
                const int index = (x + 2 * y) % 4;
                row[x / 2] |= static_cast<unsigned char>(index << (x % 2 ? 0 : 4));
                expected.insert(expected.end(), palette.begin() + 3 * index, palette.begin() + 3 * index + 3);
            }
            rows.insert(rows.end(), row.begin(), row.end());
        }
        ExpectDecodes(TestSupport::EncodePng(rows, width, height, 4, PNG_COLOR_TYPE_PALETTE, false, palette, alpha),
                      width, height, expected);
    }
    {
        SCOPED_TRACE("16-bit RGBA keeps the high bytes of RGB");
        std::vector<unsigned char> rows;
        std::vector<unsigned char> expected;
        for (int i = 0; i < width * height; ++i)
            for (int c = 0; c < 4; ++c)
            {
                const unsigned value = static_cast<unsigned>(i * 4099 + c * 16411 + 0x80ff) & 0xffff;
                rows.push_back(static_cast<unsigned char>(value >> 8));
                rows.push_back(static_cast<unsigned char>(value & 0xff));
                if (c < 3)
                    expected.push_back(static_cast<unsigned char>(value >> 8));
            }
        ExpectDecodes(TestSupport::EncodePng(rows, width, height, 16, PNG_COLOR_TYPE_RGB_ALPHA, false), width,
                      height, expected);
    }
    {
        SCOPED_TRACE("1-bit grey is 0 or 255 on all channels");
        std::vector<unsigned char> rows;
        std::vector<unsigned char> expected;
        const int rowBytes = (width + 7) / 8;
        for (int y = 0; y < height; ++y)
        {
            std::vector<unsigned char> row(rowBytes, 0);
            for (int x = 0; x < width; ++x)
            {
                const bool on = (x * x + y) % 3 == 0;
                if (on)
                    row[x / 8] |= static_cast<unsigned char>(0x80 >> (x % 8));
                expected.insert(expected.end(), 3, on ? 255 : 0);
            }
            rows.insert(rows.end(), row.begin(), row.end());
        }
        ExpectDecodes(TestSupport::EncodePng(rows, width, height, 1, PNG_COLOR_TYPE_GRAY, false), width, height,
                      expected);
    }
    {
        SCOPED_TRACE("8-bit grey with alpha");
        std::vector<unsigned char> rows;
        std::vector<unsigned char> expected;
        for (int i = 0; i < width * height; ++i)
        {
            const unsigned char grey = static_cast<unsigned char>(i * 53 + 1);
            rows.push_back(grey);
            rows.push_back(static_cast<unsigned char>(i * 7));
            expected.insert(expected.end(), 3, grey);
        }
        ExpectDecodes(TestSupport::EncodePng(rows, width, height, 8, PNG_COLOR_TYPE_GRAY_ALPHA, false), width,
                      height, expected);
    }
}

TEST(ReadPngFromMemory, RefusesInterlacedAndForeignData)
{
    const std::vector<unsigned char> rows(8 * 8 * 3, 100);
    const std::string interlaced = TestSupport::EncodePng(rows, 8, 8, 8, PNG_COLOR_TYPE_RGB, true);
    {
        LogCapture log(kLog, log4cpp::Priority::INFO);
        EXPECT_FALSE(Decode(interlaced));
        EXPECT_EQ(log.Text(), "Interlaced PNG's not supported yet.\n");
    }
    const std::string foreign[] = {"", "\x89PNG", "\x89PNG\r\n\x1a\r and more", std::string(40, 'x')};
    for (const std::string& bytes : foreign)
    {
        SCOPED_TRACE(bytes.size());
        LogCapture log(kLog, log4cpp::Priority::INFO);
        EXPECT_FALSE(Decode(bytes));
        EXPECT_EQ(log.Text(), "Not in PNG format\n");
    }
}

TEST(ReadPngFromMemory, TruncatedFileStopsAtTheEndOfItsBlock)
{
    const PlainImage colour = TestSupport::MakeTexturedImage(64, 48, 3, 9);
    const std::string png = TestSupport::EncodePng(colour.pixels, 64, 48, 8, PNG_COLOR_TYPE_RGB, false);

    // Without IEND (12 bytes) every row is there already.
    std::unique_ptr<Array2dVec3UInt8> complete = Decode(png.substr(0, png.size() - 12));
    EXPECT_TRUE(HasPixels(complete.get(), 64, 48, colour.pixels));

    // Cut in the signature's wake, in IHDR, behind it, in the pixel data, in a CRC.
    const std::pair<size_t, bool> cuts[] = {
        {8, false}, {20, false}, {40, false}, {png.size() / 2, true}, {png.size() - 13, true}};
    for (const auto& cut : cuts)
    {
        SCOPED_TRACE(cut.first);
        LogCapture log(kLog, log4cpp::Priority::INFO);
        testing::internal::CaptureStderr();
        std::unique_ptr<Array2dVec3UInt8> image = Decode(png.substr(0, cut.first));
        const std::string err = testing::internal::GetCapturedStderr();
        EXPECT_EQ(log.Text(), "setjmp\n");
        EXPECT_EQ(err.rfind("PNG Error: ", 0), 0u) << err;
        // Once the header is through, the array exists, filled as far as the data went.
        ASSERT_EQ(static_cast<bool>(image), cut.second);
        if (image)
        {
            EXPECT_EQ(image->Width(), 64);
            EXPECT_EQ(image->Height(), 48);
        }
    }
}
