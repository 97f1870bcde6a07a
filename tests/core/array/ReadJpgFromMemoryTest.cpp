#include "core/array/ReadJpgFromMemory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "core/array/ArrayFactories.h"
#include "support/GuardedMemory.h"
#include "support/ImageCodecs.h"
#include "support/LogCapture.h"

using namespace Tavlin::Core::Array;
using TestSupport::AdobeMarker;
using TestSupport::GuardedMemory;
using TestSupport::LogCapture;
using TestSupport::PlainImage;

namespace
{

const char* const kLog = "Tavlin.Core.Array.ReadJpgFromMemory";

std::unique_ptr<Array2dVec3UInt8> Decode(const std::string& bytes)
{
    GuardedMemory block(bytes);
    Array2dVec3UInt8* image = nullptr;
    ReadJpgFromMemory(image, block.Data(), block.Size());
    return std::unique_ptr<Array2dVec3UInt8>(image);
}

// Every pixel of `image` equals libjpeg's RGB pixel, or its grey value on all three
// channels.
::testing::AssertionResult SameAsLibjpeg(const Array2dVec3UInt8* image, const PlainImage& expected)
{
    if (!image)
        return ::testing::AssertionFailure() << "no image";
    if (image->Width() != expected.width || image->Height() != expected.height)
        return ::testing::AssertionFailure() << "size " << image->Width() << " x " << image->Height();
    for (int y = 0; y < expected.height; ++y)
        for (int x = 0; x < expected.width; ++x)
            for (int c = 0; c < 3; ++c)
            {
                const int want = expected.Pixel(x, y)[expected.components == 1 ? 0 : c];
                const int got = image->PixelPtr(x, y)[c];
                if (got != want)
                    return ::testing::AssertionFailure()
                           << "pixel " << x << "," << y << " channel " << c << ": " << got << " instead of " << want;
            }
    return ::testing::AssertionSuccess();
}

// Three flat 16 x 16 blocks of the given CMYK values side by side.
PlainImage CmykBlocks(const unsigned char (&blocks)[3][4])
{
    PlainImage image;
    image.width = 48;
    image.height = 16;
    image.components = 4;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            image.pixels.insert(image.pixels.end(), blocks[x / 16], blocks[x / 16] + 4);
    return image;
}

::testing::AssertionResult NearRgb(const Array2dVec3UInt8* image, int x, int y, int r, int g, int b,
                                   int tolerance)
{
    const unsigned char* p = image->PixelPtr(x, y);
    if (std::abs(p[0] - r) > tolerance || std::abs(p[1] - g) > tolerance || std::abs(p[2] - b) > tolerance)
        return ::testing::AssertionFailure() << "pixel " << x << "," << y << " is (" << int(p[0]) << ", "
                                             << int(p[1]) << ", " << int(p[2]) << "), expected (" << r << ", " << g
                                             << ", " << b << ")";
    return ::testing::AssertionSuccess();
}

} // namespace

TEST(ReadJpgFromMemory, ColourAndGreyDecodeAsLibjpegAlone)
{
    // Odd sizes leave partial MCUs at the right and bottom edges.
    const PlainImage colour = TestSupport::MakeTexturedImage(93, 61, 3, 7);
    const std::string ycc = TestSupport::EncodeJpeg(colour, JCS_RGB, JCS_YCbCr, 85);
    LogCapture log(kLog, log4cpp::Priority::DEBUG);
    std::unique_ptr<Array2dVec3UInt8> image = Decode(ycc);
    EXPECT_TRUE(SameAsLibjpeg(image.get(), TestSupport::DecodeJpeg(ycc)));
    EXPECT_EQ(image->BorderWidth(), 0);
    EXPECT_NE(log.Text().find("color_space = JCS_YCbCr\nMAXJSAMPLE = 255\nCENTERJSAMPLE = 128\n"),
              std::string::npos)
        << log.Text();

    const std::string rgb = TestSupport::EncodeJpeg(colour, JCS_RGB, JCS_RGB, 90);
    EXPECT_TRUE(SameAsLibjpeg(Decode(rgb).get(), TestSupport::DecodeJpeg(rgb)));

    const PlainImage grey = TestSupport::MakeTexturedImage(77, 50, 1, 3);
    const std::string greyJpeg = TestSupport::EncodeJpeg(grey, JCS_GRAYSCALE, JCS_GRAYSCALE, 80);
    const PlainImage greyPlain = TestSupport::DecodeJpeg(greyJpeg);
    ASSERT_EQ(greyPlain.components, 1);
    EXPECT_TRUE(SameAsLibjpeg(Decode(greyJpeg).get(), greyPlain));
    EXPECT_EQ(log.Text().find("jmp: "), std::string::npos) << log.Text();
}

