// The client side of the data-server protocol against a server that sends arbitrary
// bytes. The first input byte picks what the client does; the rest is everything the
// server sends, whatever the client asks. A local listener stands in for the server:
// after each request it sends the next frame of the rest, as far as the frame's head
// tells its length; where the head makes no sense or asks for more than is left, it
// sends all that is left and ends its side.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include "FuzzIO.h"
#include "FuzzSupport.h"
#include "util/Channel.h"
#include "util/IOBufferChannel.h"

using Tavlin::Util::Channel;
using Tavlin::Util::IOBuffer;
using Tavlin::Util::IOBufferChannel;

namespace
{

// A listener of its own for each input, on a port the system chooses: no connection
// of an earlier input can be taken for this one's.
struct Listener
{
    Listener() : socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), port(0)
    {
        sockaddr_in address;
        std::memset(&address, 0, sizeof(address));
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof(address);
        if (socket >= 0 && bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
            listen(socket, 1) == 0 && getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) == 0)
            port = ntohs(address.sin_port);
    }
    ~Listener()
    {
        if (socket >= 0)
            close(socket);
    }
    int socket;
    int port;
};

// One request (its frame is the client's own, so well formed), then one answer.
void Serve(int socket, const uint8_t* data, size_t size)
{
    std::string request;
    size_t at = 0;
    while (at < size && FuzzSupport::ReceiveFrame(socket, request))
    {
        size_t piece = size - at;
        int declared = 0;
        const bool whole = piece >= static_cast<size_t>(Channel::sHeadSize) &&
                           Channel::ParseHead(reinterpret_cast<const char*>(data + at), declared) &&
                           declared >= Channel::sHeadSize && static_cast<size_t>(declared) <= piece;
        if (whole)
            piece = static_cast<size_t>(declared);
        if (!FuzzSupport::SendAll(socket, data + at, piece) || !whole)
            break;
        at += piece;
    }
    shutdown(socket, SHUT_WR);
    FuzzSupport::DrainUntilClosed(socket);
}

template <class T>
void ReadValue(IOBuffer& buffer)
{
    T value{};
    buffer.NativeTypeRead(&value);
}

void UseServerFile(Channel& channel, int mode)
{
    switch (mode % 5)
    {
    case 0:
    {
        // Bare requests and the text of their replies.
        for (int i = 0; i < 4; ++i)
            channel.ReplyText(channel.SendText("getreadablefile a.txt ."));
        break;
    }
    case 1:
    {
        // The whole file copied into memory.
        std::unique_ptr<IOBuffer> copy(Tavlin::Util::ReadIOBufferFromChannel(&channel, "a.txt", ""));
        if (copy)
        {
            char block[256];
            while (copy->Read(block, sizeof(block)) > 0)
            {
            }
        }
        break;
    }
    case 2:
    {
        // A server file read piece by piece.
        IOBufferChannel file("a.txt", true, &channel);
        char block[64];
        file.ReadLine();
        file.Gets(block, sizeof(block));
        ReadValue<int>(file);
        ReadValue<double>(file);
        ReadValue<unsigned long long>(file);
        file.Read(block, sizeof(block));
        file.SetPosition(1);
        file.ReadLine();
        break;
    }
    case 3:
    {
        // A server file written.
        IOBufferChannel file("b.txt", false, &channel);
        file.Puts("line");
        const char bytes[] = "0123456789";
        file.Write(bytes, sizeof(bytes));
        file.SetPosition(0);
        break;
    }
    default:
    {
        // A local buffer delivered to the server at its deletion.
        std::unique_ptr<IOBuffer> local(new IOBuffer(64));
        local->Puts("delivered at deletion");
        local->SetChannelDelivery(&channel, "c.txt", "");
        break;
    }
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::QuietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Listener listener;
    if (size < 1 || listener.port == 0)
        return 0;
    std::unique_ptr<Channel> channel(new Channel("127.0.0.1", listener.port));
    // Without a connection nothing waits to be taken.
    const int server = channel->GetErrorCount() == 0 ? FuzzSupport::AcceptOne(listener.socket) : -1;
    if (server < 0)
        return 0;
    std::thread peer(Serve, server, data + 1, size - 1);
    UseServerFile(*channel, data[0]);
    channel.reset();
    peer.join();
    close(server);
    return 0;
}
