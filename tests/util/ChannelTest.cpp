// The data-server client against a lumisk-dataserver on the loopback interface:
// passwords, frames, the pool, IOBufferChannel, delivery at deletion and the server
// branches of FileSystem.
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "persistency/File.h"
#include "persistency/FileLocator.h"
#include "persistency/FileSystem.h"
#include "persistency/Locator.h"
#include "persistency/RepositoryInFileSystem.h"
#include "support/DataServerProcess.h"
#include "support/LogCapture.h"
#include "support/MemoryBuffer.h"
#include "support/TestSupport.h"
#include "util/Channel.h"
#include "util/ChannelAuthorization.h"
#include "util/ChannelPool.h"
#include "util/IOBufferChannel.h"
#include "util/IOBufferFile.h"

using namespace TestSupport;
using Tavlin::Util::Channel;
using Tavlin::Util::ChannelAuthorization;
using Tavlin::Util::ChannelPool;
using Tavlin::Util::IOBuffer;
using Tavlin::Util::IOBufferChannel;

namespace
{

std::string PatternBytes(size_t size, unsigned seed)
{
    std::string bytes(size, '\0');
    unsigned state = seed;
    for (size_t i = 0; i < size; ++i)
    {
        state = state * 1103515245u + 12345u;
        bytes[i] = static_cast<char>(state >> 24);
    }
    return bytes;
}

// A server over dir/root with the passwords "r1" and "w1" in dir/pw.
struct Site
{
    explicit Site(const std::vector<std::string>& extra = {})
    {
        mkdir(dir.File("root").c_str(), 0755);
        WritePasswordFile(passwords(), "r1", "w1");
        server.reset(new DataServerProcess(root(), passwords(), dir.File("server.log"), extra));
    }
    std::string root() const { return dir.File("root"); }
    std::string passwords() const { return dir.File("pw"); }
    std::string InRoot(const std::string& name) const { return root() + "/" + name; }

    TempDir dir;
    std::unique_ptr<DataServerProcess> server;
};

// Binds sock to a free loopback port and returns the port.
int BindLoopback(int sock)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    bind(sock, reinterpret_cast<sockaddr*>(&address), sizeof(address));
    getsockname(sock, reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin_port);
}

int ClosedPort()
{
    int sock = socket(AF_INET, SOCK_STREAM, 0);
    const int port = BindLoopback(sock);
    close(sock);
    return port;
}

} // namespace

TEST(ChannelAuthorization, ReadsTwoRolesAndRefusesEverythingElse)
{
    TempDir dir;
    LogCapture log("Tavlin.Util.ChannelAuthorization", log4cpp::Priority::ERROR);

    EXPECT_FALSE(ChannelAuthorization("").Valid());
    EXPECT_NE(log.Text().find("Need passwordfile"), std::string::npos);

    EXPECT_FALSE(ChannelAuthorization(dir.File("none")).Valid());
    EXPECT_NE(log.Text().find("Unable to open passwordfile " + dir.File("none")), std::string::npos);

    WriteTextFile(dir.File("three"), "read=a\nwrite=b\nread=c\n");
    EXPECT_FALSE(ChannelAuthorization(dir.File("three")).Valid());
    EXPECT_NE(log.Text().find("passwordfile should contain 2 lines"), std::string::npos);

    WriteTextFile(dir.File("prefix"), "read=a\nwrote=b\n");
    EXPECT_FALSE(ChannelAuthorization(dir.File("prefix")).Valid());
    EXPECT_NE(log.Text().find("wrong format password file"), std::string::npos);

    // Either order; comments and empty lines do not count; the rest of a line is the password.
    WriteTextFile(dir.File("good"), "# site\nwrite=w x=1\n\nread=\n");
    ChannelAuthorization good(dir.File("good"));
    EXPECT_TRUE(good.Valid());
    EXPECT_EQ(good.GetReadPassword(), "");
    EXPECT_EQ(good.GetWritePassword(), "w x=1");

    // A name that is not found as it stands is looked for below TAVLINROOT.
    setenv("TAVLINROOT", dir.Path().c_str(), 1);
    ChannelAuthorization below("good");
    unsetenv("TAVLINROOT");
    EXPECT_TRUE(below.Valid());
    EXPECT_EQ(below.GetWritePassword(), "w x=1");
}

