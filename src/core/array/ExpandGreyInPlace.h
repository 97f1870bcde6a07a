// Spreads a row of grey bytes over three interleaved channels in place, for the image
// decoders, which let the library write one byte a pixel at the start of an RGB row.
#ifndef TAVLIN_CORE_ARRAY_EXPANDGREYINPLACE_H
#define TAVLIN_CORE_ARRAY_EXPANDGREYINPLACE_H

namespace Tavlin
{
namespace Core
{
namespace Array
{

// row holds width grey bytes at its start and has room for 3 x width. Runs from the
// last pixel to the first, so that each grey byte is read before it is overwritten.
inline void ExpandGreyInPlace(unsigned char* row, long long width)
{
    for (long long x = width - 1; x >= 0; --x)
    {
        const unsigned char v = row[x];
        row[3 * x] = v;
        row[3 * x + 1] = v;
        row[3 * x + 2] = v;
    }
}

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
