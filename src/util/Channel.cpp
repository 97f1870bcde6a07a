#include "util/Channel.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include "basis/Report.h"

namespace Tavlin
{
namespace Util
{

namespace
{

log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Util.Channel");

const int sConnectRetries = 100;
// A server that stops answering must not hold the client for ever.
const int sReceiveTimeoutSeconds = 120;

} // namespace

Channel::Channel(std::string host, int port)
    : mIsServer(false), mHost(host), mPort(port), mNrPorts(1), mBuffer(nullptr), mErrorCount(0),
      mErrorCallback(nullptr), mErrorListener(nullptr)
{
    InitSocket();
    mBuffer = new (std::nothrow) char[sBufferSize];
    if (!mBuffer)
        HandleError("buffer allocation failed", false);
}

Channel::~Channel()
{
    Close();
    delete[] mBuffer;
}

void Channel::InitSocket()
{
    // A broken connection then shows as a failed send instead of ending the process.
    signal(SIGPIPE, SIG_IGN);
    for (int index = 0; index < mNrPorts; ++index)
    {
        sockaddr_in address;
        std::memset(&address, 0, sizeof(address));
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(mPort + index));
        hostent* entry = gethostbyname(mHost.c_str());
        if (!entry || entry->h_addrtype != AF_INET)
        {
            HandleError("InitSocket: gethostbyname", true);
            return;
        }
        std::memcpy(&address.sin_addr, entry->h_addr_list[0], sizeof(address.sin_addr));

        int sock = -1;
        for (int attempt = 0; attempt <= sConnectRetries; ++attempt)
        {
            if (attempt > 0)
                TLOG_INFO(sLog, "Connect failed, re-trying " << sConnectRetries - attempt + 1);
            sock = socket(AF_INET, SOCK_STREAM, 0);
            if (sock < 0)
            {
                HandleError("InitSocket: open stream socket", true);
                return;
            }
            if (connect(sock, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0)
                break;
            int saved = errno;
            close(sock);
            sock = -1;
            errno = saved;
        }
        if (sock < 0)
        {
            HandleError("InitSocket: connect socket", true);
            return;
        }
        int one = 1;
        setsockopt(sock, IPPROTO_TCP, TCP_NODELAY, &one, sizeof(one));
        timeval timeout = {sReceiveTimeoutSeconds, 0};
        setsockopt(sock, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout));
        mSockets.push_back(sock);
        mConnected.push_back(false);
        mStatus.push_back("not connected");
    }
}

void Channel::WriteHead(char* head, int total)
{
    std::memset(head, 0, sHeadSize);
    std::snprintf(head, sHeadSize, "CTR %d", total);
}

bool Channel::ParseHead(const char* head, int& total)
{
    if (memchr(head, '\0', sHeadSize) == nullptr)
        return false;
    return std::sscanf(head, "CTR %d", &total) == 1;
}

int Channel::SendLarge(int socket, int dataLength)
{
    if (!mBuffer || dataLength < 0 || dataLength > sMaxBody)
    {
        HandleError("SendLarge: no buffer or bad length", false);
        return -1;
    }
    TLOG_DEBUG(sLog, "sending " << dataLength << " data bytes");
    const int total = dataLength + sHeadSize;
    WriteHead(mBuffer, total);
    TLOG_DEBUG(sLog, "send : CTR buf [" << mBuffer << "]");
    int sent = 0;
    while (sent < total)
    {
        ssize_t n = send(socket, mBuffer + sent, static_cast<size_t>(total - sent), 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
        {
            HandleError("SendLarge", true);
            return -1;
        }
        TLOG_DEBUG(sLog, "sent " << n << " bytes");
        sent += static_cast<int>(n);
    }
    if (sent != total)
    {
        HandleError("sent incorrect number of bytes!", true);
        return -1;
    }
    return sent;
}

int Channel::RecvLarge(int socket)
{
    if (!mBuffer)
    {
        HandleError("RecvLarge: no buffer", false);
        return -1;
    }
    TLOG_DEBUG(sLog, "receiving...");
    int received = 0;
    int expected = -1;
    while (expected < 0 || received < expected)
    {
        ssize_t n = recv(socket, mBuffer + received, static_cast<size_t>(sBufferSize - received), 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
        {
            HandleError("RecvLarge", true);
            return -1;
        }
        if (n == 0)
        {
            TLOG_DEBUG(sLog, "recv got a 0 bytes message");
            return 0;
        }
        TLOG_DEBUG(sLog, "    recv " << n << " bytes");
        received += static_cast<int>(n);
        if (expected < 0 && received >= sHeadSize)
        {
            if (!ParseHead(mBuffer, expected) || expected < sHeadSize || expected > sBufferSize)
            {
                HandleError("RecvLarge: bad frame head", false);
                return -1;
            }
            TLOG_DEBUG(sLog, "recv expects " << expected << " bytes");
        }
    }
    TLOG_DEBUG(sLog, "received " << received << " bytes");
    if (received > expected)
    {
        HandleError("received MORE bytes than expected!", true);
        return -1;
    }
    return received;
}

int Channel::SendRequest(int dataLength)
{
    if (mSockets.empty())
    {
        HandleError("SendRequest: not connected", false);
        return -1 - sHeadSize;
    }
    if (SendLarge(mSockets[0], dataLength) < 0)
        return -1 - sHeadSize;
    int received = RecvLarge(mSockets[0]);
    if (received < 0)
        return -1 - sHeadSize;
    int length = received - sHeadSize;
    if (length >= 6 && IsError(GetBody(), length))
    {
        HandleError("SendRequest to " + mHost + " got " + ReplyText(length), false);
        // An ERROR reply is an answer, not a broken channel.
        --mErrorCount;
    }
    return length;
}

int Channel::SendText(const std::string& text)
{
    if (!mBuffer || static_cast<int64_t>(text.size()) >= sMaxBody)
    {
        HandleError("SendText: request does not fit", false);
        return -1 - sHeadSize;
    }
    std::memcpy(GetBody(), text.c_str(), text.size() + 1);
    return SendRequest(static_cast<int>(text.size()) + 1);
}

std::string Channel::ReplyText(int length) const
{
    if (!mBuffer || length <= 0)
        return std::string();
    const char* body = mBuffer + sHeadSize;
    const void* zero = memchr(body, '\0', static_cast<size_t>(length));
    size_t size = zero ? static_cast<const char*>(zero) - body : static_cast<size_t>(length);
    return std::string(body, size);
}

bool Channel::IsError(const char* body, int length)
{
    return length >= 5 && std::memcmp(body, "ERROR", 5) == 0;
}

void Channel::HandleError(const std::string& message, bool addSystemError)
{
    ++mErrorCount;
    std::string text = message;
    if (addSystemError)
        text += std::string(": ") + std::strerror(errno);
    if (mErrorListener)
    {
        mErrorListener->ChannelError(text);
        return;
    }
    if (mErrorCallback)
    {
        mErrorCallback(text);
        return;
    }
    TLOG_ERROR(sLog, text);
}

void Channel::Close()
{
    for (size_t index = 0; index < mSockets.size(); ++index)
    {
        TLOG_DEBUG(sLog, "Closing connection to " << mHost << ":" << mPort + static_cast<int>(index));
        close(mSockets[index]);
    }
    mSockets.clear();
    mConnected.clear();
    mStatus.clear();
}

std::string Channel::GetServerInfo() const
{
    return mHost + ":" + std::to_string(mPort);
}

} // namespace Util
} // namespace Tavlin