TEST(ReadJpgFromMemory, WritesIntoAGivenArrayWithinItsBorder)
{
    const PlainImage grey = TestSupport::MakeTexturedImage(40, 24, 1, 11);
    const std::string jpeg = TestSupport::EncodeJpeg(grey, JCS_GRAYSCALE, JCS_GRAYSCALE, 90);
    std::unique_ptr<Array2dVec3UInt8> given(ArrayCreate<Array2dVec3UInt8>(40, 24, 2, 1, nullptr, false));
    std::memset(given->Data(), 7, given->DataSize());
    Array2dVec3UInt8* target = given.get();
    GuardedMemory block(jpeg);
    ReadJpgFromMemory(target, block.Data(), block.Size());
    ASSERT_EQ(target, given.get());
    EXPECT_TRUE(SameAsLibjpeg(target, TestSupport::DecodeJpeg(jpeg)));
    // The frame around the image is left alone.
    for (long long y = -1; y < 25; ++y)
        for (long long x = -2; x < 42; ++x)
        {
            if (x >= 0 && y >= 0 && x < 40 && y < 24)
                continue;
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(target->PixelPtr(x, y)[c], 7) << x << "," << y;
        }
}

TEST(ReadJpgFromMemory, FourComponentFilesFollowTheAdobeMarker)
{
    // Black ink full, none, half.
    const unsigned char blocks[3][4] = {{200, 100, 50, 255}, {200, 100, 50, 0}, {200, 100, 50, 128}};
    const PlainImage cmyk = CmykBlocks(blocks);

    {
        // Inverted (Adobe): k = 255 leaves c, m, y; k = 0 is black.
        const std::string jpeg = TestSupport::EncodeJpeg(cmyk, JCS_CMYK, JCS_CMYK, 100, AdobeMarker::On);
        ASSERT_EQ(TestSupport::DecodeJpeg(jpeg, JCS_CMYK).components, 4);
        LogCapture log(kLog, log4cpp::Priority::DEBUG);
        std::unique_ptr<Array2dVec3UInt8> image = Decode(jpeg);
        ASSERT_TRUE(image);
        EXPECT_EQ(image->Width(), 48);
        EXPECT_TRUE(NearRgb(image.get(), 8, 8, 200, 100, 50, 1));
        EXPECT_TRUE(NearRgb(image.get(), 24, 8, 0, 0, 0, 0));
        EXPECT_TRUE(NearRgb(image.get(), 40, 8, 73, 0, 0, 1));
        EXPECT_NE(log.Text().find("color_space = JCS_CMYK"), std::string::npos) << log.Text();
        EXPECT_EQ(log.Text().find("Never tested"), std::string::npos) << log.Text();
    }
    {
        // Not inverted: ink subtracts from white, and full black ink is black.
        const std::string jpeg = TestSupport::EncodeJpeg(cmyk, JCS_CMYK, JCS_CMYK, 100, AdobeMarker::Off);
        LogCapture log(kLog, log4cpp::Priority::WARN);
        std::unique_ptr<Array2dVec3UInt8> image = Decode(jpeg);
        ASSERT_TRUE(image);
        EXPECT_TRUE(NearRgb(image.get(), 8, 8, 0, 0, 0, 0));
        EXPECT_TRUE(NearRgb(image.get(), 24, 8, 55, 155, 205, 1));
        EXPECT_TRUE(NearRgb(image.get(), 40, 8, 0, 27, 77, 1));
        EXPECT_NE(log.Text().find("Never tested non-inverted CMYK format\n"), std::string::npos) << log.Text();
    }
    {
        // YCCK arrives as CMYK; its colour transform costs a little precision.
        const std::string jpeg = TestSupport::EncodeJpeg(cmyk, JCS_CMYK, JCS_YCCK, 100);
        LogCapture log(kLog, log4cpp::Priority::DEBUG);
        std::unique_ptr<Array2dVec3UInt8> image = Decode(jpeg);
        ASSERT_TRUE(image);
        EXPECT_TRUE(NearRgb(image.get(), 8, 8, 200, 100, 50, 2));
        EXPECT_TRUE(NearRgb(image.get(), 24, 8, 0, 0, 0, 0));
        EXPECT_TRUE(NearRgb(image.get(), 40, 8, 73, 0, 0, 2));
        EXPECT_NE(log.Text().find("color_space = JCS_YCCK"), std::string::npos) << log.Text();
    }
}

