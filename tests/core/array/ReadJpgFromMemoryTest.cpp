#include "core/array/ReadJpgFromMemory.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/ImageCodecs.h"
#include "support/LogCapture.h"
#include "support/TestSupport.h"

using namespace Tavlin::Core::Array;
using TestSupport::AdobeMarker;
using TestSupport::EncodeJpeg;
using TestSupport::LogCapture;
using TestSupport::MakeTexturedImage;
using TestSupport::PlainImage;
using TestSupport::ReadJpgGuarded;
using TestSupport::SameRgb;

namespace
{

const char* const kLog = "Tavlin.Core.Array.ReadJpgFromMemory";

// Decoding equals libjpeg's own.
::testing::AssertionResult AsLibjpeg(const std::string& jpeg)
{
    return SameRgb(ReadJpgGuarded(jpeg).get(), TestSupport::DecodeJpeg(jpeg));
}

} // namespace

TEST(ReadJpgFromMemory, GreyRgbAndYCbCrDecodeAsLibjpegAlone)
{
    // Odd sizes leave partial MCUs at the right and bottom edges.
    const PlainImage colour = MakeTexturedImage(93, 61, 3, 7);
    LogCapture log(kLog, log4cpp::Priority::DEBUG);
    EXPECT_TRUE(AsLibjpeg(EncodeJpeg(colour, JCS_RGB, JCS_YCbCr, 85)));
    EXPECT_NE(log.Text().find("color_space = JCS_YCbCr\nMAXJSAMPLE = 255\nCENTERJSAMPLE = 128\n"), std::string::npos)
        << log.Text();
    EXPECT_TRUE(AsLibjpeg(EncodeJpeg(colour, JCS_RGB, JCS_RGB, 90)));
    const std::string grey = EncodeJpeg(MakeTexturedImage(77, 50, 1, 3), JCS_GRAYSCALE, JCS_GRAYSCALE, 80);
    ASSERT_EQ(TestSupport::DecodeJpeg(grey).components, 1);
    EXPECT_TRUE(AsLibjpeg(grey)); // all three channels equal the grey value
    EXPECT_EQ(log.Text().find("jmp: "), std::string::npos) << log.Text();
}

TEST(ReadJpgFromMemory, FourComponentFilesFollowTheAdobeMarker)
{
    // Three flat 16 x 16 blocks, black ink full, none, half.
    const unsigned char inks[3][4] = {{200, 100, 50, 255}, {200, 100, 50, 0}, {200, 100, 50, 128}};
    PlainImage cmyk;
    cmyk.width = 48;
    cmyk.height = 16;
    cmyk.components = 4;
    for (int i = 0; i < 48 * 16; ++i)
        cmyk.pixels.insert(cmyk.pixels.end(), inks[i % 48 / 16], inks[i % 48 / 16] + 4);
    struct Case
    {
        J_COLOR_SPACE fileSpace;
        AdobeMarker adobe;
        int rgb[3][3]; // at the centre of each block
        int tolerance;
        const char* logged;
    };
    const Case cases[] = {
        // Inverted (Adobe): k = 255 leaves c, m, y; k = 0 is black.
        {JCS_CMYK, AdobeMarker::On, {{200, 100, 50}, {0, 0, 0}, {73, 0, 0}}, 1, "color_space = JCS_CMYK"},
        // Not inverted: ink subtracts from white.
        {JCS_CMYK,
         AdobeMarker::Off,
         {{0, 0, 0}, {55, 155, 205}, {0, 27, 77}},
         1,
         "Never tested non-inverted CMYK format\n"},
        // YCCK arrives as CMYK; its colour transform costs a little precision.
        {JCS_YCCK, AdobeMarker::Default, {{200, 100, 50}, {0, 0, 0}, {73, 0, 0}}, 2, "color_space = JCS_YCCK"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.logged);
        const std::string jpeg = EncodeJpeg(cmyk, JCS_CMYK, c.fileSpace, 100, c.adobe);
        LogCapture log(kLog, log4cpp::Priority::DEBUG);
        std::unique_ptr<Array2dVec3UInt8> image = ReadJpgGuarded(jpeg);
        ASSERT_TRUE(image);
        EXPECT_EQ(image->Width(), 48);
        for (int b = 0; b < 3; ++b)
            for (int ch = 0; ch < 3; ++ch)
                EXPECT_NEAR(image->PixelPtr(16 * b + 8, 8)[ch], c.rgb[b][ch], c.tolerance) << "block " << b;
        EXPECT_NE(log.Text().find(c.logged), std::string::npos) << log.Text();
        EXPECT_EQ(log.Text().find("Never tested") == std::string::npos, c.adobe != AdobeMarker::Off);
    }
}