TEST(Channel, FramesAndConnectionErrors)
{
    char head[Channel::sHeadSize];
    Channel::WriteHead(head, 10485780);
    EXPECT_STREQ(head, "CTR 10485780");
    int total = 0;
    EXPECT_TRUE(Channel::ParseHead(head, total));
    EXPECT_EQ(total, 10485780);
    std::memset(head, 'C', sizeof(head));
    EXPECT_FALSE(Channel::ParseHead(head, total));

    // Nobody listens: 101 attempts, then the error, counted.
    LogCapture log("Tavlin.Util.Channel", log4cpp::Priority::ERROR);
    Channel channel("127.0.0.1", ClosedPort());
    EXPECT_GE(channel.GetErrorCount(), 1);
    EXPECT_NE(log.Text().find("InitSocket: connect socket: Connection refused"), std::string::npos);

    // A listener takes the message before a callback, a callback before the log.
    static std::string sCalled;
    struct Listener : Channel::ErrorListener
    {
        std::string text;
        void ChannelError(const std::string& message) override { text = message; }
    } listener;
    channel.SetErrorCallback([](const std::string& message) { sCalled = message; });
    EXPECT_LT(channel.SendText("getreadablefile \"a\" \"\" 0"), 0);
    EXPECT_EQ(sCalled, "SendRequest: not connected");
    channel.SetErrorListener(&listener);
    sCalled.clear();
    int errors = channel.GetErrorCount();
    EXPECT_LT(channel.SendText("x"), 0);
    EXPECT_EQ(listener.text, "SendRequest: not connected");
    EXPECT_TRUE(sCalled.empty());
    EXPECT_EQ(channel.GetErrorCount(), errors + 1);

    LogCapture pool("Tavlin.Util.ChannelPool", log4cpp::Priority::ERROR);
    EXPECT_EQ(ChannelPool::Instance().Get("127.0.0.1:" + std::to_string(ClosedPort()), "pw"), nullptr);
    EXPECT_NE(pool.Text().find("Failed to open channel to 127.0.0.1:"), std::string::npos);
}

