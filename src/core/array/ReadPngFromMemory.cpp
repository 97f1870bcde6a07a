#include "core/array/ReadPngFromMemory.h"

#include <cstdio>
#include <cstring>

#include <png.h>

#include "basis/Report.h"
#include "core/array/ArrayFactories.h"
#include "core/array/ExpandGreyInPlace.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

thread_local jmp_buf gReadPngJmpbuf;

namespace
{

// What is left of the memory block behind the signature.
struct PngStream
{
    const unsigned char* mNext;
    size_t mLeft;
    // The whole block, signature included.
    size_t mSize;
};

void ReadPngDataFunc(png_structp png, png_bytep bytes, png_size_t count)
{
    PngStream* stream = static_cast<PngStream*>(png_get_io_ptr(png));
    if (count > stream->mLeft)
        png_error(png, "Read beyond the end of the data");
    std::memcpy(bytes, stream->mNext, count);
    stream->mNext += count;
    stream->mLeft -= count;
}

void ReadPngErrorFunc(png_structp, png_const_charp message)
{
    std::fprintf(stderr, "PNG Error: %s\n", message);
    std::longjmp(gReadPngJmpbuf, 1);
}

void ReadPngWarnFunc(png_structp, png_const_charp message)
{
    std::fprintf(stderr, "PNG Warning: %s\n", message);
}

// Deflate expands at most about 1032 times: a header whose rows need more than that
// from the bytes there are is garbage, and nothing is allocated for it.
const unsigned long long sDeflateRatio = 1100;

// Everything after the jump buffer is armed. Library errors leave this function by
// longjmp, so nothing here may own a resource.
template <class ArrayT>
void DecodePng(png_structp png, png_infop info, PngStream* stream, ArrayT*& dst, log4cpp::Category& log)
{
    png_set_read_fn(png, stream, ReadPngDataFunc);
    png_set_sig_bytes(png, 8);
    png_read_info(png, info);

    png_uint_32 width = 0;
    png_uint_32 height = 0;
    int bitDepth = 0;
    int colorType = 0;
    int interlace = 0;
    png_get_IHDR(png, info, &width, &height, &bitDepth, &colorType, &interlace, nullptr, nullptr);
    if (interlace == PNG_INTERLACE_ADAM7)
    {
        TLOG_ERROR(log, "Interlaced PNG's not supported yet.");
        return;
    }
    // Each row is stored behind its filter byte.
    const unsigned long long stored = static_cast<unsigned long long>(height) * (png_get_rowbytes(png, info) + 1);
    if (stored > sDeflateRatio * stream->mLeft)
    {
        TLOG_ERROR(log, "A PNG of " << width << " x " << height << " cannot come from " << stream->mSize
                                    << " bytes");
        return;
    }

    if (bitDepth == 16)
        png_set_strip_16(png);
    if (colorType == PNG_COLOR_TYPE_PALETTE)
        png_set_palette_to_rgb(png);
    if (colorType == PNG_COLOR_TYPE_GRAY && bitDepth < 8)
        png_set_expand_gray_1_2_4_to_8(png);
    png_set_strip_alpha(png);
    png_read_update_info(png, info);

    const int channels = png_get_channels(png, info);
    if (channels == 2 || channels == 4)
    {
        TLOG_ERROR(log, "There still seems to be an (unsupported) alpha channel");
        return;
    }

    if (!dst)
        dst = ArrayCreateOrNull<ArrayT>(width, height);
    if (!dst)
        return;

    const bool grey = (colorType & PNG_COLOR_MASK_COLOR) == 0;
    for (png_uint_32 y = 0; y < height; ++y)
    {
        unsigned char* row = dst->PixelPtr(0, y);
        png_read_row(png, row, nullptr);
        if (grey)
            ExpandGreyInPlace(row, width);
    }
}

} // namespace

template <class ArrayT>
void ReadPngFromMemory(ArrayT*& dst, char* data, int size)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Array.ReadPng");
    if (size < 8 || png_sig_cmp(reinterpret_cast<png_const_bytep>(data), 0, 8) != 0)
    {
        TLOG_ERROR(sLog, "Not in PNG format");
        return;
    }

    // Only plain values live in this frame: a longjmp may land here at any library call.
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, ReadPngErrorFunc, ReadPngWarnFunc);
    if (!png)
    {
        TLOG_ERROR(sLog, "png_create_read_struct error");
        return;
    }
    png_infop info = png_create_info_struct(png);
    if (!info)
    {
        TLOG_ERROR(sLog, "png_create_info_struct error");
        png_destroy_read_struct(&png, nullptr, nullptr);
        return;
    }
    PngStream stream = {reinterpret_cast<const unsigned char*>(data) + 8, static_cast<size_t>(size) - 8,
                        static_cast<size_t>(size)};

    if (setjmp(gReadPngJmpbuf))
    {
        TLOG_INFO(sLog, "setjmp");
        png_destroy_read_struct(&png, &info, nullptr);
        return;
    }
    DecodePng(png, info, &stream, dst, sLog);
    png_destroy_read_struct(&png, &info, nullptr);
}

template void ReadPngFromMemory<Array2dVec3UInt8>(Array2dVec3UInt8*&, char*, int);

} // namespace Array
} // namespace Core
} // namespace Tavlin
