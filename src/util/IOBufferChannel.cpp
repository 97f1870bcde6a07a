#include "util/IOBufferChannel.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "basis/CmdOptions.h"
#include "basis/Report.h"
#include "util/Channel.h"
#include "util/ChannelPool.h"
#include "util/IOBufferFile.h"

namespace Tavlin
{
namespace Util
{

namespace
{

log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Util.IOBufferChannel");
log4cpp::Category& sLogBuffer = log4cpp::Category::getInstance("Tavlin.Util.IOBuffer");
log4cpp::Category& sLogRead = log4cpp::Category::getInstance("Tavlin.Util.ReadIOBufferFromChannel");

const int sTextBufferSize = 1024;
// Shared by all channel buffers of one thread.
const int sLineBufferSize = 16384;
thread_local char sLineBuffer[sLineBufferSize];

bool Failed(Channel* channel, int length)
{
    return length < 0 || Channel::IsError(channel->GetBody(), length);
}

// "writefilebuffer <id>", its zero and as much of data as fits behind it; the number
// of data bytes placed.
int BuildWriteRequest(Channel* channel, int fileId, const unsigned char* data, int64_t count, int& bodyLength)
{
    char* body = channel->GetBody();
    int textLength = std::snprintf(body, 64, "writefilebuffer %d", fileId) + 1;
    int64_t room = Channel::sMaxBody - textLength;
    int n = static_cast<int>(std::min(room, count));
    std::memcpy(body + textLength, data, static_cast<size_t>(n));
    bodyLength = textLength + n;
    return n;
}

bool OpenOnServer(Channel* channel, const std::string& name, bool readOnly, int& id, long long& size)
{
    int length = channel->SendText("openfilebuffer \"" + name + "\" " + (readOnly ? "1" : "0"));
    if (Failed(channel, length))
        return false;
    return std::sscanf(channel->ReplyText(length).c_str(), "%d %lld", &id, &size) == 2;
}

void CloseOnServer(Channel* channel, int id)
{
    channel->SendText("closefilebuffer " + std::to_string(id));
}

} // namespace

IOBufferChannel::IOBufferChannel(const std::string& fileName, bool readOnly, Channel* channel)
    : IOBuffer(), mReadOnly(readOnly), mFileId(-1), mChannel2(channel)
{
    if (!mChannel2)
    {
        CmdOptions& options = CmdOptions::GetInstance();
        mChannel2 = ChannelPool::Instance().Get(options.GetString("dataServer", ""),
                                                options.GetString("passwordFile", ""));
    }
    int id = -1;
    long long size = 0;
    if (!mChannel2 || !OpenOnServer(mChannel2, fileName, readOnly, id, size) || id == -1)
    {
        TLOG_ERROR(sLog, "Failed to open " << fileName);
        return;
    }
    mFileId = id;
    mSize = mReadOnly ? size : 0;
}

IOBufferChannel::~IOBufferChannel()
{
    if (mFileId != -1)
        CloseOnServer(mChannel2, mFileId);
}

bool IOBufferChannel::Valid()
{
    return mFileId != -1;
}

bool IOBufferChannel::Request(const std::string& text, int& length)
{
    if (mFileId == -1)
        return false;
    length = mChannel2->SendText(text);
    return !Failed(mChannel2, length);
}

int64_t IOBufferChannel::Read(void* dst, int64_t count)
{
    unsigned char* out = static_cast<unsigned char*>(dst);
    int64_t total = 0;
    while (total < count)
    {
        int64_t piece = std::min<int64_t>(count - total, Channel::sMaxBody);
        int length = 0;
        if (!Request("readfilebuffer " + std::to_string(mFileId) + " " + std::to_string(piece), length))
            return 0;
        if (length <= 0)
            break;
        int64_t n = std::min<int64_t>(length, piece);
        std::memcpy(out + total, mChannel2->GetBody(), static_cast<size_t>(n));
        total += n;
    }
    // The server has moved already; only the local position follows.
    IOBuffer::SetPosition(std::min(GetPosition() + total, Size()));
    return total;
}

std::string IOBufferChannel::ReadLine()
{
    int64_t start = GetPosition();
    int64_t available = Available();
    int64_t want = available < sLineBufferSize ? available + 1 : sLineBufferSize;
    int64_t got = Read(sLineBuffer, want);
    int64_t length = 0;
    while (length < got && sLineBuffer[length] != '\n')
        ++length;
    if (length == sLineBufferSize)
        TLOG_ERROR(sLog, "[ReadLine]: line larger than buffer");
    bool lineFeed = length < got;
    SetPosition(std::min(start + length + (lineFeed ? 1 : 0), Size()));
    if (lineFeed && length > 0 && sLineBuffer[length - 1] == '\r')
        --length;
    return std::string(sLineBuffer, static_cast<size_t>(length));
}

int64_t IOBufferChannel::Gets(char* out, int64_t size)
{
    int64_t n = std::min(Available(), size);
    int64_t start = GetPosition();
    int64_t got = n > 0 ? Read(out, n) : 0;
    const void* lineFeed = got > 0 ? memchr(out, '\n', static_cast<size_t>(got)) : nullptr;
    if (lineFeed)
    {
        int64_t index = static_cast<const char*>(lineFeed) - out;
        SetPosition(start + index + 1);
        return index;
    }
    SetPosition(start + got);
    return got;
}

template <class T>
void IOBufferChannel::ChannelRead(T* out)
{
    char text[sTextBufferSize];
    int64_t start = GetPosition();
    int64_t got = Read(text, sTextBufferSize - 1);
    if (got <= 0)
    {
        TLOG_ERROR(sLog, "DoNativeTypeRead read 0 bytes");
        got = 0;
    }
    text[got] = '\0';
    char* blank = std::strchr(text, ' ');
    int64_t length = blank ? blank - text : got;
    if (blank)
        *blank = '\0';
    typename NativeTextForm<T>::Parse value;
    if (std::sscanf(text, NativeTextForm<T>::Format(), &value) == 1)
        *out = static_cast<T>(value);
    SetPosition(std::min(start + length + 1, Size()));
}

void IOBufferChannel::NativeTypeRead(char* out) { ChannelRead(out); }
void IOBufferChannel::NativeTypeRead(unsigned char* out) { ChannelRead(out); }
void IOBufferChannel::NativeTypeRead(short* out) { ChannelRead(out); }
void IOBufferChannel::NativeTypeRead(unsigned short* out) { ChannelRead(out); }
void IOBufferChannel::NativeTypeRead(int* out) { ChannelRead(out); }
void IOBufferChannel::NativeTypeRead(unsigned int* out) { ChannelRead(out); }
void IOBufferChannel::NativeTypeRead(long long* out) { ChannelRead(out); }
void IOBufferChannel::NativeTypeRead(unsigned long long* out) { ChannelRead(out); }
void IOBufferChannel::NativeTypeRead(float* out) { ChannelRead(out); }
void IOBufferChannel::NativeTypeRead(double* out) { ChannelRead(out); }

int64_t IOBufferChannel::Write(const void* src, int64_t count)
{
    const unsigned char* data = static_cast<const unsigned char*>(src);
    int64_t sent = 0;
    while (mFileId != -1 && sent < count)
    {
        int bodyLength = 0;
        int n = BuildWriteRequest(mChannel2, mFileId, data + sent, count - sent, bodyLength);
        if (Failed(mChannel2, mChannel2->SendRequest(bodyLength)))
            break;
        sent += n;
    }
    SetPositionAndSize(GetPosition() + count);
    return sent;
}

bool IOBufferChannel::Puts(const char* text)
{
    size_t length = std::strlen(text);
    std::unique_ptr<char[]> line(new char[length + 1]);
    std::memcpy(line.get(), text, length);
    line[length] = '\n';
    Write(line.get(), static_cast<int64_t>(length + 1));
    return true;
}

bool IOBufferChannel::SetPosition(int64_t position)
{
    if (position == GetPosition())
        return true;
    int length = 0;
    if (!Request("seekfilebuffer " + std::to_string(mFileId) + " " + std::to_string(position) + " 0", length))
    {
        TLOG_ERROR(sLog, "Failed to seek");
        return false;
    }
    long long reached = 0;
    std::sscanf(mChannel2->ReplyText(length).c_str(), "%lld", &reached);
    return IOBuffer::SetPosition(reached);
}

bool IOBuffer::WriteIOBufferToChannel()
{
    Channel* channel = mChannel;
    mChannel = nullptr;
    if (!channel)
        return false;
    SetSize(GetPosition());
    int id = -1;
    long long size = 0;
    if (!OpenOnServer(channel, mChannelFileName, false, id, size))
    {
        TLOG_ERROR(sLogBuffer, "WriteIOBufferToChannel: open failed for [" << mChannelFileName << "]");
        return false;
    }
    SetPosition(0);
    int64_t total = 0;
    // Available is 0 with one byte left: a last single byte is not sent.
    while (Available() >= 1)
    {
        char* body = channel->GetBody();
        int textLength = std::snprintf(body, 64, "writefilebuffer %d", id) + 1;
        int64_t n = Read(body + textLength, std::min<int64_t>(Channel::sMaxBody - textLength, Available()));
        if (n < 1)
            break;
        if (Failed(channel, channel->SendRequest(textLength + static_cast<int>(n))))
        {
            TLOG_ERROR(sLogBuffer, "WriteIOBufferToChannel: write failed for [" << mChannelFileName << "]");
            CloseOnServer(channel, id);
            return true;
        }
        total += n;
        TLOG_DEBUG(sLogBuffer, "  wrote " << n << " bytes, total = " << total);
    }
    CloseOnServer(channel, id);
    return true;
}

IOBuffer* ReadIOBufferFromChannel(Channel* channel, std::string fileName, std::string tmpFileName)
{
    int id = -1;
    long long size = 0;
    if (!channel || !OpenOnServer(channel, fileName, true, id, size) || size < 0)
        return nullptr;
    TLOG_DEBUG(sLogRead, fileName << ", id=" << id << ", size=" << size << " from " << channel->GetServerInfo());
    // A memory copy holds what arrived, never more than the size: the size is only the
    // server's word, and memory for it is taken once the bytes are here.
    std::string arrived;
    std::unique_ptr<IOBuffer> target(tmpFileName.empty() ? nullptr
                                                         : new IOBufferFile(tmpFileName, false, false, false));
    int64_t total = 0;
    while (total < size)
    {
        int length = channel->SendText("readfilebuffer " + std::to_string(id) + " " +
                                       std::to_string(Channel::sMaxBody));
        if (Failed(channel, length) || length == 0)
            break;
        if (target)
            target->Write(channel->GetBody(), length);
        else
            arrived.append(channel->GetBody(), static_cast<size_t>(std::min<int64_t>(length, size - total)));
        total += length;
    }
    CloseOnServer(channel, id);
    if (!target)
    {
        // One byte more than the content: the availability rule would otherwise drop
        // its last byte.
        std::unique_ptr<IOBuffer> copy(new IOBuffer(static_cast<int64_t>(arrived.size()) + 1));
        copy->Write(arrived.data(), static_cast<int64_t>(arrived.size()));
        copy->SetSize(static_cast<int64_t>(arrived.size()));
        copy->SetPosition(0);
        return copy.release();
    }
    target.reset();
    return new IOBufferFile(tmpFileName, true, false, false);
}

} // namespace Util
} // namespace Tavlin
