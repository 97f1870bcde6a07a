// An IOBuffer over a local file, in one of two modes: a stdio stream that is sought to
// the buffer's position before each access, or (read-only) the whole file slurped into
// memory at opening, so that reading costs one fread and no seek per line. The buffer
// owns the stream; deleting it closes the file, which completes a written file.
//
// A constructor that fails leaves a buffer that is not Valid(); callers must ask.
#ifndef TAVLIN_UTIL_IOBUFFERFILE_H
#define TAVLIN_UTIL_IOBUFFERFILE_H

#include <cstdio>
#include <string>

#include "util/IOBuffer.h"

namespace Tavlin
{
namespace Util
{

class IOBufferFile : public IOBuffer
{
public:
    // Mode "rb" when readOnly, else "r+b" with update and "w+b" without. useMemory is
    // for reading only.
    IOBufferFile(const std::string& fileName, bool readOnly, bool useMemory, bool update);
    ~IOBufferFile() override;

    bool Valid() override;

    int64_t Read(void* dst, int64_t count) override;
    // Stream mode ends the line at the first carriage return or line feed; memory mode
    // keeps a carriage return in mid-line.
    std::string ReadLine() override;
    // Stream mode: fgets semantics (zero terminator, line feed kept), returns the
    // number of bytes that were allowed rather than the length of the line.
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

    int64_t Write(const void* src, int64_t count) override;
    bool Puts(const char* text) override;
    using IOBuffer::Puts;

    void NativeTypeWrite(char value) override;
    void NativeTypeWrite(unsigned char value) override;
    void NativeTypeWrite(short value) override;
    void NativeTypeWrite(unsigned short value) override;
    void NativeTypeWrite(int value) override;
    void NativeTypeWrite(unsigned int value) override;
    void NativeTypeWrite(long long value) override;
    void NativeTypeWrite(unsigned long long value) override;
    void NativeTypeWrite(float value) override;
    void NativeTypeWrite(double value) override;

    // In stream mode the stream is moved before the range test, so a refused position
    // has already moved it.
    bool SetPosition(int64_t position) override;

private:
    template <class T>
    void StreamRead(T* out);
    template <class T>
    void StreamWrite(T value);
    // True when operations go to the stream rather than to the memory block.
    bool UseStream() const { return !mUseMemory; }

    bool mReadOnly;
    bool mUseMemory;
    FILE* mFile;
};

} // namespace Util
} // namespace Tavlin

#endif
