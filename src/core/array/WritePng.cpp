#include "core/array/WritePng.h"

#include <csetjmp>
#include <cstring>

#include <png.h>

#include "basis/Report.h"
#include "util/IOBuffer.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

namespace
{

// Where the bytes go, and the library's last error message. Plain data only: libpng
// calls back from C frames, so nothing here may throw.
struct PngSink
{
    Util::IOBuffer* mBuffer;
    char mMessage[200];
};

void WritePngDataFunc(png_structp png, png_bytep bytes, png_size_t count)
{
    PngSink* sink = static_cast<PngSink*>(png_get_io_ptr(png));
    if (sink->mBuffer->Write(bytes, static_cast<int64_t>(count)) != static_cast<int64_t>(count))
        png_error(png, "the file took fewer bytes than were written");
}

void WritePngFlushFunc(png_structp)
{
}

void WritePngErrorFunc(png_structp png, png_const_charp message)
{
    PngSink* sink = static_cast<PngSink*>(png_get_error_ptr(png));
    std::strncpy(sink->mMessage, message, sizeof(sink->mMessage) - 1);
    sink->mMessage[sizeof(sink->mMessage) - 1] = '\0';
    png_longjmp(png, 1);
}

void WritePngWarnFunc(png_structp, png_const_charp)
{
}

// Everything after the jump buffer is armed; library errors leave by longjmp, so
// nothing here may own a resource.
template <class ArrayT>
void EncodePng(png_structp png, png_infop info, ArrayT* array)
{
    const png_uint_32 width = static_cast<png_uint_32>(array->mWidth);
    const png_uint_32 height = static_cast<png_uint_32>(array->mHeight);
    png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    // Pictures are for looking at: zlib level 3 writes a photo three times faster than
    // the default 6, for some 6% more bytes.
    png_set_compression_level(png, 3);
    png_write_info(png, info);
    for (png_uint_32 y = 0; y < height; ++y)
        png_write_row(png, array->PixelPtr(0, y));
    png_write_end(png, info);
}

} // namespace

template <class ArrayT>
bool WritePng(ArrayT* array, Util::IOBuffer* buffer)
{
    static_assert(ArrayT::ElemSize == 3 && sizeof(typename ArrayT::StorType) == 1, "8-bit RGB arrays only");
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Array.WritePng");
    if (!array || !buffer || !buffer->Valid())
    {
        TLOG_ERROR(sLog, "[WritePng] no array or invalid io buffer");
        return false;
    }
    // The format's own limit is 2^31 - 1 a side; libpng refuses more than a million
    // by default, which then ends below as a library error.
    if (array->mWidth < 1 || array->mHeight < 1 || array->mWidth > 0x7fffffffLL || array->mHeight > 0x7fffffffLL)
    {
        TLOG_ERROR(sLog, "[WritePng] can not write an image of " << array->mWidth << " x " << array->mHeight);
        return false;
    }

    PngSink sink;
    sink.mBuffer = buffer;
    sink.mMessage[0] = '\0';
    // Only plain values live in this frame, and none changes after setjmp.
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &sink, WritePngErrorFunc, WritePngWarnFunc);
    if (!png)
    {
        TLOG_ERROR(sLog, "[WritePng] png_create_write_struct error");
        return false;
    }
    png_infop info = png_create_info_struct(png);
    if (!info)
    {
        png_destroy_write_struct(&png, nullptr);
        TLOG_ERROR(sLog, "[WritePng] png_create_info_struct error");
        return false;
    }
    if (setjmp(png_jmpbuf(png)))
    {
        png_destroy_write_struct(&png, &info);
        TLOG_ERROR(sLog, "[WritePng] " << sink.mMessage);
        return false;
    }
    png_set_write_fn(png, &sink, WritePngDataFunc, WritePngFlushFunc);
    EncodePng(png, info, array);
    png_destroy_write_struct(&png, &info);
    return true;
}

template bool WritePng<Array2dVec3UInt8>(Array2dVec3UInt8*, Util::IOBuffer*);

} // namespace Array
} // namespace Core
} // namespace Tavlin
