// lumisk-dataserver against clients that speak the frame protocol by hand: passwords,
// names that leave the root, bad frames, clients that vanish, file ids that are not
// theirs. Each is answered with "ERROR" or a closed connection, nothing outside the
// root is read or written, and the next client is still served.
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <algorithm>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "support/DataServerProcess.h"
#include "support/TestSupport.h"

using namespace TestSupport;

namespace
{

const std::string sLogin = RequestText("PortMode read=\"rr\" write=\"ww\"");

int CountEntries(const std::string& path)
{
    int count = 0;
    DIR* d = opendir(path.c_str());
    while (d && readdir(d))
        ++count;
    if (d)
        closedir(d);
    return count;
}

// dir/root served, dir/outside beside it holding secret.txt.
struct Site
{
    Site()
    {
        mkdir(dir.File("root").c_str(), 0755);
        mkdir(dir.File("outside").c_str(), 0755);
        WriteTextFile(dir.File("outside/secret.txt"), "secret");
        WriteTextFile(dir.File("root/in.txt"), "inside");
        WritePasswordFile(dir.File("pw"), "rr", "ww");
        server.reset(new DataServerProcess(dir.File("root"), dir.File("pw"), dir.File("server.log")));
    }
    bool IsError(const std::string& reply) const { return reply.compare(0, 5, "ERROR") == 0; }
    int Port() const { return server->Port(); }
    // Files in the outside directory, which no request may add to.
    int OutsideEntries() const
    {
        return CountEntries(dir.File("outside")) + (PathExists(dir.File("escaped")) ? 1 : 0) +
               (PathExists(dir.File("made")) ? 1 : 0);
    }
    int ServerDescriptors() const { return CountEntries("/proc/" + std::to_string(server->Pid()) + "/fd"); }
    // A logged-in client reads in.txt: the server still serves.
    bool StillServes() const
    {
        RawClient client(Port());
        return client.Ask(sLogin) == RequestText("Static") &&
               !IsError(client.Ask(RequestText("openfilebuffer \"in.txt\" 1")));
    }

    TempDir dir;
    std::unique_ptr<DataServerProcess> server;
};

} // namespace

TEST(DataServer, ServesOnlyWithTheRightPasswords)
{
    Site site;
    ASSERT_NE(site.Port(), 0);
    RawClient client(site.Port());
    EXPECT_EQ(client.Ask(RequestText("openfilebuffer \"in.txt\" 1")), RequestText("ERROR Permission denied"));
    EXPECT_EQ(client.Ask(RequestText("PortMode read=\"rx\" write=\"ww\"")), RequestText("Permission denied"));
    EXPECT_TRUE(site.IsError(client.Ask(RequestText("getreadablefile \"in.txt\" \"\" 0"))));

    // Read password only: reading works, writing, directories and write opens do not.
    EXPECT_EQ(client.Ask(RequestText("PortMode read=\"rr\" write=\"\"")), RequestText("Static"));
    EXPECT_EQ(client.Ask(RequestText("getreadablefile \"in.txt\" \"\" 0")), RequestText("in.txt"));
    EXPECT_EQ(client.Ask(RequestText("getwritablefile \"w.txt\" \"\" 0 1")), RequestText("ERROR Permission denied"));
    EXPECT_EQ(client.Ask(RequestText("domkdirpath \"d\" \"\"")), RequestText("ERROR Permission denied"));
    EXPECT_EQ(client.Ask(RequestText("openfilebuffer \"w.txt\" 0")), RequestText("ERROR Permission denied"));
    EXPECT_EQ(client.Ask(RequestText("PortAssignment write=\"\"")), RequestText("NoPortAvailable"));
    EXPECT_FALSE(PathExists(site.dir.File("root/w.txt")));
    EXPECT_FALSE(PathExists(site.dir.File("root/d")));

    std::string reply = client.Ask(RequestText("openfilebuffer \"in.txt\" 1"));
    int id = 0;
    long long size = 0;
    ASSERT_EQ(std::sscanf(reply.c_str(), "%d %lld", &id, &size), 2);
    EXPECT_EQ(size, 6);
    EXPECT_EQ(client.Ask(RequestText("readfilebuffer " + std::to_string(id) + " 100")), "inside");
    EXPECT_TRUE(site.IsError(client.Ask(RequestText("writefilebuffer " + std::to_string(id)) + "data")));
    EXPECT_EQ(ReadTextFile(site.dir.File("root/in.txt")), "inside");

    // Three wrong passwords end the connection.
    RawClient guesser(site.Port());
    EXPECT_EQ(guesser.Ask(RequestText("PortMode read=\"a\" write=\"\"")), RequestText("Permission denied"));
    EXPECT_EQ(guesser.Ask(RequestText("PortMode read=\"b\" write=\"\"")), RequestText("Permission denied"));
    EXPECT_EQ(guesser.Ask(RequestText("PortMode read=\"c\" write=\"\"")), RequestText("Permission denied"));
    EXPECT_TRUE(guesser.ClosedByPeer());
    EXPECT_GE(CountOf(site.server->Log(), "wrong read password"), 4);
    EXPECT_TRUE(site.StillServes());
}

