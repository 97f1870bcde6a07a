// Memory IOBuffers holding given bytes, and the bytes of a buffer, for tests of the
// buffer itself and of the readers and writers built on it.
#ifndef LUMISK_TESTS_SUPPORT_MEMORYBUFFER_H
#define LUMISK_TESTS_SUPPORT_MEMORYBUFFER_H

#include <cstdint>
#include <memory>
#include <string>

#include "util/IOBuffer.h"

namespace TestSupport
{

// A memory buffer of exactly these bytes, at position 0.
std::unique_ptr<Tavlin::Util::IOBuffer> MemoryBufferOf(const std::string& bytes);

// count bytes from `at`; the position stays where it was.
std::string BufferBytes(Tavlin::Util::IOBuffer& buffer, int64_t at, int64_t count);

} // namespace TestSupport

#endif
