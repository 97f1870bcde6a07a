// What every fuzz target shares: quiet logging that still composes each message, and
// a memory buffer holding exactly the input bytes.
#ifndef LUMISK_FUZZ_FUZZSUPPORT_H
#define LUMISK_FUZZ_FUZZSUPPORT_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/array/Array2dTem.h"
#include "util/IOBuffer.h"

namespace FuzzSupport
{

// Sends every log line from INFO up into a stream that drops it. Messages are still
// formatted, so that their composition is exercised too. Call once, from LLVMFuzzerInitialize or the
// first input.
void QuietLogging();

// A memory buffer of exactly these bytes, at position 0.
std::unique_ptr<Tavlin::Util::IOBuffer> BufferOf(const uint8_t* data, size_t size);

// Reads every value, so that a result that claims more than it holds is a finding.
void Touch(const double* values, int64_t count);
// Every image pixel of a real64 array (null passes).
void Touch(const Tavlin::Core::Array::Array2dReal64* array);

} // namespace FuzzSupport

#endif