TEST(IOBufferChannel, ReadsAFileByteIdenticalAcrossSeveralBodies)
{
    Site site;
    ASSERT_NE(site.server->Port(), 0);
    // Larger than two message bodies, so that reads go in pieces.
    const std::string big = PatternBytes(25 * 1024 * 1024 + 7, 3);
    WriteTextFile(site.InRoot("big.bin"), big);
    WriteTextFile(site.InRoot("text.txt"), "12 -3 1.500000 \nline one\r\nline two\n");

    Channel* channel = ChannelPool::Instance().Get(site.server->Address(), site.passwords());
    ASSERT_NE(channel, nullptr);
    {
        IOBufferChannel buffer("big.bin", true, channel);
        ASSERT_TRUE(buffer.Valid());
        ASSERT_EQ(buffer.Size(), static_cast<int64_t>(big.size()));
        std::string read(big.size(), '\0');
        ASSERT_EQ(buffer.Read(&read[0], static_cast<int64_t>(read.size())), static_cast<int64_t>(big.size()));
        EXPECT_TRUE(read == big);
        EXPECT_EQ(buffer.GetPosition(), buffer.Size());

        // Seeks reach the server: the byte read is the one at the new position.
        EXPECT_EQ(buffer.Seek(12345678, 0), 0);
        char c = 0;
        EXPECT_EQ(buffer.Read(&c, 1), 1);
        EXPECT_EQ(c, big[12345678]);
        EXPECT_EQ(buffer.Seek(-2, 1), 0);
        EXPECT_EQ(buffer.Read(&c, 1), 1);
        EXPECT_EQ(c, big[12345677]);
        EXPECT_EQ(buffer.Seek(1, 2), -1);
    }
    {
        IOBufferChannel text("text.txt", true, channel);
        int i = 0, j = 0;
        double d = 0;
        text.NativeTypeRead(&i);
        text.NativeTypeRead(&j);
        text.NativeTypeRead(&d);
        EXPECT_EQ(i, 12);
        EXPECT_EQ(j, -3);
        EXPECT_EQ(d, 1.5);
        EXPECT_EQ(text.ReadLine(), "");
        EXPECT_EQ(text.ReadLine(), "line one");
        char out[32];
        EXPECT_EQ(text.Gets(out, sizeof(out)), 8);
        EXPECT_EQ(std::string(out, 8), "line two");
        EXPECT_EQ(text.Available(), 0);
    }
    LogCapture log("Tavlin.Util.IOBufferChannel", log4cpp::Priority::ERROR);
    IOBufferChannel missing("nosuch.bin", true, channel);
    EXPECT_FALSE(missing.Valid());
    EXPECT_NE(log.Text().find("Failed to open nosuch.bin"), std::string::npos);

    // The whole file copied into memory and into a local temporary file.
    std::unique_ptr<IOBuffer> copy(Tavlin::Util::ReadIOBufferFromChannel(channel, "big.bin", ""));
    ASSERT_NE(copy, nullptr);
    std::string copied(big.size(), '\0');
    copy->Read(&copied[0], static_cast<int64_t>(copied.size()));
    EXPECT_TRUE(copied == big);
    std::unique_ptr<IOBuffer> local(Tavlin::Util::ReadIOBufferFromChannel(channel, "text.txt", site.dir.File("t")));
    ASSERT_NE(local, nullptr);
    EXPECT_EQ(ReadTextFile(site.dir.File("t")), ReadTextFile(site.InRoot("text.txt")));
    EXPECT_EQ(Tavlin::Util::ReadIOBufferFromChannel(channel, "nosuch.bin", ""), nullptr);
}

