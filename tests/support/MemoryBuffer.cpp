#include "support/MemoryBuffer.h"

#include <cstring>

namespace TestSupport
{

namespace
{

// Filled through the block itself: Write() would leave out a last single byte.
class FilledBuffer : public Tavlin::Util::IOBuffer
{
public:
    explicit FilledBuffer(const std::string& bytes) : IOBuffer(static_cast<int64_t>(bytes.size()))
    {
        std::memcpy(mBuffer, bytes.data(), bytes.size());
    }
};

} // namespace

std::unique_ptr<Tavlin::Util::IOBuffer> MemoryBufferOf(const std::string& bytes)
{
    return std::unique_ptr<Tavlin::Util::IOBuffer>(new FilledBuffer(bytes));
}

std::string BufferBytes(Tavlin::Util::IOBuffer& buffer, int64_t at, int64_t count)
{
    std::string bytes(static_cast<size_t>(count), '\0');
    const int64_t keep = buffer.GetPosition();
    buffer.SetPosition(at);
    bytes.resize(static_cast<size_t>(buffer.Read(&bytes[0], count)));
    buffer.SetPosition(keep);
    return bytes;
}

} // namespace TestSupport