TEST(DataServer, RefusesEveryNameOutsideItsRoot)
{
    Site site;
    ASSERT_NE(site.Port(), 0);
    const std::string outside = site.dir.File("outside");
    ASSERT_EQ(symlink(outside.c_str(), site.dir.File("root/link").c_str()), 0);
    ASSERT_EQ(symlink((outside + "/secret.txt").c_str(), site.dir.File("root/secretlink").c_str()), 0);
    ASSERT_EQ(symlink(site.dir.File("escaped").c_str(), site.dir.File("root/dangling").c_str()), 0);
    mkdir(site.dir.File("root/sub").c_str(), 0755);
    ASSERT_EQ(symlink("../in.txt", site.dir.File("root/sub/inlink").c_str()), 0);
    const int before = site.OutsideEntries();

    RawClient client(site.Port());
    ASSERT_EQ(client.Ask(sLogin), RequestText("Static"));
    const char* const refused[] = {
        "openfilebuffer \"../outside/secret.txt\" 1",
        "openfilebuffer \"sub/../../outside/secret.txt\" 1",
        "openfilebuffer \"..\\\\outside\\\\secret.txt\" 1",
        "openfilebuffer \"/etc/passwd\" 1",
        "openfilebuffer \"link/secret.txt\" 1",
        "openfilebuffer \"secretlink\" 1",
        "openfilebuffer \"link/new.txt\" 0",
        "openfilebuffer \"dangling\" 0",
        "openfilebuffer \"../escaped\" 0",
        "getreadablefile \"secret.txt\" \"../outside\" 0",
        "getreadablefile \"secret.txt\" \"link\" 0",
        "getreadablefile \"x\" \"sub;/etc\" 0",
        "getwritablefile \"../escaped\" \"\" 0 1",
        "getwritablefile \"new.txt\" \"link\" 0 1",
        "domkdirpath \"../made\" \"\"",
        "domkdirpath \"made\" \"link\"",
        "domkdirpath \"x\" \"/tmp\"",
    };
    for (const char* request : refused)
    {
        std::string reply = client.Ask(RequestText(request));
        EXPECT_TRUE(site.IsError(reply)) << request << " gave " << reply;
    }
    EXPECT_EQ(site.OutsideEntries(), before);
    EXPECT_EQ(ReadTextFile(outside + "/secret.txt"), "secret");
    EXPECT_GE(CountOf(site.server->Log(), "refused"), static_cast<int>(sizeof(refused) / sizeof(refused[0])));

    // Links that stay inside, "." and empty pieces are fine.
    EXPECT_EQ(client.Ask(RequestText("getreadablefile \"inlink\" \"sub\" 0")), RequestText("sub/inlink"));
    EXPECT_EQ(client.Ask(RequestText("getreadablefile \"./sub//inlink\" \"\" 0")), RequestText("sub/inlink"));
    EXPECT_EQ(client.Ask(RequestText("domkdirpath \"a/b\" \"sub\"")), RequestText("sub/a/b"));
    EXPECT_TRUE(PathExists(site.dir.File("root/sub/a/b")));
    EXPECT_TRUE(site.StillServes());
}

