#include "util/IOBufferFile.h"

#include <sys/types.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <new>

#include "basis/Report.h"

namespace Tavlin
{
namespace Util
{

namespace
{

log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Util.IOBufferFile");

// Shared by all file buffers of one thread; made at a thread's first stream ReadLine.
const int sLineBufferSize = 1048576;

char* LineBuffer()
{
    thread_local std::unique_ptr<char[]> tBuffer(new char[sLineBufferSize]);
    return tBuffer.get();
}

} // namespace

IOBufferFile::IOBufferFile(const std::string& fileName, bool readOnly, bool useMemory, bool update)
    : IOBuffer(), mReadOnly(readOnly), mUseMemory(useMemory), mFile(nullptr)
{
    if (!readOnly && useMemory)
    {
        TLOG_ERROR(sLog, "useMemory not supported for write mode");
        return;
    }
    const char* mode = readOnly ? "rb" : (update ? "r+b" : "w+b");
    if (fileName.empty())
    {
        TLOG_ERROR(sLog, "Cannot open file; path is empty");
        return;
    }
    mFile = std::fopen(fileName.c_str(), mode);
    if (!mFile)
    {
        TLOG_ERROR(sLog, "Failed to open (mode=" << mode << ") " << fileName);
        return;
    }
    if (!readOnly && !update)
        return;

    int64_t size = 0;
    if (fseeko(mFile, 0, SEEK_END) == 0)
        size = ftello(mFile);
    fseeko(mFile, 0, SEEK_SET);
    if (size < 0)
        size = 0;
    mSize = size;
    if (!useMemory)
        return;

    mBuffer = new (std::nothrow) unsigned char[size];
    if (!mBuffer)
        TLOG_ERROR(sLog, "Cannot hold " << size << " bytes of " << fileName << " in memory");
    else
        mSize = static_cast<int64_t>(std::fread(mBuffer, 1, static_cast<size_t>(size), mFile));
    std::fclose(mFile);
    mFile = nullptr;
}

IOBufferFile::~IOBufferFile()
{
    // A file that stands in for a server file is sent before it is closed.
    if (mChannel)
        WriteIOBufferToChannel();
    if (mFile)
        std::fclose(mFile);
}

bool IOBufferFile::Valid()
{
    if (mReadOnly && mUseMemory)
        return mBuffer != nullptr;
    return mFile != nullptr;
}

int64_t IOBufferFile::Read(void* dst, int64_t count)
{
    if (!UseStream())
        return IOBuffer::Read(dst, count);
    int64_t n = std::min(Available(), count);
    if (n < 1 || !mFile)
        return 0;
    int64_t position = GetPosition();
    fseeko(mFile, position, SEEK_SET);
    int64_t got = static_cast<int64_t>(std::fread(dst, 1, static_cast<size_t>(n), mFile));
    SetPosition(position + got);
    return got;
}

std::string IOBufferFile::ReadLine()
{
    if (!UseStream())
        return IOBuffer::ReadLine();
    if (!mFile)
        return std::string();
    int64_t position = GetPosition();
    char* line = LineBuffer();
    // A line feed put first makes the end of the file an empty line.
    line[0] = '\n';
    fseeko(mFile, position, SEEK_SET);
    if (!std::fgets(line, sLineBufferSize, mFile))
        line[0] = '\n';
    int64_t next = ftello(mFile);
    SetPosition(next);
    if (next - position > sLineBufferSize - 2)
        TLOG_ERROR(sLog, "[ReadLine]: line larger than buffer");
    return std::string(line, std::strcspn(line, "\r\n"));
}

int64_t IOBufferFile::Gets(char* out, int64_t size)
{
    if (!UseStream())
        return IOBuffer::Gets(out, size);
    int64_t n = std::min(Available(), size);
    if (n < 1 || !mFile)
        return 0;
    fseeko(mFile, GetPosition(), SEEK_SET);
    std::fgets(out, static_cast<int>(std::min<int64_t>(n, INT_MAX)), mFile);
    SetPosition(ftello(mFile));
    return n;
}

template <class T>
void IOBufferFile::StreamRead(T* out)
{
    if (!mFile)
        return;
    fseeko(mFile, GetPosition(), SEEK_SET);
    typename NativeTextForm<T>::Parse value;
    if (std::fscanf(mFile, NativeTextForm<T>::Format(), &value) == 1)
        *out = static_cast<T>(value);
    SetPosition(ftello(mFile));
}

template <class T>
void IOBufferFile::StreamWrite(T value)
{
    if (!mFile)
        return;
    std::fprintf(mFile, NativeTextForm<T>::FormatBlank(), static_cast<typename NativeTextForm<T>::Parse>(value));
    SetPositionAndSize(ftello(mFile));
}

#define TAVLIN_IOBUFFERFILE_NATIVE(T)                 \
    void IOBufferFile::NativeTypeRead(T* out)         \
    {                                                 \
        if (UseStream())                              \
            StreamRead(out);                          \
        else                                          \
            IOBuffer::NativeTypeRead(out);            \
    }                                                 \
    void IOBufferFile::NativeTypeWrite(T value)       \
    {                                                 \
        if (UseStream())                              \
            StreamWrite(value);                       \
        else                                          \
            IOBuffer::NativeTypeWrite(value);         \
    }
TAVLIN_IOBUFFERFILE_NATIVE(char)
TAVLIN_IOBUFFERFILE_NATIVE(unsigned char)
TAVLIN_IOBUFFERFILE_NATIVE(short)
TAVLIN_IOBUFFERFILE_NATIVE(unsigned short)
TAVLIN_IOBUFFERFILE_NATIVE(int)
TAVLIN_IOBUFFERFILE_NATIVE(unsigned int)
TAVLIN_IOBUFFERFILE_NATIVE(long long)
TAVLIN_IOBUFFERFILE_NATIVE(unsigned long long)
TAVLIN_IOBUFFERFILE_NATIVE(float)
TAVLIN_IOBUFFERFILE_NATIVE(double)
#undef TAVLIN_IOBUFFERFILE_NATIVE

int64_t IOBufferFile::Write(const void* src, int64_t count)
{
    if (!UseStream())
        return IOBuffer::Write(src, count);
    if (!mFile || count < 1)
        return 0;
    // Written at the stream's own place: every repositioning of the buffer has
    // already moved the stream there.
    int64_t written = static_cast<int64_t>(std::fwrite(src, 1, static_cast<size_t>(count), mFile));
    if (written != count)
        TLOG_ERROR(sLog, "Bytes written to file (" << written << ") "
                                                   << "differs from bytes to write (" << count << ")");
    SetPositionAndSize(ftello(mFile));
    return written;
}

bool IOBufferFile::Puts(const char* text)
{
    if (!UseStream())
        return IOBuffer::Puts(text);
    if (!mFile)
        return false;
    std::fprintf(mFile, "%s\n", text);
    SetPositionAndSize(ftello(mFile));
    return true;
}

bool IOBufferFile::SetPosition(int64_t position)
{
    if (position == GetPosition())
        return true;
    if (UseStream() && mFile && fseeko(mFile, position, SEEK_SET) != 0)
        return false;
    return IOBuffer::SetPosition(position);
}

} // namespace Util
} // namespace Tavlin
