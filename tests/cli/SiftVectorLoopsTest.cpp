// Sparse SIFT histograms are summed by vector loops where the processor has AVX2 and by
// plain loops otherwise (or with LUMISK_NO_AVX2 set). Both must write the same bytes:
// dense grids whose windows cross the image border, several scales on one grid, and a
// detector whose points come in no particular order.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/ImageCodecs.h"
#include "support/TestSupport.h"

using namespace TestSupport;

namespace
{

struct Case
{
    const char* name;
    std::vector<std::string> args;
};

TEST(SiftVectorLoops, WriteTheSameFilesAsThePlainLoops)
{
    TempDir dir;
    WriteTextFile(dir.File("photo.jpg"), EncodeJpeg(MakeTexturedImage(97, 71, 3, 11), JCS_RGB, JCS_YCbCr, 92));
    const Case cases[] = {
        {"grid", {"--detector", "densesampling", "--descriptor", "opponentsift", "--ds_spacing", "4"}},
        {"scales", {"--detector", "densesampling", "--descriptor", "sift", "--ds_spacing", "5", "--ds_scales",
                    "1.2+2.7+1.1"}},
        {"large", {"--detector", "densesampling", "--descriptor", "rgbsift", "--ds_spacing", "9", "--ds_scales", "6"}},
        {"harris", {"--descriptor", "sift"}},
    };
    for (const Case& c : cases)
    {
        std::vector<std::string> vector = {"photo.jpg", "--outputFormat", "binary", "--output",
                                           std::string(c.name) + ".vector.bin"};
        std::vector<std::string> plain = {"photo.jpg", "--outputFormat", "binary", "--output",
                                          std::string(c.name) + ".plain.bin"};
        vector.insert(vector.end(), c.args.begin(), c.args.end());
        plain.insert(plain.end(), c.args.begin(), c.args.end());
        ASSERT_EQ(RunLumisk(vector, dir.Path()).status, 0) << c.name;
        ASSERT_EQ(RunLumisk(plain, dir.Path(), {"LUMISK_NO_AVX2=1"}).status, 0) << c.name;
        const std::string got = ReadTextFile(dir.File(std::string(c.name) + ".vector.bin"));
        const std::string want = ReadTextFile(dir.File(std::string(c.name) + ".plain.bin"));
        // Header, at least one point and a descriptor that is not all zero.
        ASSERT_GT(want.size(), 32u + 5 * 8 + 128 * 8) << c.name;
        EXPECT_NE(want.find_first_not_of('\0', want.size() - 128 * 8), std::string::npos) << c.name;
        EXPECT_TRUE(got == want) << c.name << ": the vector loops changed the output";
    }
}

} // namespace
