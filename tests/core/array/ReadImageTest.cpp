#include "core/array/ReadFile.h"
#include "core/array/ReadImage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <png.h>

#include "persistency/RepositoryInFileSystem.h"
#include "support/ImageCodecs.h"
#include "support/LogCapture.h"
#include "support/TestSupport.h"

using namespace Tavlin::Core::Array;
using Tavlin::Persistency::RepositoryGetFile;
using TestSupport::LogCapture;
using TestSupport::PlainImage;
using TestSupport::TempDir;
using TestSupport::WriteTextFile;

namespace
{

const char* const kReadFileLog = "Tavlin.Core.Array.ReadFile";
const char* const kReadImageLog = "Tavlin.Core.Array.ReadImage";
const char* const kIdentityLog = "Tavlin.Core.Array.ReadImageIdentity";

std::unique_ptr<Array2dVec3UInt8> ReadByFile(const std::string& path)
{
    Array2dVec3UInt8* image = nullptr;
    ReadFile(image, RepositoryGetFile(path, false, true));
    return std::unique_ptr<Array2dVec3UInt8>(image);
}

::testing::AssertionResult SameRgb(const Array2dVec3UInt8* image, const PlainImage& expected)
{
    if (!image)
        return ::testing::AssertionFailure() << "no image";
    if (image->Width() != expected.width || image->Height() != expected.height)
        return ::testing::AssertionFailure() << "size " << image->Width() << " x " << image->Height();
    for (int y = 0; y < expected.height; ++y)
        for (int x = 0; x < expected.width; ++x)
            for (int c = 0; c < 3; ++c)
                if (image->PixelPtr(x, y)[c] != expected.Pixel(x, y)[c])
                    return ::testing::AssertionFailure() << "pixel " << x << "," << y << " channel " << c;
    return ::testing::AssertionSuccess();
}

// A 2 x 2 raw array of three bytes a pixel: values 1 .. 12.
std::string RawImageFile()
{
    std::string bytes = "version: 1, binary: 1, type: uint8, elemSize: 3, width: 2, height: 2, nr: 1";
    bytes.resize(200, '\0');
    for (int i = 1; i <= 12; ++i)
        bytes += static_cast<char>(i);
    return bytes;
}

struct Files
{
    PlainImage colour = TestSupport::MakeTexturedImage(24, 16, 3, 2);
    std::string jpeg = TestSupport::EncodeJpeg(colour, JCS_RGB, JCS_YCbCr, 90);
    std::string png = TestSupport::EncodePng(colour.pixels, 24, 16, 8, PNG_COLOR_TYPE_RGB, false);
};

} // namespace

TEST(ReadFile, ExtensionDecidesWhetherAFileIsRead)
{
    TempDir dir;
    Files files;
    const PlainImage decoded = TestSupport::DecodeJpeg(files.jpeg);

    for (const char* name : {"upper.JPG", "long.jpeg", "photo.png"})
    {
        SCOPED_TRACE(name);
        WriteTextFile(dir.File(name), files.jpeg);
        EXPECT_TRUE(SameRgb(ReadByFile(dir.File(name)).get(), decoded));
    }

    // Refused by name whatever they hold: a JPEG in each.
    WriteTextFile(dir.File("photo.bmp"), files.jpeg);
    WriteTextFile(dir.File("noextension"), files.jpeg);
    WriteTextFile(dir.File("endsindot."), files.jpeg);
    for (const std::string& path : {dir.File("photo.bmp"), dir.File("noextension"), dir.File("endsindot.")})
    {
        SCOPED_TRACE(path);
        LogCapture log(kReadFileLog, log4cpp::Priority::INFO);
        EXPECT_FALSE(ReadByFile(path));
        EXPECT_EQ(log.Text(), "Don't know how to read " + path + "\n");
    }

    // "raw" goes to the raw reader without a look at the content.
    WriteTextFile(dir.File("image.raw"), RawImageFile());
    std::unique_ptr<Array2dVec3UInt8> raw = ReadByFile(dir.File("image.raw"));
    ASSERT_TRUE(raw);
    EXPECT_EQ(raw->Width(), 2);
    EXPECT_EQ(raw->PixelPtr(1, 1)[2], 12);

    // A file that is not there is no image, and no crash.
    EXPECT_FALSE(ReadByFile(dir.File("missing.jpg")));
    EXPECT_FALSE(ReadByFile(dir.File("missing.raw")));
}