TEST(DataServer, RefusesBadFramesAndSurvivesClientsThatVanish)
{
    Site site;
    ASSERT_NE(site.Port(), 0);
    // Before any client: the listening socket, the log and the standard streams.
    int descriptors = site.ServerDescriptors();
    for (int sample = 0; sample < 5; ++sample)
    {
        usleep(20000);
        descriptors = std::min(descriptors, site.ServerDescriptors());
    }
    {
        // Larger than a message block, smaller than its own head, without a head text.
        const char* const heads[] = {"CTR 10485781", "CTR 19", "CTR -5"};
        for (const char* head : heads)
        {
            RawClient client(site.Port());
            ASSERT_TRUE(client.SendBytes(std::string(head) + std::string(20 - std::strlen(head), '\0')));
            std::string reply;
            EXPECT_TRUE(client.ReceiveFrame(reply)) << head;
            EXPECT_EQ(reply.compare(0, 5, "ERROR"), 0) << head;
            EXPECT_TRUE(client.ClosedByPeer()) << head;
        }
        RawClient noZero(site.Port());
        ASSERT_TRUE(noZero.SendBytes(std::string(20, 'C')));
        std::string reply;
        EXPECT_TRUE(noZero.ReceiveFrame(reply));
        EXPECT_TRUE(noZero.ClosedByPeer());
    }
    {
        // A body without its terminating zero, an empty body, an unknown request: the
        // connection goes on.
        RawClient client(site.Port());
        ASSERT_EQ(client.Ask(sLogin), RequestText("Static"));
        EXPECT_TRUE(site.IsError(client.Ask("openfilebuffer \"in.txt\" 1")));
        EXPECT_TRUE(site.IsError(client.Ask("")));
        EXPECT_TRUE(site.IsError(client.Ask(RequestText("format c:"))));
        EXPECT_TRUE(site.IsError(client.Ask(RequestText("readfilebuffer 1 -4"))));
        EXPECT_FALSE(site.IsError(client.Ask(RequestText("openfilebuffer \"in.txt\" 1"))));
    }

    // A client that holds files and goes away inside a frame frees what it held.
    {
        RawClient client(site.Port());
        ASSERT_EQ(client.Ask(sLogin), RequestText("Static"));
        EXPECT_FALSE(site.IsError(client.Ask(RequestText("openfilebuffer \"held.txt\" 0"))));
        EXPECT_FALSE(site.IsError(client.Ask(RequestText("openfilebuffer \"in.txt\" 1"))));
        EXPECT_GE(site.ServerDescriptors(), descriptors + 3);
        char head[20] = {0};
        std::snprintf(head, sizeof(head), "CTR %d", 5000);
        ASSERT_TRUE(client.SendBytes(std::string(head, 20) + "writefilebuffer"));
    }
    // Meanwhile, and after, others are served; a client stalled inside its head holds
    // no one up either.
    RawClient stalled(site.Port());
    ASSERT_TRUE(stalled.SendBytes("CTR 1"));
    EXPECT_TRUE(site.StillServes());
    // Bounded, but generous: on a loaded machine the server's threads may run late.
    int now = site.ServerDescriptors();
    for (int wait = 0; wait < 1000 && (now > descriptors + 1 ||
                                       site.server->Log().find("frame cut off") == std::string::npos);
         ++wait)
    {
        usleep(20000);
        now = site.ServerDescriptors();
    }
    // The stalled client's socket is the one left.
    EXPECT_EQ(now, descriptors + 1);
    EXPECT_NE(site.server->Log().find("frame cut off"), std::string::npos);
    EXPECT_TRUE(site.server->Running());
}

TEST(DataServer, RefusesFileIdsItDidNotHandOut)
{
    Site site;
    ASSERT_NE(site.Port(), 0);
    RawClient owner(site.Port()), other(site.Port());
    ASSERT_EQ(owner.Ask(sLogin), RequestText("Static"));
    ASSERT_EQ(other.Ask(sLogin), RequestText("Static"));
    std::string reply = owner.Ask(RequestText("openfilebuffer \"out.txt\" 0"));
    int id = 0;
    long long size = -1;
    ASSERT_EQ(std::sscanf(reply.c_str(), "%d %lld", &id, &size), 2);
    EXPECT_EQ(size, 0);
    const std::string ids = std::to_string(id);
    EXPECT_TRUE(site.IsError(other.Ask(RequestText("writefilebuffer " + ids) + "stolen")));
    EXPECT_TRUE(site.IsError(other.Ask(RequestText("readfilebuffer " + ids + " 10"))));
    EXPECT_TRUE(site.IsError(other.Ask(RequestText("seekfilebuffer " + ids + " 0 0"))));
    EXPECT_TRUE(site.IsError(other.Ask(RequestText("closefilebuffer " + ids))));
    EXPECT_TRUE(site.IsError(other.Ask(RequestText("readfilebuffer 999999 10"))));
    EXPECT_TRUE(site.IsError(other.Ask(RequestText("closefilebuffer x"))));

    // The owner's file is untouched by all that and still its own.
    EXPECT_FALSE(site.IsError(owner.Ask(RequestText("writefilebuffer " + ids) + "mine")));
    EXPECT_EQ(owner.Ask(RequestText("seekfilebuffer " + ids + " 2 0")), RequestText("2"));
    EXPECT_TRUE(site.IsError(owner.Ask(RequestText("seekfilebuffer " + ids + " 5 0"))));
    EXPECT_EQ(owner.Ask(RequestText("readfilebuffer " + ids + " 10")), "ne");
    EXPECT_EQ(owner.Ask(RequestText("closefilebuffer " + ids)), RequestText("OK"));
    EXPECT_TRUE(site.IsError(owner.Ask(RequestText("readfilebuffer " + ids + " 10"))));
    EXPECT_EQ(ReadTextFile(site.dir.File("root/out.txt")), "mine");
}
