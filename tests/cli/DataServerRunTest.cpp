// lumisk against a lumisk-dataserver: a batch whose list, images, codebook, outputs
// and regions all live on the server writes there the same bytes as the local run.
#include <sys/stat.h>

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/DataServerProcess.h"
#include "support/ImageCodecs.h"
#include "support/TestSupport.h"

using namespace TestSupport;

namespace
{

// The inputs of both runs: two images and the batch list.
void WriteInputs(const std::string& dir)
{
    mkdir((dir + "/img").c_str(), 0755);
    WriteJpegPhoto(dir + "/one.jpg", 60, 50, 4);
    WriteJpegPhoto(dir + "/img/two.jpg", 48, 40, 5);
    WriteTextFile(dir + "/list.txt", "one.jpg\n# comment\nimg/two.jpg\n");
}

const std::vector<std::string> sDescribe = {"--batch", "list.txt", "--detector", "densesampling", "--descriptor",
                                            "sift", "--output", "out", "--saveRegions", "regions"};
const std::vector<std::string> sProject = {"--batch", "list.txt", "--detector", "densesampling", "--descriptor",
                                           "sift", "--codebook", "cb.txt", "--output", "proj"};

std::vector<std::string> With(std::vector<std::string> args, const std::vector<std::string>& more)
{
    args.insert(args.end(), more.begin(), more.end());
    return args;
}

} // namespace

TEST(DataServerRun, BatchOnTheServerWritesTheSameBytesAsTheLocalRun)
{
    TempDir local, remote, client;
    WriteInputs(local.Path());
    WriteInputs(remote.Path());
    ASSERT_EQ(RunLumisk(sDescribe, local.Path()).status, 0);
    // The first image's descriptors serve as the codebook of the second run.
    const std::string codebook = ReadTextFile(local.File("out/one.bin"));
    ASSERT_FALSE(codebook.empty());
    WriteTextFile(local.File("cb.txt"), codebook);
    WriteTextFile(remote.File("cb.txt"), codebook);
    ASSERT_EQ(RunLumisk(sProject, local.Path()).status, 0);

    WritePasswordFile(client.File(".passwords"), "reader", "writer");
    DataServerProcess server(remote.Path(), client.File(".passwords"), client.File("server.log"));
    ASSERT_NE(server.Port(), 0);
    // The client's default password file is .passwords in its current directory.
    RunResult describe = RunLumisk(With(sDescribe, {"--dataServer", server.Address()}), client.Path());
    ASSERT_EQ(describe.status, 0) << describe.out << describe.err;
    RunResult project = RunLumisk(With(sProject, {"--dataServer", server.Address()}), client.Path());
    ASSERT_EQ(project.status, 0) << project.out << project.err;

    for (const char* name : {"out/one.bin", "out/two.bin", "regions/one.bin", "regions/two.bin", "proj/one.bin",
                             "proj/two.bin"})
    {
        const std::string expected = ReadTextFile(local.File(name));
        EXPECT_FALSE(expected.empty()) << name;
        EXPECT_TRUE(ReadTextFile(remote.File(name)) == expected) << name;
        EXPECT_FALSE(PathExists(client.File(name))) << name;
    }

    // Existing outputs may be overwritten (override is on in lumisk), and wrong
    // passwords stop the run at the first error when asked to.
    EXPECT_EQ(RunLumisk(With(sDescribe, {"--dataServer", server.Address()}), client.Path()).status, 0);
    WritePasswordFile(client.File("bad"), "reader", "nope");
    RunResult denied = RunLumisk(With(sDescribe, {"--dataServer", server.Address(), "--passwordFile", "bad",
                                                 "--output", "denied", "--exitOnErrorLogged"}),
                                 client.Path());
    EXPECT_EQ(denied.status, 42);
    EXPECT_FALSE(PathExists(remote.File("denied")));
    RunResult noServer = RunLumisk(With(sDescribe, {"--dataServer", "127.0.0.1:1", "--exitOnErrorLogged"}),
                                   client.Path());
    EXPECT_EQ(noServer.status, 42);
    EXPECT_NE((noServer.out + noServer.err).find("InitSocket: connect socket: Connection refused"), std::string::npos);
}