TEST(FileSystemOnServer, ResolvesMakesDirectoriesAndDeliversBuffers)
{
    Site site;
    ASSERT_NE(site.server->Port(), 0);
    const std::string address = site.server->Address();
    ASSERT_NE(ChannelPool::Instance().Get(address, site.passwords()), nullptr);
    Tavlin::Persistency::FileSystem fs("", address);
    mkdir(site.InRoot("sub").c_str(), 0755);
    WriteTextFile(site.InRoot("sub/a.txt"), "abc");

    EXPECT_EQ(fs.GetFilePath("sub", "a.txt", false, false), "sub/a.txt");
    EXPECT_EQ(fs.GetFilePath("", "sub/none.txt", false, true), "");
    EXPECT_EQ(fs.GetFilePath("", "sub/new.txt", true, false), "sub/new.txt");
    // override is off here: an existing file may not be written unless silent.
    EXPECT_EQ(fs.GetFilePath("", "sub/a.txt", true, false), "");
    EXPECT_EQ(fs.GetFilePath("", "sub/a.txt", true, true), "sub/a.txt");
    EXPECT_EQ(fs.MakeDir("x/./y"), "x/y");
    EXPECT_TRUE(PathExists(site.InRoot("x/y")));

    // A memory buffer and a file buffer arrive when deleted; a last single byte does not.
    {
        // A memory buffer does not grow: what is beyond its capacity is dropped.
        std::unique_ptr<IOBuffer> small(fs.GetIOBuffer("x/cap.txt", false, false, "", 5, false));
        ASSERT_NE(small, nullptr);
        EXPECT_EQ(small->Write("abcdefg", 7), 5);
    }
    EXPECT_EQ(ReadTextFile(site.InRoot("x/cap.txt")), "abcde");
    {
        std::unique_ptr<IOBuffer> mem(fs.GetIOBuffer("x/mem.txt", false, false, "", 100, false));
        ASSERT_NE(mem, nullptr);
        mem->Puts("hello");
        mem->NativeTypeWrite(42);
    }
    EXPECT_EQ(ReadTextFile(site.InRoot("x/mem.txt")), "hello\n42 ");
    {
        std::unique_ptr<IOBuffer> one(fs.GetIOBuffer("x/one.txt", false, false, "", 10, false));
        EXPECT_EQ(one->Write("z", 1), 1);
    }
    EXPECT_TRUE(PathExists(site.InRoot("x/one.txt")));
    EXPECT_EQ(ReadTextFile(site.InRoot("x/one.txt")), "");

    const std::string tmp = site.dir.File("delivery.tmp");
    {
        std::unique_ptr<IOBuffer> file(fs.GetIOBuffer("x/file.txt", false, false, tmp, 0, false));
        ASSERT_NE(file, nullptr);
        file->Puts("through a file");
        EXPECT_TRUE(PathExists(tmp));
    }
    EXPECT_EQ(ReadTextFile(site.InRoot("x/file.txt")), "through a file\n");
    EXPECT_FALSE(PathExists(tmp));
    {
        std::unique_ptr<IOBuffer> file(fs.GetIOBuffer("x/file1.txt", false, false, tmp, 0, false));
        file->Write("q", 1);
    }
    EXPECT_EQ(ReadTextFile(site.InRoot("x/file1.txt")), "");

    // Buffers over the channel, through the repository with a locator naming the server.
    Tavlin::Persistency::FileLocator locator(Tavlin::Persistency::Locator("file:" + address, "direct"),
                                             "out/deep/r.txt");
    auto& repository = Tavlin::Persistency::RepositoryInFileSystem::GetInstance();
    Tavlin::Persistency::File written = repository.GetFile(locator, true, false);
    ASSERT_TRUE(written.Valid());
    {
        std::unique_ptr<IOBuffer> out(written.GetWriteBuffer());
        ASSERT_NE(out, nullptr);
        out->Puts("remote");
        out->NativeTypeWrite(1.5);
        out->Write("xy", 2);
    }
    EXPECT_EQ(ReadTextFile(site.InRoot("out/deep/r.txt")), "remote\n1.500000 xy");
    Tavlin::Persistency::FileLocator back(Tavlin::Persistency::Locator("file:" + address, "direct"),
                                          "out/deep/r.txt");
    std::unique_ptr<IOBuffer> in(repository.GetFile(back, false, false).GetReadBuffer());
    ASSERT_NE(in, nullptr);
    EXPECT_EQ(in->ReadLine(), "remote");
    // A read buffer through a temporary file.
    std::unique_ptr<IOBuffer> viaFile(fs.GetIOBuffer("out/deep/r.txt", true, false, "tmp", 0, false));
    ASSERT_NE(viaFile, nullptr);
    EXPECT_EQ(viaFile->ReadLine(), "remote");
}

