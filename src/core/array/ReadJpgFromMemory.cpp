#include "core/array/ReadJpgFromMemory.h"

#include <algorithm>
#include <cstdio>

#include <jerror.h>

#include "basis/Report.h"
#include "core/array/ArrayFactories.h"
#include "core/array/ExpandGreyInPlace.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

thread_local jmp_buf gReadJpgJmpbuf;
thread_local char gJpgErrorBuffer[JMSG_LENGTH_MAX];

namespace
{

// The library's source manager followed by room for the end-of-image marker that is
// fed once the memory block is used up.
struct MemorySource
{
    jpeg_source_mgr mPub;
    JOCTET mEndOfImage[2];
};

void InitSource(j_decompress_ptr) {}

void TermSource(j_decompress_ptr) {}

// Memory has no more data: warn as for a premature end of file and feed an
// end-of-image marker, so that a truncated file still decodes to its last row.
void FeedEndOfImage(j_decompress_ptr cinfo)
{
    MemorySource* src = reinterpret_cast<MemorySource*>(cinfo->src);
    WARNMS(cinfo, JWRN_JPEG_EOF);
    src->mEndOfImage[0] = 0xFF;
    src->mEndOfImage[1] = JPEG_EOI;
    src->mPub.next_input_byte = src->mEndOfImage;
    src->mPub.bytes_in_buffer = 2;
}

boolean FillInputBuffer(j_decompress_ptr cinfo)
{
    FeedEndOfImage(cinfo);
    return TRUE;
}

void SkipInputData(j_decompress_ptr cinfo, long count)
{
    if (count <= 0)
        return;
    jpeg_source_mgr* src = cinfo->src;
    while (count > static_cast<long>(src->bytes_in_buffer))
    {
        count -= static_cast<long>(src->bytes_in_buffer);
        FeedEndOfImage(cinfo);
    }
    src->next_input_byte += count;
    src->bytes_in_buffer -= static_cast<size_t>(count);
}

void InstallMemorySource(j_decompress_ptr cinfo, char* data, int size)
{
    if (!cinfo->src)
        cinfo->src = static_cast<jpeg_source_mgr*>((*cinfo->mem->alloc_small)(
            reinterpret_cast<j_common_ptr>(cinfo), JPOOL_PERMANENT, sizeof(MemorySource)));
    jpeg_source_mgr* src = cinfo->src;
    src->init_source = InitSource;
    src->fill_input_buffer = FillInputBuffer;
    src->skip_input_data = SkipInputData;
    src->resync_to_restart = jpeg_resync_to_restart;
    src->term_source = TermSource;
    src->next_input_byte = reinterpret_cast<const JOCTET*>(data);
    src->bytes_in_buffer = size > 0 ? static_cast<size_t>(size) : 0;
}

// (c, m, y, k) to RGB. Adobe stores CMYK inverted, so there the ink values count up
// from black; otherwise they count down from white.
void CmykRowToRgb(const JSAMPLE* cmyk, unsigned char* rgb, long long width, bool inverted)
{
    if (inverted)
    {
        for (long long x = 0; x < width; ++x, cmyk += 4, rgb += 3)
        {
            const int i = 255 - cmyk[3];
            rgb[0] = static_cast<unsigned char>(std::max(0, cmyk[0] - i));
            rgb[1] = static_cast<unsigned char>(std::max(0, cmyk[1] - i));
            rgb[2] = static_cast<unsigned char>(std::max(0, cmyk[2] - i));
        }
    }
    else
    {
        for (long long x = 0; x < width; ++x, cmyk += 4, rgb += 3)
        {
            const int i = 255 - cmyk[3];
            rgb[0] = static_cast<unsigned char>(std::max(0, i - cmyk[0]));
            rgb[1] = static_cast<unsigned char>(std::max(0, i - cmyk[1]));
            rgb[2] = static_cast<unsigned char>(std::max(0, i - cmyk[2]));
        }
    }
}

// Each 8x8 block of the full-resolution component costs a Huffman-coded file at least
// one bit, so n bytes hold at most 8n blocks, 1536n bytes of RGB. A header beyond that
// and beyond a margin, which keeps truncated files of ordinary size decoding whole, is
// garbage: nothing is allocated for it.
const unsigned long long sRgbBytesPerFileByte = 1536;
const unsigned long long sAllocationSlack = 1ULL << 26;

// Everything after the jump buffer is armed. Library errors leave this function by
// longjmp, so nothing here may own a resource: the row buffer comes from the
// library's image pool, which jpeg_destroy_decompress releases on either path.
template <class ArrayT>
void DecodeJpg(j_decompress_ptr cinfo, int size, ArrayT*& dst, log4cpp::Category& log)
{
    jpeg_read_header(cinfo, TRUE);
    // YCCK is delivered as CMYK too.
    if (cinfo->num_components == 4)
        cinfo->out_color_space = JCS_CMYK;
    jpeg_calc_output_dimensions(cinfo);

    const int components = cinfo->output_components;
    if (components != 1 && components != 3 && components != 4)
    {
        // A row of more than three values a pixel would not fit in the array.
        TLOG_WARN(log, "Unsupported number of colour components: " << components);
        return;
    }
    const unsigned long long rgbBytes = 3ULL * cinfo->output_width * cinfo->output_height;
    if (rgbBytes > sRgbBytesPerFileByte * static_cast<unsigned long long>(size) + sAllocationSlack)
    {
        TLOG_WARN(log, "A JPEG of " << cinfo->output_width << " x " << cinfo->output_height
                                    << " cannot come from " << size << " bytes");
        return;
    }

    jpeg_start_decompress(cinfo);
    TLOG_DEBUG(log, "color_space = " << JpgColorSpace2String(cinfo->jpeg_color_space));
    TLOG_DEBUG(log, "MAXJSAMPLE = " << MAXJSAMPLE);
    TLOG_DEBUG(log, "CENTERJSAMPLE = " << CENTERJSAMPLE);

    const bool inverted = cinfo->saw_Adobe_marker != 0;
    if (cinfo->num_components == 4 && !inverted)
        TLOG_WARN(log, "Never tested non-inverted CMYK format");

    const long long width = cinfo->output_width;
    const JDIMENSION height = cinfo->output_height;
    JSAMPARRAY rowBuffer = nullptr;
    if (components == 4)
        rowBuffer = (*cinfo->mem->alloc_sarray)(reinterpret_cast<j_common_ptr>(cinfo), JPOOL_IMAGE,
                                                static_cast<JDIMENSION>(4 * width), 1);
    if (!dst)
        dst = ArrayCreateOrNull<ArrayT>(width, height);
    if (!dst)
        return;

    for (JDIMENSION y = 0; y < height; ++y)
    {
        unsigned char* row = dst->PixelPtr(0, y);
        JSAMPROW target = rowBuffer ? rowBuffer[0] : row;
        if (jpeg_read_scanlines(cinfo, &target, 1) != 1)
            TLOG_ERROR(log, "jpeg_read_scanlines couldn't read line");
        if (rowBuffer)
            CmykRowToRgb(rowBuffer[0], row, width, inverted);
        else if (components == 1)
            ExpandGreyInPlace(row, width);
    }
    jpeg_finish_decompress(cinfo);
}

} // namespace