TEST(ReadJpgFromMemory, TruncatedFileDecodesToFullSizeWithinItsBlock)
{
    const PlainImage colour = TestSupport::MakeTexturedImage(160, 120, 3, 5);
    const std::string jpeg = TestSupport::EncodeJpeg(colour, JCS_RGB, JCS_YCbCr, 90);
    for (size_t keep : {jpeg.size() - 2, jpeg.size() / 2, jpeg.size() / 5})
    {
        SCOPED_TRACE(keep);
        const std::string cut = jpeg.substr(0, keep);
        LogCapture log(kLog, log4cpp::Priority::WARN);
        std::unique_ptr<Array2dVec3UInt8> image = Decode(cut);
        // libjpeg's own memory source ends a short stream the same way.
        EXPECT_TRUE(SameAsLibjpeg(image.get(), TestSupport::DecodeJpeg(cut)));
        EXPECT_EQ(log.Text().find("jmp: "), std::string::npos) << log.Text();
    }
}

TEST(ReadJpgFromMemory, BrokenDataIsAWarningAndNoImage)
{
    const PlainImage colour = TestSupport::MakeTexturedImage(32, 32, 3, 1);
    const std::string jpeg = TestSupport::EncodeJpeg(colour, JCS_RGB, JCS_YCbCr, 90);
    std::string garbage = "\xff\xd8\xff";
    for (int i = 0; i < 200; ++i)
        garbage += static_cast<char>((i * 73 + 19) % 251);
    const std::string cases[] = {"", "\xff\xd8", garbage, jpeg.substr(0, 25), jpeg.substr(0, 200)};
    for (const std::string& bytes : cases)
    {
        SCOPED_TRACE(bytes.size());
        LogCapture log(kLog, log4cpp::Priority::WARN);
        std::unique_ptr<Array2dVec3UInt8> image = Decode(bytes);
        EXPECT_FALSE(image);
        const std::string text = log.Text();
        EXPECT_EQ(text.rfind("jmp: ", 0), 0u) << text;
        EXPECT_EQ(text.find("Something is wrong"), std::string::npos) << text;
    }

    // A failure leaves a given array in place.
    Array2dVec3UInt8* given = ArrayCreate<Array2dVec3UInt8>(4, 4, 0, 0, nullptr, false);
    Array2dVec3UInt8* target = given;
    GuardedMemory block(garbage);
    ReadJpgFromMemory(target, block.Data(), block.Size());
    EXPECT_EQ(target, given);
    delete given;
}

TEST(ReadJpgFromMemory, RefusesComponentCountsThatAreNoColourImage)
{
    // libjpeg writes no more than four components; two are as foreign to RGB.
    const PlainImage odd = TestSupport::MakeTexturedImage(16, 8, 2, 4);
    const std::string jpeg = TestSupport::EncodeJpeg(odd, JCS_UNKNOWN, JCS_UNKNOWN, 90);
    ASSERT_EQ(TestSupport::DecodeJpeg(jpeg).components, 2);
    LogCapture log(kLog, log4cpp::Priority::WARN);
    EXPECT_FALSE(Decode(jpeg));
    EXPECT_EQ(log.Text(), "Unsupported number of colour components: 2\n");
}

TEST(ReadJpgFromMemory, NamesColourSpaces)
{
    EXPECT_EQ(JpgColorSpace2String(JCS_UNKNOWN), "JCS_UNKNOWN");
    EXPECT_EQ(JpgColorSpace2String(JCS_GRAYSCALE), "JCS_GRAYSCALE");
    EXPECT_EQ(JpgColorSpace2String(JCS_RGB), "JCS_RGB");
    EXPECT_EQ(JpgColorSpace2String(static_cast<J_COLOR_SPACE>(6)), "NO_JCS_VALUE");
    EXPECT_EQ(JpgColorSpace2String(static_cast<J_COLOR_SPACE>(12)), "NO_JCS_VALUE");
}
