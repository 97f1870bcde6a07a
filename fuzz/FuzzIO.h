// What the targets that go through files or sockets share: temporary files of the
// input bytes and whole sends and frames on a connected socket. The fuzzer's timer
// interrupts system calls now and then: those are repeated, as a lost connection or a
// cut frame would make the next input meet the rest of this one.
#ifndef LUMISK_FUZZ_FUZZIO_H
#define LUMISK_FUZZ_FUZZIO_H

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "util/Channel.h"

namespace FuzzSupport
{

// A file name of this process under /tmp, one per `what`.
inline std::string TempPath(const std::string& what)
{
    return "/tmp/lumisk-fuzz-" + std::to_string(getpid()) + "-" + what;
}

// False when the file could not be written whole.
inline bool WriteFile(const std::string& path, const uint8_t* data, size_t size)
{
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        return false;
    const bool whole = std::fwrite(data, 1, size, file) == size;
    return std::fclose(file) == 0 && whole;
}

inline bool SendAll(int socket, const void* data, size_t size)
{
    const char* bytes = static_cast<const char*>(data);
    size_t sent = 0;
    while (sent < size)
    {
        ssize_t n = send(socket, bytes + sent, size - sent, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        sent += static_cast<size_t>(n);
    }
    return true;
}

inline bool ReceiveAll(int socket, char* to, size_t count)
{
    size_t got = 0;
    while (got < count)
    {
        ssize_t n = recv(socket, to + got, count - got, 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        got += static_cast<size_t>(n);
    }
    return true;
}

// The body of the next frame; false when the connection ended or the head was bad.
inline bool ReceiveFrame(int socket, std::string& body)
{
    using Tavlin::Util::Channel;
    char head[Channel::sHeadSize];
    int total = 0;
    if (!ReceiveAll(socket, head, sizeof(head)) || !Channel::ParseHead(head, total) || total < Channel::sHeadSize)
        return false;
    body.resize(static_cast<size_t>(total - Channel::sHeadSize));
    return ReceiveAll(socket, &body[0], body.size());
}

// Reads and drops what comes until the peer closes.
inline void DrainUntilClosed(int socket)
{
    char drain[65536];
    for (;;)
    {
        ssize_t n = recv(socket, drain, sizeof(drain), 0);
        if (n == 0 || (n < 0 && errno != EINTR))
            return;
    }
}

// The next connection on a listening socket; -1 on an error other than an interrupt.
inline int AcceptOne(int listening)
{
    for (;;)
    {
        int socket = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket >= 0 || errno != EINTR)
            return socket;
    }
}

} // namespace FuzzSupport

#endif