TEST(ChannelPool, ReusesEvictsAndFollowsRedirects)
{
    Site site;
    ASSERT_NE(site.server->Port(), 0);
    ChannelPool& pool = ChannelPool::Instance();
    const int port = site.server->Port();
    {
        LogCapture log("Tavlin.Util.ChannelPool", log4cpp::Priority::DEBUG);
        Channel* first = pool.Get("127.0.0.1", port, "reuse", site.passwords(), true);
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(pool.Get("127.0.0.1", port, "reuse", site.passwords(), true), first);
        EXPECT_EQ(CountOf(log.Text(), "Get: trying new Channel"), 1);
        EXPECT_EQ(CountOf(log.Text(), "Get: Returning channel from pool: reuse"), 1);
        Channel* uncached = pool.Get("127.0.0.1", port, "reuse", site.passwords(), false);
        EXPECT_NE(uncached, first);
        delete uncached;
    }
    {
        // 101 distinct keys: the least recently used ("lru0") is evicted and closed.
        for (int i = 0; i <= ChannelPool::sMaxSize; ++i)
            ASSERT_NE(pool.Get("127.0.0.1", port, "lru" + std::to_string(i), site.passwords(), true), nullptr);
        LogCapture log("Tavlin.Util.ChannelPool", log4cpp::Priority::DEBUG);
        pool.Get("127.0.0.1", port, "lru100", site.passwords(), true);
        pool.Get("127.0.0.1", port, "lru2", site.passwords(), true);
        EXPECT_EQ(CountOf(log.Text(), "Get: trying new Channel"), 0);
        pool.Get("127.0.0.1", port, "lru0", site.passwords(), true);
        EXPECT_EQ(CountOf(log.Text(), "Get: trying new Channel"), 1);
        // The evicted channels' connections ("reuse" and "lru0", then "lru1") were closed.
        std::string serverLog;
        for (int wait = 0; wait < 100 && CountOf(serverLog, "closed by client") < 3; ++wait)
        {
            usleep(20000);
            serverLog = site.server->Log();
        }
        EXPECT_GE(CountOf(serverLog, "closed by client"), 3);
    }

    // Wrong passwords: refused.
    WritePasswordFile(site.dir.File("bad"), "nope", "w1");
    {
        LogCapture log("Tavlin.Util.ChannelPool", log4cpp::Priority::ERROR);
        EXPECT_EQ(pool.Get("127.0.0.1", port, "bad", site.dir.File("bad"), true), nullptr);
        EXPECT_NE(log.Text().find("Permission denied; closing channel"), std::string::npos);
        EXPECT_EQ(pool.Get("127.0.0.1", port, "nopw", "", true), nullptr);
        EXPECT_NE(log.Text().find("Cannot open Channel without valid authorization"), std::string::npos);
    }

    // A server that sends every client on: the target's channel, under both keys.
    TempDir other;
    DataServerProcess redirecting(other.Path(), site.passwords(), other.File("log"),
                                  {"--redirect", site.server->Address()});
    ASSERT_NE(redirecting.Port(), 0);
    Channel* redirected = pool.Get(redirecting.Address(), site.passwords());
    ASSERT_NE(redirected, nullptr);
    EXPECT_EQ(pool.Get(site.server->Address(), site.passwords()), redirected);
    EXPECT_EQ(pool.Get(redirecting.Address(), site.passwords()), redirected);
    WriteTextFile(site.InRoot("here.txt"), "served by the target");
    IOBufferChannel buffer("here.txt", true, redirected);
    EXPECT_TRUE(buffer.Valid());
    EXPECT_EQ(buffer.ReadLine(), "served by the target");
}

namespace
{

// A listener on a free loopback port that answers each request of one connection
// with the next of its replies, then closes.
class ScriptedPeer
{
public:
    // Each reply is a text sent with its zero, or with `framed` a whole frame as it stands.
    explicit ScriptedPeer(std::vector<std::string> replies, bool framed = false)
        : mListen(socket(AF_INET, SOCK_STREAM, 0))
    {
        mPort = BindLoopback(mListen);
        listen(mListen, 4);
        mThread = std::thread([this, replies, framed] {
            int peer = accept(mListen, nullptr, nullptr);
            timeval timeout = {5, 0};
            setsockopt(peer, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout));
            for (const std::string& reply : replies)
            {
                char head[Channel::sHeadSize];
                int total = 0;
                if (recv(peer, head, sizeof(head), MSG_WAITALL) != sizeof(head) || !Channel::ParseHead(head, total))
                    break;
                std::string body(static_cast<size_t>(total - Channel::sHeadSize), '\0');
                if (recv(peer, &body[0], body.size(), MSG_WAITALL) != static_cast<ssize_t>(body.size()))
                    break;
                Channel::WriteHead(head, Channel::sHeadSize + static_cast<int>(reply.size()) + 1);
                std::string frame = framed ? reply : std::string(head, sizeof(head)) + reply + std::string(1, '\0');
                send(peer, frame.data(), frame.size(), MSG_NOSIGNAL);
            }
            close(peer);
        });
    }
    ~ScriptedPeer()
    {
        // Unblocks an accept that never got its client.
        shutdown(mListen, SHUT_RDWR);
        mThread.join();
        close(mListen);
    }
    int Port() const { return mPort; }

private:
    int mListen;
    int mPort;
    std::thread mThread;
};

} // namespace

