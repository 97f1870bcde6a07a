// An IOBuffer over a file kept on a data server: every read, write and seek is a
// request on a Channel, in pieces of at most one message body. The channel belongs to
// the ChannelPool or to the caller. Deleting the buffer closes the server file.
//
// Also here: the copy of a whole server file into a local buffer, and the delivery of
// a local buffer to a server file at its deletion (IOBuffer::WriteIOBufferToChannel).
#ifndef TAVLIN_UTIL_IOBUFFERCHANNEL_H
#define TAVLIN_UTIL_IOBUFFERCHANNEL_H

#include <string>

#include "util/IOBuffer.h"

namespace Tavlin
{
namespace Util
{

class Channel;

class IOBufferChannel : public IOBuffer
{
public:
    // Without a channel, the options dataServer and passwordFile name one from the pool.
    IOBufferChannel(const std::string& fileName, bool readOnly, Channel* channel);
    ~IOBufferChannel() override;

    bool Valid() override;

    int64_t Read(void* dst, int64_t count) override;
    std::string ReadLine() override;
    int64_t Gets(char* out, int64_t size) override;

    void NativeTypeRead(char* out) override;
    void NativeTypeRead(unsigned char* out) override;
    void NativeTypeRead(short* out) override;
    void NativeTypeRead(unsigned short* out) override;
    void NativeTypeRead(int* out) override;
    void NativeTypeRead(unsigned int* out) override;
    void NativeTypeRead(long long* out) override;
    void NativeTypeRead(unsigned long long* out) override;
    void NativeTypeRead(float* out) override;
    void NativeTypeRead(double* out) override;

    // Advances position and size by the full count, even when the server refused.
    int64_t Write(const void* src, int64_t count) override;
    bool Puts(const char* text) override;
    using IOBuffer::Puts;

    // Asks the server only when the position changes.
    bool SetPosition(int64_t position) override;

private:
    template <class T>
    void ChannelRead(T* out);
    // Sends the text as a request; false on a broken channel or an ERROR reply.
    bool Request(const std::string& text, int& length);

    bool mReadOnly;
    int mFileId;
    Channel* mChannel2;
};

// The server file copied into a new memory buffer, or into the local file tmpFileName
// reopened for reading when that is not empty. Null when the server refuses the file.
IOBuffer* ReadIOBufferFromChannel(Channel* channel, std::string fileName, std::string tmpFileName);

} // namespace Util
} // namespace Tavlin

#endif
