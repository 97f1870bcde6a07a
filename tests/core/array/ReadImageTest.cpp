#include "core/array/ReadFile.h"
#include "core/array/ReadImage.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include <png.h>

#include "persistency/RepositoryInFileSystem.h"
#include "support/ImageCodecs.h"
#include "support/LogCapture.h"
#include "support/TestSupport.h"

using namespace Tavlin::Core::Array;
using TestSupport::LogCapture;
using TestSupport::PlainImage;
using TestSupport::SameRgb;

namespace
{

const char* const kReadImageLog = "Tavlin.Core.Array.ReadImage";
const char* const kIdentityLog = "Tavlin.Core.Array.ReadImageIdentity";

// Writes the bytes under the name in a fresh directory and reads them through ReadFile;
// the logs of the categories named are captured meanwhile.
struct Reading
{
    std::unique_ptr<Array2dVec3UInt8> image;
    std::string path;
    std::string log;
};

Reading ReadAs(const std::string& name, const std::string& bytes, const char* category)
{
    TestSupport::TempDir dir;
    Reading r;
    r.path = dir.File(name);
    TestSupport::WriteTextFile(r.path, bytes);
    LogCapture log(category, log4cpp::Priority::INFO);
    Array2dVec3UInt8* image = nullptr;
    ReadFile(image, Tavlin::Persistency::RepositoryGetFile(r.path, false, true));
    r.image.reset(image);
    r.log = log.Text();
    return r;
}

// A 2 x 2 raw array of three bytes a pixel: values 1 .. 12.
const std::string kRaw = TestSupport::RawArrayFileBytes(
    "version: 1, binary: 1, type: uint8, elemSize: 3, width: 2, height: 2, nr: 1", "\1\2\3\4\5\6\7\10\11\12\13\14");

} // namespace

TEST(ReadFile, NameDecidesWhetherAndContentHowAFileIsRead)
{
    const PlainImage colour = TestSupport::MakeTexturedImage(24, 16, 3, 2);
    const std::string jpeg = TestSupport::EncodeJpeg(colour, JCS_RGB, JCS_YCbCr, 90);
    const std::string png = TestSupport::EncodePng(colour.pixels, 24, 16, 8, PNG_COLOR_TYPE_RGB, false);
    const PlainImage decoded = TestSupport::DecodeJpeg(jpeg);
    struct Case
    {
        std::string name, bytes;
        const PlainImage* expected;
        std::string warning;
    };
    const Case cases[] = {
        {"upper.JPG", jpeg, &decoded, ""},
        {"long.jpeg", jpeg, &decoded, ""},
        {"right.png", png, &colour, ""},
        {"png.jpg", png, &colour, "File seems to contain a PNG instead of a JPG image\n"},
        {"jpeg.png", jpeg, &decoded, "File seems to contain a JPG instead of a PNG image\n"},
    };
    for (const Case& c : cases)
    {
        Reading r = ReadAs(c.name, c.bytes, kReadImageLog);
        EXPECT_TRUE(SameRgb(r.image.get(), *c.expected)) << c.name;
        EXPECT_EQ(r.log, c.warning) << c.name;
    }

    // Refused by name whatever they hold.
    for (const char* name : {"photo.bmp", "noextension", "endsindot."})
    {
        Reading r = ReadAs(name, jpeg, "Tavlin.Core.Array.ReadFile");
        EXPECT_FALSE(r.image);
        EXPECT_EQ(r.log, "Don't know how to read " + r.path + "\n");
    }

    // A raw array goes by its name, or by its content under an image name.
    for (const char* name : {"image.raw", "raw.png"})
    {
        Reading r = ReadAs(name, kRaw, kReadImageLog);
        ASSERT_TRUE(r.image) << name;
        EXPECT_EQ(r.image->Height(), 2);
        EXPECT_EQ(r.image->PixelPtr(0, 0)[0], 1);
        EXPECT_EQ(r.image->PixelPtr(1, 1)[2], 12);
        EXPECT_EQ(r.log, "");
    }
}

TEST(ReadImage, ShortEmptyAndGarbageFilesAreAnsweredWithMessages)
{
    const PlainImage colour = TestSupport::MakeTexturedImage(24, 16, 3, 2);
    const std::string jpeg = TestSupport::EncodeJpeg(colour, JCS_RGB, JCS_YCbCr, 90);
    EXPECT_EQ(ReadAs("short.jpg", jpeg.substr(0, 13), kIdentityLog).log,
              "Buffer size too small (13) to identify file\n");
    EXPECT_EQ(ReadAs("empty.png", "", kIdentityLog).log, "Buffer size too small (0) to identify file\n");

    // GIF89a followed by bytes with the high bit set.
    const std::string gif = std::string("GIF89a\xc8x\x80yz09", 13) + "trailing";
    Reading r = ReadAs("garbage.jpg", gif, kIdentityLog);
    EXPECT_EQ(r.log.rfind("Unknown image file format! 0:71 1:73 2:70 3:56 4:57 5:97 6:-56 7:120 8:-128 9:121 "
                          "10:122 11:48 12:57 13:116\nheader:\nheader[0] = 0x47 = 71 = G\n",
                          0),
              0u)
        << r.log;
    r = ReadAs("garbage.jpg", gif, kReadImageLog);
    EXPECT_EQ(r.log, "Don't understand " + r.path + "\n");

    // The JPEG start decides the decoder, which then fails softly.
    r = ReadAs("fake.jpg", "\xff\xd8\xff" + std::string(60, '\x11'), "Tavlin.Core.Array.ReadJpgFromMemory");
    EXPECT_FALSE(r.image);
    EXPECT_EQ(r.log.rfind("jmp: ", 0), 0u) << r.log;

    // Near misses of the magic bytes are unknown.
    LogCapture log(kIdentityLog, log4cpp::Priority::ERROR);
    for (std::string bytes : {"version:9", "\x89PNG\r\n\x1a\r", "\xff\xd8\xfe"})
    {
        bytes.resize(14, 'z');
        EXPECT_EQ(ReadImageIdentity(&bytes[0], 14), 0) << bytes;
    }
    EXPECT_EQ(TestSupport::CountOf(log.Text(), "Unknown image file format!"), 3);
}
