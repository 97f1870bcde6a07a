// The client side of the data-server protocol against a server that sends arbitrary
// bytes. The first input byte picks what the client does; the rest is everything the
// server sends, whatever the client asks. A local listener stands in for the server:
// after each request it sends the next frame of the rest, as far as the frame's head
// tells its length; where the head makes no sense or asks for more than is left, it
// sends all that is left and ends its side.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
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

int sListen = -1;
int sPort = 0;

bool Listen()
{
    sListen = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address;
    std::memset(&address, 0, sizeof(address));
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    if (sListen < 0 || bind(sListen, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(sListen, 4) != 0 || getsockname(sListen, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        return false;
    sPort = ntohs(address.sin_port);
    return true;
}

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

// A connection of an earlier input that was never taken would be taken for this one's.
void DropWaitingConnections()
{
    pollfd waiting = {sListen, POLLIN, 0};
    while (poll(&waiting, 1, 0) > 0)
    {
        const int stale = FuzzSupport::AcceptOne(sListen);
        if (stale < 0)
            return;
        close(stale);
    }
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
    return Listen() ? 0 : 1;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1 || sListen < 0)
        return 0;
    DropWaitingConnections();
    std::unique_ptr<Channel> channel(new Channel("127.0.0.1", sPort));
    const int server = FuzzSupport::AcceptOne(sListen);
    if (server < 0)
        return 0;
    std::thread peer(Serve, server, data + 1, size - 1);
    if (channel->GetErrorCount() == 0)
        UseServerFile(*channel, data[0]);
    channel.reset();
    peer.join();
    close(server);
    return 0;
}
