#include "core/array/ReadPngFromMemory.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <png.h>

#include "support/ImageCodecs.h"
#include "support/LogCapture.h"
#include "support/TestSupport.h"

using namespace Tavlin::Core::Array;
using TestSupport::EncodePng;
using TestSupport::LogCapture;
using TestSupport::PlainImage;
using TestSupport::ReadPngGuarded;

const char* const kLog = "Tavlin.Core.Array.ReadPng";

TEST(ReadPngFromMemory, ConvertsEveryKindToEightBitRgbAsLibpngAlone)
{
    const int width = 13;
    const int height = 5;
    struct Kind
    {
        const char* name;
        int bitDepth, colorType, bitsPerPixel;
    };
    const Kind kinds[] = {{"8-bit RGB", 8, PNG_COLOR_TYPE_RGB, 24},
                          {"4-bit palette with transparency", 4, PNG_COLOR_TYPE_PALETTE, 4},
                          {"16-bit RGBA", 16, PNG_COLOR_TYPE_RGB_ALPHA, 64},
                          {"1-bit grey", 1, PNG_COLOR_TYPE_GRAY, 1},
                          {"8-bit grey with alpha", 8, PNG_COLOR_TYPE_GRAY_ALPHA, 16}};
    std::vector<unsigned char> palette, alpha;
    for (int i = 0; i < 16; ++i)
    {
        palette.insert(palette.end(), {static_cast<unsigned char>(i * 16), static_cast<unsigned char>(255 - i * 7),
                                       static_cast<unsigned char>(i * i)});
        alpha.push_back(static_cast<unsigned char>(i * 17));
    }
    for (const Kind& k : kinds)
    {
        SCOPED_TRACE(k.name);
        const size_t rowBytes = (width * k.bitsPerPixel + 7) / 8;
        std::vector<unsigned char> rows(rowBytes * height);
        for (size_t i = 0; i < rows.size(); ++i)
            rows[i] = static_cast<unsigned char>((i * 37 + 5) % 251);
        const bool indexed = k.colorType == PNG_COLOR_TYPE_PALETTE;
        const std::string png = EncodePng(rows, width, height, k.bitDepth, k.colorType, false,
                                          indexed ? palette : std::vector<unsigned char>{},
                                          indexed ? alpha : std::vector<unsigned char>{});
        LogCapture log(kLog, log4cpp::Priority::INFO);
        // libpng alone keeps the high byte of 16-bit samples and stretches 1-bit grey to 0 or 255.
        ASSERT_TRUE(TestSupport::SameRgb(ReadPngGuarded(png).get(), TestSupport::DecodePngToRgb(png)));
        EXPECT_EQ(log.Text(), "");
    }
}

TEST(ReadPngFromMemory, RefusesInterlacedAndForeignData)
{
    const std::string interlaced =
        EncodePng(std::vector<unsigned char>(8 * 8 * 3, 100), 8, 8, 8, PNG_COLOR_TYPE_RGB, true);
    const std::pair<std::string, const char*> cases[] = {
        {interlaced, "Interlaced PNG's not supported yet.\n"},
        {"", "Not in PNG format\n"},
        {"\x89PNG", "Not in PNG format\n"},
        {"\x89PNG\r\n\x1a\r and more", "Not in PNG format\n"},
        {std::string(40, 'x'), "Not in PNG format\n"}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.first.size());
        LogCapture log(kLog, log4cpp::Priority::INFO);
        EXPECT_FALSE(ReadPngGuarded(c.first));
        EXPECT_EQ(log.Text(), c.second);
    }
}

TEST(ReadPngFromMemory, RefusesSizesThatItsBytesCannotHold)
{
    // A small picture's file whose header says 60000 x 60000.
    const std::string png =
        TestSupport::FuzzFinding("ReadImage", "60000x60000-header.png");
    LogCapture log(kLog, log4cpp::Priority::INFO);
    EXPECT_FALSE(ReadPngGuarded(png));
    EXPECT_EQ(log.Text(), "A PNG of 60000 x 60000 cannot come from " + std::to_string(png.size()) + " bytes\n");
}

TEST(ReadPngFromMemory, TruncatedFileStopsAtTheEndOfItsBlock)
{
    const PlainImage colour = TestSupport::MakeTexturedImage(64, 48, 3, 9);
    const std::string png = EncodePng(colour.pixels, 64, 48, 8, PNG_COLOR_TYPE_RGB, false);

    // Without IEND (12 bytes) every row is there already.
    EXPECT_TRUE(TestSupport::SameRgb(ReadPngGuarded(png.substr(0, png.size() - 12)).get(), colour));

    // Cut in the signature's wake, in IHDR, behind it, in the pixel data, in a CRC. The
    // decoder's block ends at an inaccessible page: reading past it would crash.
    const std::pair<size_t, bool> cuts[] = {
        {8, false}, {20, false}, {40, false}, {png.size() / 2, true}, {png.size() - 13, true}};
    for (const auto& cut : cuts)
    {
        SCOPED_TRACE(cut.first);
        LogCapture log(kLog, log4cpp::Priority::INFO);
        testing::internal::CaptureStderr();
        std::unique_ptr<Array2dVec3UInt8> image = ReadPngGuarded(png.substr(0, cut.first));
        const std::string err = testing::internal::GetCapturedStderr();
        EXPECT_EQ(log.Text(), "setjmp\n");
        EXPECT_EQ(err.rfind("PNG Error: ", 0), 0u) << err;
        // Once the header is through, the array exists at full size.
        ASSERT_EQ(static_cast<bool>(image), cut.second);
        if (image)
        {
            EXPECT_EQ(image->Width(), 64);
            EXPECT_EQ(image->Height(), 48);
        }
    }
}