void JpgLinkErrorFunc(j_common_ptr cinfo)
{
    (*cinfo->err->format_message)(cinfo, gJpgErrorBuffer);
    std::longjmp(gReadJpgJmpbuf, 1);
}

std::string JpgColorSpace2String(J_COLOR_SPACE colorSpace)
{
    switch (static_cast<int>(colorSpace))
    {
    case 0:
        return "JCS_UNKNOWN";
    case 1:
        return "JCS_GRAYSCALE";
    case 2:
        return "JCS_RGB";
    case 3:
        return "JCS_YCbCr";
    case 4:
        return "JCS_CMYK";
    case 5:
        return "JCS_YCCK";
    default:
        return "NO_JCS_VALUE";
    }
}

template <class ArrayT>
void ReadJpgFromMemory(ArrayT*& dst, char* data, int size)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Array.ReadJpgFromMemory");
    std::snprintf(gJpgErrorBuffer, sizeof(gJpgErrorBuffer), "%s", "Something is wrong");

    // Only plain structs live in this frame: a longjmp may land here at any library call.
    jpeg_decompress_struct cinfo;
    jpeg_error_mgr jerr;
    cinfo.err = jpeg_std_error(&jerr);
    jerr.error_exit = JpgLinkErrorFunc;
    if (setjmp(gReadJpgJmpbuf))
    {
        TLOG_WARN(sLog, "jmp: " << gJpgErrorBuffer);
        jpeg_destroy_decompress(&cinfo);
        return;
    }
    jpeg_CreateDecompress(&cinfo, JPEG_LIB_VERSION, sizeof(jpeg_decompress_struct));
    InstallMemorySource(&cinfo, data, size);
    DecodeJpg(&cinfo, size, dst, sLog);
    jpeg_destroy_decompress(&cinfo);
}

template void ReadJpgFromMemory<Array2dVec3UInt8>(Array2dVec3UInt8*&, char*, int);

} // namespace Array
} // namespace Core
} // namespace Tavlin
