// A seekable byte store with a size and a read/write position: the one interface
// through which raw arrays, tables, property sets, descriptor files and images are
// read and written. The base class is a fixed block of memory that it owns; subclasses
// lie over files. It also carries the blank-separated text form of native values and
// the chunked zlib stream used for compressed array payloads.
//
// Quirk kept on purpose: Available() reports 0 when exactly one byte is left, and
// every memory operation goes through it, so a last single byte is never touched.
#ifndef TAVLIN_UTIL_IOBUFFER_H
#define TAVLIN_UTIL_IOBUFFER_H

#include <cstdint>
#include <string>

namespace Tavlin
{
namespace Util
{

class Channel;

class IOBuffer
{
public:
    // Allocates `size` bytes, uninitialised; size is the capacity, position 0.
    explicit IOBuffer(int64_t size);
    virtual ~IOBuffer();

    IOBuffer(const IOBuffer&) = delete;
    IOBuffer& operator=(const IOBuffer&) = delete;

    virtual bool Valid();
    // Size minus position, but 0 when that is 1 (or negative, which is logged).
    virtual int64_t Available();
    virtual int AvailableInt32();
    virtual int64_t Size();
    // Does not reallocate.
    virtual void SetSize(int64_t size);

    virtual int64_t Read(void* dst, int64_t count);
    // One line without its line feed and one carriage return before it.
    virtual std::string ReadLine();
    // Copies up to a line feed or `size` bytes; no terminating zero. Returns the
    // count without the line feed.
    virtual int64_t Gets(char* out, int64_t size);

    // Text form: the value followed by one blank.
    virtual void NativeTypeRead(char* out);
    virtual void NativeTypeRead(unsigned char* out);
    virtual void NativeTypeRead(short* out);
    virtual void NativeTypeRead(unsigned short* out);
    virtual void NativeTypeRead(int* out);
    virtual void NativeTypeRead(unsigned int* out);
    virtual void NativeTypeRead(long long* out);
    virtual void NativeTypeRead(unsigned long long* out);
    virtual void NativeTypeRead(float* out);
    virtual void NativeTypeRead(double* out);

    // A memory buffer never grows: what does not fit is dropped.
    virtual int64_t Write(const void* src, int64_t count);
    // The text and a line feed; true when the whole text fitted.
    virtual bool Puts(const char* text);
    virtual bool Puts(const std::string& text);

    virtual void NativeTypeWrite(char value);
    virtual void NativeTypeWrite(unsigned char value);
    virtual void NativeTypeWrite(short value);
    virtual void NativeTypeWrite(unsigned short value);
    virtual void NativeTypeWrite(int value);
    virtual void NativeTypeWrite(unsigned int value);
    virtual void NativeTypeWrite(long long value);
    virtual void NativeTypeWrite(unsigned long long value);
    virtual void NativeTypeWrite(float value);
    virtual void NativeTypeWrite(double value);

    // Refuses (and logs) positions outside 0..size.
    virtual bool SetPosition(int64_t position);
    // Position = p, and size = p when p lies beyond it; no checks.
    virtual void SetPositionAndSize(int64_t position);
    virtual int64_t GetPosition();
    virtual void Rewind();
    virtual void FastForward();
    // whence 0, 1, 2 as for fseek; 0 on success, -1 when refused, -9 for another whence.
    virtual int Seek(int64_t offset, int whence);

    // Reads one chunked zlib stream into dst; returns the bytes decompressed, 0 when
    // the stream does not fit in `capacity`.
    int64_t ReadZlib(void* dst, int64_t capacity);
    // Writes `size` bytes from src as one chunked zlib stream. Returns false when a
    // chunk could not be compressed (that chunk is left out).
    bool WriteZlib(const void* src, int64_t size);

    // Sends what has been written (up to the position, less a last single byte) to the
    // server file set by SetChannelDelivery. Runs at deletion of such a buffer.
    bool WriteIOBufferToChannel();
    // Makes this buffer stand in for fileName on the server behind channel: deleting it
    // delivers the content there. tmpFileName, when not empty, is removed afterwards.
    void SetChannelDelivery(Channel* channel, const std::string& fileName, const std::string& tmpFileName);

    // Bytes per uncompressed chunk of the zlib stream.
    static constexpr int64_t sZlibChunkSize = 16777216;

protected:
    // For subclasses that keep no memory block.
    IOBuffer();

    unsigned char* mBuffer;
    int64_t mSize;
    int64_t mPosition;
    // Not owned; set only while the buffer must still be delivered to a server.
    Channel* mChannel;
    std::string mChannelFileName;
    std::string mTmpFileName;

private:
    template <class T>
    void TextRead(T* out);
    template <class T>
    void TextWrite(T value);
};

// printf/scanf form of each native type in the text encoding, and the type a value is
// parsed into: "%d" and "%u" store 32 bits, so char and short go through an int.
template <class T>
struct NativeTextForm;
#define TAVLIN_NATIVE_TEXT_FORM(T, ParseT, format, formatBlank)  \
    template <>                                                   \
    struct NativeTextForm<T>                                      \
    {                                                             \
        typedef ParseT Parse;                                     \
        static const char* Format() { return format; }            \
        static const char* FormatBlank() { return formatBlank; }  \
    };
TAVLIN_NATIVE_TEXT_FORM(char, int, "%d", "%d ")
TAVLIN_NATIVE_TEXT_FORM(unsigned char, unsigned int, "%u", "%u ")
TAVLIN_NATIVE_TEXT_FORM(short, int, "%d", "%d ")
TAVLIN_NATIVE_TEXT_FORM(unsigned short, unsigned int, "%u", "%u ")
TAVLIN_NATIVE_TEXT_FORM(int, int, "%d", "%d ")
TAVLIN_NATIVE_TEXT_FORM(unsigned int, unsigned int, "%u", "%u ")
TAVLIN_NATIVE_TEXT_FORM(long long, long long, "%lld", "%lld ")
TAVLIN_NATIVE_TEXT_FORM(unsigned long long, unsigned long long, "%llu", "%llu ")
TAVLIN_NATIVE_TEXT_FORM(float, float, "%f", "%f ")
TAVLIN_NATIVE_TEXT_FORM(double, double, "%lf", "%lf ")
#undef TAVLIN_NATIVE_TEXT_FORM

} // namespace Util
} // namespace Tavlin

#endif