TEST(ReadImage, ContentPicksTheDecoderAndANameClashIsAWarning)
{
    TempDir dir;
    Files files;
    WriteTextFile(dir.File("png.jpg"), files.png);
    WriteTextFile(dir.File("jpeg.png"), files.jpeg);
    WriteTextFile(dir.File("raw.png"), RawImageFile());
    WriteTextFile(dir.File("right.png"), files.png);

    {
        LogCapture log(kReadImageLog, log4cpp::Priority::INFO);
        EXPECT_TRUE(SameRgb(ReadByFile(dir.File("png.jpg")).get(), files.colour));
        EXPECT_EQ(log.Text(), "File seems to contain a PNG instead of a JPG image\n");
    }
    {
        LogCapture log(kReadImageLog, log4cpp::Priority::INFO);
        EXPECT_TRUE(SameRgb(ReadByFile(dir.File("jpeg.png")).get(), TestSupport::DecodeJpeg(files.jpeg)));
        EXPECT_EQ(log.Text(), "File seems to contain a JPG instead of a PNG image\n");
    }
    {
        LogCapture log(kReadImageLog, log4cpp::Priority::INFO);
        std::unique_ptr<Array2dVec3UInt8> raw = ReadByFile(dir.File("raw.png"));
        ASSERT_TRUE(raw);
        EXPECT_EQ(raw->Height(), 2);
        EXPECT_EQ(raw->PixelPtr(0, 0)[0], 1);
        EXPECT_EQ(raw->PixelPtr(1, 1)[2], 12);
        EXPECT_TRUE(SameRgb(ReadByFile(dir.File("right.png")).get(), files.colour));
        EXPECT_EQ(log.Text(), "");
    }
}

TEST(ReadImage, ShortEmptyAndGarbageFilesAreAnsweredWithMessages)
{
    TempDir dir;
    Files files;
    WriteTextFile(dir.File("short.jpg"), files.jpeg.substr(0, 13));
    WriteTextFile(dir.File("empty.png"), "");
    {
        LogCapture log(kIdentityLog, log4cpp::Priority::INFO);
        EXPECT_FALSE(ReadByFile(dir.File("short.jpg")));
        EXPECT_FALSE(ReadByFile(dir.File("empty.png")));
        EXPECT_EQ(log.Text(), "Buffer size too small (13) to identify file\n"
                              "Buffer size too small (0) to identify file\n");
    }

    // GIF89a followed by bytes with the high bit set.
    const std::string gif = std::string("GIF89a\xc8x\x80yz09", 13) + "trailing";
    WriteTextFile(dir.File("garbage.jpg"), gif);
    {
        LogCapture identity(kIdentityLog, log4cpp::Priority::INFO);
        LogCapture image(kReadImageLog, log4cpp::Priority::INFO);
        EXPECT_FALSE(ReadByFile(dir.File("garbage.jpg")));
        const std::string text = identity.Text();
        EXPECT_EQ(text.rfind("Unknown image file format! 0:71 1:73 2:70 3:56 4:57 5:97 6:-56 7:120 8:-128 9:121 "
                             "10:122 11:48 12:57 13:116\nheader:\nheader[0] = 0x47 = 71 = G\n",
                             0),
                  0u)
            << text;
        EXPECT_NE(text.find("\nheader[6] = 0xc8 = -56 = \xc8\n"), std::string::npos) << text;
        EXPECT_NE(text.find("\nheader[13] = 0x74 = 116 = t\n"), std::string::npos) << text;
        EXPECT_EQ(image.Text(), "Don't understand " + dir.File("garbage.jpg") + "\n");
    }

    // The JPEG start decides the decoder, which then fails softly.
    std::string fakeJpeg = "\xff\xd8\xff";
    fakeJpeg += std::string(60, '\x11');
    WriteTextFile(dir.File("fake.jpg"), fakeJpeg);
    {
        LogCapture log("Tavlin.Core.Array.ReadJpgFromMemory", log4cpp::Priority::INFO);
        EXPECT_FALSE(ReadByFile(dir.File("fake.jpg")));
        EXPECT_EQ(log.Text().rfind("jmp: ", 0), 0u) << log.Text();
    }
}

TEST(ReadImageIdentity, LooksAtTheMagicBytesOnly)
{
    auto identity = [](std::string bytes) {
        bytes.resize(std::max<size_t>(bytes.size(), 14), 'z');
        return ReadImageIdentity(&bytes[0], static_cast<int>(bytes.size()));
    };
    EXPECT_EQ(identity("version: 9"), 3);
    EXPECT_EQ(identity("\x89PNG\r\n\x1a\n"), 2);
    EXPECT_EQ(identity("\xff\xd8\xff\xe0JFIF"), 1);
    EXPECT_EQ(identity("\xff\xd8\xff\xe1" "Exif"), 1);
    EXPECT_EQ(identity("\xff\xd8\xff\x00"), 1);

    LogCapture log(kIdentityLog, log4cpp::Priority::ERROR);
    EXPECT_EQ(identity("version:9"), 0);
    EXPECT_EQ(identity("\x89PNG\r\n\x1a\r"), 0);
    EXPECT_EQ(identity("\xff\xd8\xfe"), 0);
    EXPECT_EQ(TestSupport::CountOf(log.Text(), "Unknown image file format!"), 3);
}