TEST(ChannelPool, DynamicModeMovesToTheAssignedPort)
{
    TempDir dir;
    WritePasswordFile(dir.File("pw"), "r1", "w1");
    ChannelPool& pool = ChannelPool::Instance();
    {
        ScriptedPeer assigned({"hello from the assigned port"});
        ScriptedPeer first({"Dynamic", "PortAssigned=" + std::to_string(assigned.Port())});
        Channel* channel = pool.Get("127.0.0.1", first.Port(), "dynamic", dir.File("pw"), true);
        ASSERT_NE(channel, nullptr);
        EXPECT_EQ(channel->GetServerInfo(), "127.0.0.1:" + std::to_string(assigned.Port()));
        int length = channel->SendText("getreadablefile \"a\" \"\" 0");
        EXPECT_EQ(channel->ReplyText(length), "hello from the assigned port");
        EXPECT_EQ(pool.Get("127.0.0.1", first.Port(), "dynamic", dir.File("pw"), true), channel);
    }
    {
        LogCapture log("Tavlin.Util.ChannelPool", log4cpp::Priority::ERROR);
        ScriptedPeer none({"Dynamic", "NoPortAvailable"});
        EXPECT_EQ(pool.Get("127.0.0.1", none.Port(), "none", dir.File("pw"), true), nullptr);
        EXPECT_NE(log.Text().find("No free port available; closing channel"), std::string::npos);
        ScriptedPeer odd({"Maybe"});
        EXPECT_EQ(pool.Get("127.0.0.1", odd.Port(), "odd", dir.File("pw"), true), nullptr);
        EXPECT_NE(log.Text().find("Unexpected response to port mode request:Maybe"), std::string::npos);
    }
}

namespace
{

// The frames of a server's byte stream, as their heads delimit them.
std::vector<std::string> Frames(const std::string& stream)
{
    std::vector<std::string> frames;
    size_t at = 0;
    int total = 0;
    while (stream.size() - at >= static_cast<size_t>(Channel::sHeadSize) && Channel::ParseHead(&stream[at], total) &&
           total >= Channel::sHeadSize && static_cast<size_t>(total) <= stream.size() - at)
    {
        frames.push_back(stream.substr(at, static_cast<size_t>(total)));
        at += static_cast<size_t>(total);
    }
    return frames;
}

} // namespace

TEST(IOBufferChannel, CopyTakesMemoryForWhatArrivesNotForTheAnnouncedSize)
{
    auto copy = [](const std::vector<std::string>& replies) {
        ScriptedPeer peer(replies);
        Channel channel("127.0.0.1", peer.Port());
        std::unique_ptr<IOBuffer> buffer(Tavlin::Util::ReadIOBufferFromChannel(&channel, "a.txt", ""));
        return buffer ? BufferBytes(*buffer, 0, buffer->Size()) + "|" + std::to_string(buffer->Size()) : "null";
    };
    // Whole, in two bodies; cut at the announced size; short of it.
    EXPECT_EQ(copy({"3 12", "hello", "world", "OK"}), std::string("hello\0world\0", 12) + "|12");
    EXPECT_EQ(copy({"3 4", "hello", "OK"}), "hell|4");
    EXPECT_EQ(copy({"3 40", "hello", "ERROR no more", "OK"}), std::string("hello") + '\0' + "|6");

    // Found by fuzzing: a server that announces 99999999999999 bytes and sends five made
    // the client ask for all that memory at once. The first byte chose the copy.
    const std::string found =
        FuzzFinding("Channel", "huge-announced-size");
    ASSERT_FALSE(found.empty());
    EXPECT_EQ(found[0], 1);
    const std::vector<std::string> frames = Frames(found.substr(1));
    ASSERT_EQ(frames.size(), 4u);
    ScriptedPeer peer(frames, true);
    Channel channel("127.0.0.1", peer.Port());
    std::unique_ptr<IOBuffer> buffer(Tavlin::Util::ReadIOBufferFromChannel(&channel, "a.txt", ""));
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->Size(), 5);
    EXPECT_EQ(BufferBytes(*buffer, 0, 5), "hello");
}
