// The data server's request handling on arbitrary client input. The server runs in
// this process on a fresh root of a few files (a directory, a link out of the root and
// one inside it); each input goes on a new connection. An even first byte sends the
// rest as it stands, frames and all, and reads the replies until the server closes. An
// odd one sends each line of the rest as the body of a well-formed frame and waits for
// its reply; "@" in a line stands for the id of the file opened last, which the server
// numbers on from connection to connection.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "FuzzIO.h"
#include "FuzzSupport.h"
#include "util/Channel.h"
#include "util/DataServer.h"

namespace
{

const char* const sReadPassword = "fuzzread";
const char* const sWritePassword = "fuzzwrite";

std::string sRoot;
Tavlin::Util::DataServer* sServer = nullptr;

// The same few files before every input, whatever the one before made of them.
void MakeRoot()
{
    std::error_code ignored;
    std::filesystem::remove_all(sRoot, ignored);
    std::filesystem::create_directories(sRoot + "/dir", ignored);
    std::ofstream(sRoot + "/a.txt") << "first line\nsecond line\n12 3.5 -7\n";
    std::ofstream(sRoot + "/dir/b.raw") << std::string(300, 'b');
    std::filesystem::create_symlink("/tmp", sRoot + "/out", ignored);
    std::filesystem::create_symlink("dir/b.raw", sRoot + "/in", ignored);
}

bool StartServer()
{
    sRoot = FuzzSupport::TempPath("server-root");
    MakeRoot();
    Tavlin::Util::DataServerConfig config;
    config.mRoot = sRoot;
    config.mReadPassword = sReadPassword;
    config.mWritePassword = sWritePassword;
    config.mMaxFilesPerConnection = 8;
    // A cut frame waits for its rest: never long here, the client ends its side.
    config.mFrameTimeout = 5;
    sServer = new Tavlin::Util::DataServer(config);
    if (!sServer->Start())
        return false;
    std::thread([] { sServer->Run(0); }).detach();
    return true;
}

int Connect()
{
    int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address;
    std::memset(&address, 0, sizeof(address));
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(sServer->GetPort()));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (socket >= 0 && connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0)
    {
        close(socket);
        return -1;
    }
    return socket;
}

// One frame per line, each answered before the next; stops when the server ends.
void Converse(int socket, const std::string& lines)
{
    using Tavlin::Util::Channel;
    std::string fileId = "0";
    std::string reply;
    size_t start = 0;
    while (start < lines.size())
    {
        size_t end = lines.find('\n', start);
        std::string body = lines.substr(start, end == std::string::npos ? std::string::npos : end - start);
        start = end == std::string::npos ? lines.size() : end + 1;
        for (size_t at = body.find('@'); at != std::string::npos; at = body.find('@', at + fileId.size()))
            body.replace(at, 1, fileId);
        std::string frame(Channel::sHeadSize, '\0');
        Channel::WriteHead(&frame[0], Channel::sHeadSize + static_cast<int>(body.size()));
        frame += body;
        if (!FuzzSupport::SendAll(socket, frame.data(), frame.size()) || !FuzzSupport::ReceiveFrame(socket, reply))
            return;
        int id = 0;
        long long size = 0;
        if (std::sscanf(reply.c_str(), "%d %lld", &id, &size) == 2)
            fileId = std::to_string(id);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::QuietLogging();
    return StartServer() ? 0 : 1;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (!sServer)
        return 0;
    MakeRoot();
    const int socket = Connect();
    if (socket < 0)
        return 0;
    const char* rest = reinterpret_cast<const char*>(data) + 1;
    if (size > 0 && data[0] % 2 == 1)
    {
        Converse(socket, std::string(rest, size - 1));
        shutdown(socket, SHUT_WR);
    }
    else
    {
        // Sent on a thread while this one reads the replies, so that neither side's
        // full buffer can stop the other.
        std::thread sender([&] {
            FuzzSupport::SendAll(socket, rest, size > 0 ? size - 1 : 0);
            shutdown(socket, SHUT_WR);
        });
        FuzzSupport::DrainUntilClosed(socket);
        sender.join();
    }
    FuzzSupport::DrainUntilClosed(socket);
    close(socket);
    // The connection's thread may still be closing its files.
    while (sServer->GetActive() > 0)
        std::this_thread::yield();
    return 0;
}
