#include "util/IOBuffer.h"

#include <zlib.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>

#include "basis/Report.h"

namespace Tavlin
{
namespace Util
{

namespace
{

log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Util.IOBuffer");

// Room for any value in the text form, "%f" of the largest double included.
const int sTextBufferSize = 1024;

} // namespace

IOBuffer::IOBuffer(int64_t size)
    : mBuffer(new unsigned char[size > 0 ? size : 0]), mSize(size > 0 ? size : 0), mPosition(0), mChannel(nullptr)
{
}

IOBuffer::IOBuffer() : mBuffer(nullptr), mSize(0), mPosition(0), mChannel(nullptr)
{
}

IOBuffer::~IOBuffer()
{
    if (mChannel)
        WriteIOBufferToChannel();
    delete[] mBuffer;
    if (!mTmpFileName.empty())
        std::remove(mTmpFileName.c_str());
}

void IOBuffer::SetChannelDelivery(Channel* channel, const std::string& fileName, const std::string& tmpFileName)
{
    mChannel = channel;
    mChannelFileName = fileName;
    mTmpFileName = tmpFileName;
}

bool IOBuffer::Valid()
{
    return true;
}

int64_t IOBuffer::Available()
{
    int64_t left = Size() - GetPosition();
    if (left < 0)
    {
        TLOG_ERROR(sLog, "Available: position beyond size");
        return 0;
    }
    if (left == 1)
        return 0;
    return left;
}

int IOBuffer::AvailableInt32()
{
    int64_t available = Available();
    return available > INT_MAX ? INT_MAX : static_cast<int>(available);
}

int64_t IOBuffer::Size()
{
    return mSize;
}

void IOBuffer::SetSize(int64_t size)
{
    mSize = size;
}

int64_t IOBuffer::Read(void* dst, int64_t count)
{
    int64_t n = std::min(Available(), count);
    if (n < 1)
        return 0;
    std::memcpy(dst, mBuffer + mPosition, static_cast<size_t>(n));
    mPosition += n;
    return n;
}

std::string IOBuffer::ReadLine()
{
    int64_t start = GetPosition();
    int64_t limit = Available();
    const unsigned char* begin = mBuffer + start;
    int64_t length = 0;
    while (length < limit && begin[length] != '\n')
        ++length;
    // The byte at the scan end is looked at even when the limit stopped the scan, so
    // that a line feed there is consumed; never past the size though.
    int64_t end = start + length;
    bool lineFeed = end < Size() && mBuffer[end] == '\n';
    SetPosition(end + (lineFeed ? 1 : 0));
    if (length > 0 && begin[length - 1] == '\r')
        --length;
    if (length < 1)
        return std::string();
    return std::string(reinterpret_cast<const char*>(begin), static_cast<size_t>(length));
}

int64_t IOBuffer::Gets(char* out, int64_t size)
{
    int64_t limit = std::min(Available(), size);
    int64_t start = GetPosition();
    const unsigned char* src = mBuffer + start;
    int64_t count = 0;
    while (count < limit && src[count] != '\n')
    {
        out[count] = static_cast<char>(src[count]);
        ++count;
    }
    int64_t end = start + count;
    bool lineFeed = end < Size() && mBuffer[end] == '\n';
    SetPosition(end + (lineFeed ? 1 : 0));
    return count;
}

template <class T>
void IOBuffer::TextRead(T* out)
{
    char text[sTextBufferSize];
    int64_t start = GetPosition();
    // Bounded by the local buffer and by the data, unlike a bare copy to the blank.
    int64_t limit = std::min<int64_t>(Size() - start, sTextBufferSize - 1);
    int64_t length = 0;
    while (length < limit && mBuffer[start + length] != ' ')
    {
        text[length] = static_cast<char>(mBuffer[start + length]);
        ++length;
    }
    text[length] = '\0';
    typename NativeTextForm<T>::Parse value;
    if (std::sscanf(text, NativeTextForm<T>::Format(), &value) == 1)
        *out = static_cast<T>(value);
    int64_t next = start + length + 1;
    SetPosition(next <= Size() ? next : Size());
}

template <class T>
void IOBuffer::TextWrite(T value)
{
    char text[sTextBufferSize];
    int printed = std::snprintf(text, sizeof(text), NativeTextForm<T>::FormatBlank(),
                                static_cast<typename NativeTextForm<T>::Parse>(value));
    if (printed < 1)
        return;
    const char* blank = std::strchr(text, ' ');
    int64_t length = blank ? blank - text + 1 : std::min<int64_t>(printed, sTextBufferSize - 1);
    Write(text, length);
}

void IOBuffer::NativeTypeRead(char* out) { TextRead(out); }
void IOBuffer::NativeTypeRead(unsigned char* out) { TextRead(out); }
void IOBuffer::NativeTypeRead(short* out) { TextRead(out); }
void IOBuffer::NativeTypeRead(unsigned short* out) { TextRead(out); }
void IOBuffer::NativeTypeRead(int* out) { TextRead(out); }
void IOBuffer::NativeTypeRead(unsigned int* out) { TextRead(out); }
void IOBuffer::NativeTypeRead(long long* out) { TextRead(out); }
void IOBuffer::NativeTypeRead(unsigned long long* out) { TextRead(out); }
void IOBuffer::NativeTypeRead(float* out) { TextRead(out); }
void IOBuffer::NativeTypeRead(double* out) { TextRead(out); }

int64_t IOBuffer::Write(const void* src, int64_t count)
{
    int64_t n = std::min(Available(), count);
    if (n < 1)
        return 0;
    int64_t position = GetPosition();
    std::memcpy(mBuffer + position, src, static_cast<size_t>(n));
    SetPosition(position + n);
    return n;
}

bool IOBuffer::Puts(const char* text)
{
    int64_t length = static_cast<int64_t>(std::strlen(text));
    int64_t available = Available();
    // The line feed needs a byte of its own.
    if (available < 1)
        return false;
    bool fits = length < available;
    int64_t copied = fits ? length : available - 1;
    int64_t position = GetPosition();
    std::memcpy(mBuffer + position, text, static_cast<size_t>(copied));
    mBuffer[position + copied] = '\n';
    SetPosition(position + copied + 1);
    return fits;
}

bool IOBuffer::Puts(const std::string& text)
{
    return Puts(text.c_str());
}

void IOBuffer::NativeTypeWrite(char value) { TextWrite(value); }
void IOBuffer::NativeTypeWrite(unsigned char value) { TextWrite(value); }
void IOBuffer::NativeTypeWrite(short value) { TextWrite(value); }
void IOBuffer::NativeTypeWrite(unsigned short value) { TextWrite(value); }
void IOBuffer::NativeTypeWrite(int value) { TextWrite(value); }
void IOBuffer::NativeTypeWrite(unsigned int value) { TextWrite(value); }
void IOBuffer::NativeTypeWrite(long long value) { TextWrite(value); }
void IOBuffer::NativeTypeWrite(unsigned long long value) { TextWrite(value); }
void IOBuffer::NativeTypeWrite(float value) { TextWrite(value); }
void IOBuffer::NativeTypeWrite(double value) { TextWrite(value); }

bool IOBuffer::SetPosition(int64_t position)
{
    if (position < 0 || position > Size())
    {
        TLOG_ERROR(sLog, "[SetPosition] Invalid position value: " << position);
        return false;
    }
    mPosition = position;
    return true;
}

void IOBuffer::SetPositionAndSize(int64_t position)
{
    mPosition = position;
    if (position > Size())
        SetSize(position);
}

int64_t IOBuffer::GetPosition()
{
    return mPosition;
}

void IOBuffer::Rewind()
{
    SetPosition(0);
}

void IOBuffer::FastForward()
{
    SetPosition(Size());
}

int IOBuffer::Seek(int64_t offset, int whence)
{
    int64_t target;
    switch (whence)
    {
    case 0:
        target = offset;
        break;
    case 1:
        target = GetPosition() + offset;
        break;
    case 2:
        target = Size() + offset;
        break;
    default:
        return -9;
    }
    return SetPosition(target) ? 0 : -1;
}

int64_t IOBuffer::ReadZlib(void* dst, int64_t capacity)
{
    int32_t chunkCount = 0;
    int64_t total = 0;
    if (Read(&chunkCount, sizeof(chunkCount)) != sizeof(chunkCount) ||
        Read(&total, sizeof(total)) != sizeof(total))
    {
        TLOG_ERROR(sLog, "ReadZlib: stream header is truncated");
        return 0;
    }
    if (total > capacity)
    {
        TLOG_ERROR(sLog, "ReadZlib: Buffer to small");
        return 0;
    }
    if (total < 0 || chunkCount < 0)
    {
        TLOG_ERROR(sLog, "ReadZlib: invalid stream header (" << chunkCount << " chunks, " << total << " bytes)");
        return 0;
    }

    // A chunk of incompressible data comes out slightly larger than it went in, so
    // the scratch block may need more than the chunk size; grown on demand.
    const int64_t maxCompressed = static_cast<int64_t>(compressBound(sZlibChunkSize)) + 32;
    std::unique_ptr<unsigned char[]> scratch;
    int64_t scratchSize = 0;
    unsigned char* out = static_cast<unsigned char*>(dst);
    int64_t remaining = total;
    int64_t result = 0;
    for (int32_t chunk = 0; chunk < chunkCount && remaining > 0; ++chunk)
    {
        int32_t compressedSize = 0;
        if (Read(&compressedSize, sizeof(compressedSize)) != sizeof(compressedSize))
        {
            TLOG_ERROR(sLog, "ReadZlib: stream is truncated in chunk " << chunk);
            break;
        }
        if (compressedSize < 0 || compressedSize > maxCompressed)
        {
            TLOG_ERROR(sLog, "ReadZlib: invalid compressed size " << compressedSize << " in chunk " << chunk);
            break;
        }
        if (compressedSize > scratchSize)
        {
            scratch.reset(new unsigned char[compressedSize]);
            scratchSize = compressedSize;
        }
        if (Read(scratch.get(), compressedSize) != compressedSize)
        {
            TLOG_ERROR(sLog, "ReadZlib: stream is truncated in chunk " << chunk);
            break;
        }
        int64_t length = std::min(remaining, sZlibChunkSize);
        uLongf produced = static_cast<uLongf>(length);
        int code = uncompress(out, &produced, scratch.get(), static_cast<uLong>(compressedSize));
        if (code == Z_OK && static_cast<int64_t>(produced) != length)
            code = Z_DATA_ERROR;
        if (code != Z_OK)
            TLOG_ERROR(sLog, "ReadZlib: Decompression failed (" << compressedSize << " " << remaining << " "
                                                                  << length << " " << code << ")");
        else
            result += length;
        out += length;
        remaining -= length;
    }
    return result;
}

bool IOBuffer::WriteZlib(const void* src, int64_t size)
{
    int32_t chunkCount = static_cast<int32_t>((size + sZlibChunkSize - 1) / sZlibChunkSize);
    Write(&chunkCount, sizeof(chunkCount));
    Write(&size, sizeof(size));

    const int64_t largestChunk = std::min(size, sZlibChunkSize);
    const uLong scratchSize = compressBound(static_cast<uLong>(largestChunk)) + 32;
    std::unique_ptr<unsigned char[]> scratch(new unsigned char[scratchSize]);
    const unsigned char* in = static_cast<const unsigned char*>(src);
    bool allWritten = true;
    for (int64_t done = 0; done < size; done += sZlibChunkSize)
    {
        int64_t length = std::min(size - done, sZlibChunkSize);
        uLongf compressedSize = scratchSize;
        if (compress(scratch.get(), &compressedSize, in + done, static_cast<uLong>(length)) != Z_OK)
        {
            // The chunk is left out, so the count written above is then too high.
            TLOG_ERROR(sLog, "WriteZlib: Compression failed");
            allWritten = false;
            continue;
        }
        int32_t stored = static_cast<int32_t>(compressedSize);
        Write(&stored, sizeof(stored));
        Write(scratch.get(), stored);
    }
    return allWritten;
}

} // namespace Util
} // namespace Tavlin
