// The reference runs on three small pictures, compared byte for byte with the files
// they gave when committed: detector, descriptor and binary writer together. Faster
// filters and loops must leave every bit of these files as it is.
//
// After a change that is meant to alter the output, LUMISK_UPDATE_GOLDEN=1 rewrites the
// stored files from the current build instead of comparing.
#include <gtest/gtest.h>

#include <zlib.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support/TestSupport.h"

using namespace TestSupport;

namespace
{

const std::string kGoldenDir = std::string(LUMISK_TEST_DATA) + "/golden";

struct ReferenceRun
{
    const char* name;
    std::vector<std::string> args;
};

const ReferenceRun kRuns[] = {
    {"default", {"--descriptor", "sift"}},
    {"chl", {"--detector", "colorharrislaplace", "--descriptor", "opponentsift"}},
    {"rec", {"--descriptor", "sift", "--recGauss"}},
    {"dense", {"--detector", "densesampling", "--descriptor", "rgbsift", "--ds_spacing", "10"}},
};

const char* const kPictures[] = {"face", "suit", "texture"};

std::string ReadGzip(const std::string& path)
{
    std::string bytes;
    gzFile in = gzopen(path.c_str(), "rb");
    if (!in)
        return bytes;
    char chunk[65536];
    int got;
    while ((got = gzread(in, chunk, sizeof chunk)) > 0)
        bytes.append(chunk, static_cast<size_t>(got));
    gzclose(in);
    return bytes;
}

void WriteGzip(const std::string& path, const std::string& bytes)
{
    gzFile out = gzopen(path.c_str(), "wb9");
    ASSERT_NE(out, nullptr) << path;
    EXPECT_EQ(gzwrite(out, bytes.data(), static_cast<unsigned>(bytes.size())), static_cast<int>(bytes.size()));
    gzclose(out);
}

// Where a BINDESC1 file first differs, as point and value: header of 32 bytes, then
// five doubles per point, then the descriptors.
std::string FirstDifference(const std::string& got, const std::string& want)
{
    size_t at = 0;
    while (at < got.size() && at < want.size() && got[at] == want[at])
        ++at;
    std::string where = "byte " + std::to_string(at) + " of " + std::to_string(got.size()) + " (stored " +
                        std::to_string(want.size()) + ")";
    if (at < 32 || want.size() < 32)
        return where + ", in the header";
    int32_t header[4];
    std::memcpy(header, want.data() + 16, sizeof header);
    const size_t value = (at - 32) / 8;
    const size_t points = static_cast<size_t>(header[2]) * 5;
    if (value < points)
        return where + ", point " + std::to_string(value / 5) + " field " + std::to_string(value % 5);
    const size_t length = header[1] > 0 ? static_cast<size_t>(header[1]) : 1;
    return where + ", descriptor " + std::to_string((value - points) / length) + " value " +
           std::to_string((value - points) % length);
}

class GoldenRunTest : public ::testing::TestWithParam<std::tuple<int, int>>
{
};

TEST_P(GoldenRunTest, OutputIsByteForByteTheStoredOne)
{
    const ReferenceRun& run = kRuns[std::get<0>(GetParam())];
    const std::string picture = kPictures[std::get<1>(GetParam())];
    TempDir dir;
    std::vector<std::string> args = {kGoldenDir + "/" + picture + ".png"};
    args.insert(args.end(), run.args.begin(), run.args.end());
    for (const char* extra : {"--outputFormat", "binary", "--output", "out.bin", "--noErrorLog"})
        args.push_back(extra);
    const RunResult result = RunLumisk(args, dir.Path());
    ASSERT_EQ(result.status, 0) << result.err;
    const std::string got = ReadTextFile(dir.File("out.bin"));
    const std::string stored = kGoldenDir + "/" + picture + "." + run.name + ".bin.gz";
    const char* update = std::getenv("LUMISK_UPDATE_GOLDEN");
    if (update && std::string(update) == "1")
    {
        WriteGzip(stored, got);
        return;
    }
    const std::string want = ReadGzip(stored);
    ASSERT_GT(want.size(), 32u) << "no stored output " << stored;
    EXPECT_TRUE(got == want) << picture << " " << run.name << " differs from " << stored << " at "
                             << FirstDifference(got, want);
}

INSTANTIATE_TEST_SUITE_P(Runs, GoldenRunTest, ::testing::Combine(::testing::Range(0, 4), ::testing::Range(0, 3)),
                         [](const ::testing::TestParamInfo<std::tuple<int, int>>& info) {
                             return std::string(kRuns[std::get<0>(info.param)].name) + "_" +
                                    kPictures[std::get<1>(info.param)];
                         });

} // namespace