TEST(ReadJpgFromMemory, TruncatedFileIsFullSizeAndBrokenDataAWarning)
{
    const std::string jpeg = EncodeJpeg(MakeTexturedImage(160, 120, 3, 5), JCS_RGB, JCS_YCbCr, 90);
    for (size_t keep : {jpeg.size() - 2, jpeg.size() / 2, jpeg.size() / 5})
    {
        SCOPED_TRACE(keep);
        LogCapture log(kLog, log4cpp::Priority::WARN);
        // libjpeg's own memory source ends a short stream the same way.
        EXPECT_TRUE(AsLibjpeg(jpeg.substr(0, keep)));
        EXPECT_EQ(log.Text().find("jmp: "), std::string::npos) << log.Text();
    }

    std::string garbage = "\xff\xd8\xff";
    for (int i = 0; i < 200; ++i)
        garbage += static_cast<char>((i * 73 + 19) % 251);
    for (const std::string &bytes :
         {std::string(), std::string("\xff\xd8"), garbage, jpeg.substr(0, 25), jpeg.substr(0, 200)})
    {
        SCOPED_TRACE(bytes.size());
        LogCapture log(kLog, log4cpp::Priority::WARN);
        EXPECT_FALSE(ReadJpgGuarded(bytes));
        EXPECT_EQ(log.Text().rfind("jmp: ", 0), 0u) << log.Text();
        EXPECT_EQ(log.Text().find("Something is wrong"), std::string::npos) << log.Text();
    }
}

TEST(ReadJpgFromMemory, RefusesSizesThatItsBytesCannotHold)
{
    // A cut file whose header says 60000 x 60000: 10.8 GB of pixels from 340 bytes.
    std::string jpeg = TestSupport::FuzzFinding("ReadImage", "60000x60000-in-340-bytes.jpg");
    ASSERT_EQ(jpeg.size(), 340u);
    {
        LogCapture log(kLog, log4cpp::Priority::WARN);
        EXPECT_FALSE(ReadJpgGuarded(jpeg));
        EXPECT_EQ(log.Text(), "A JPEG of 60000 x 60000 cannot come from 340 bytes\n");
    }
    // Found by fuzzing: an Adobe marker, tables and a frame of 2 GB amid garbage.
    {
        LogCapture log(kLog, log4cpp::Priority::WARN);
        EXPECT_FALSE(ReadJpgGuarded(TestSupport::FuzzFinding("ReadImage", "26373x27248-in-528-bytes.jpg")));
        EXPECT_NE(log.Text().find("A JPEG of 26373 x 27248 cannot come from 528 bytes\n"), std::string::npos)
            << log.Text();
    }

    // The same bytes announcing 12 megapixels still decode at full size.
    const size_t frame = jpeg.find("\xff\xc0");
    ASSERT_NE(frame, std::string::npos);
    jpeg.replace(frame + 5, 4, std::string("\x0b\xb8\x0f\xa0", 4));
    LogCapture log(kLog, log4cpp::Priority::ERROR);
    std::unique_ptr<Array2dVec3UInt8> image = ReadJpgGuarded(jpeg);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->Width(), 4000);
    EXPECT_EQ(image->Height(), 3000);
    EXPECT_EQ(log.Text(), "");
}
