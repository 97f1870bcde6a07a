#include "support/ImageCodecs.h"

#include <cstring>

#include <png.h>

#include "core/array/ReadJpgFromMemory.h"
#include "core/array/ReadPngFromMemory.h"
#include "support/GuardedMemory.h"
#include "support/TestSupport.h"

namespace TestSupport
{

std::string EncodeJpeg(const PlainImage& image, J_COLOR_SPACE inSpace, J_COLOR_SPACE fileSpace, int quality,
                       AdobeMarker adobe)
{
    jpeg_compress_struct cinfo;
    jpeg_error_mgr jerr;
    cinfo.err = jpeg_std_error(&jerr);
    jpeg_create_compress(&cinfo);
    unsigned char* out = nullptr;
    unsigned long outSize = 0;
    jpeg_mem_dest(&cinfo, &out, &outSize);
    cinfo.image_width = static_cast<JDIMENSION>(image.width);
    cinfo.image_height = static_cast<JDIMENSION>(image.height);
    cinfo.input_components = image.components;
    cinfo.in_color_space = inSpace;
    jpeg_set_defaults(&cinfo);
    jpeg_set_colorspace(&cinfo, fileSpace);
    if (adobe != AdobeMarker::Default)
        cinfo.write_Adobe_marker = adobe == AdobeMarker::On ? TRUE : FALSE;
    jpeg_set_quality(&cinfo, quality, TRUE);
    jpeg_start_compress(&cinfo, TRUE);
    const size_t rowBytes = static_cast<size_t>(image.width) * image.components;
    while (cinfo.next_scanline < cinfo.image_height)
    {
        JSAMPROW row = const_cast<JSAMPROW>(image.pixels.data() + cinfo.next_scanline * rowBytes);
        jpeg_write_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg_destroy_compress(&cinfo);
    std::string bytes(reinterpret_cast<const char*>(out), outSize);
    free(out);
    return bytes;
}

PlainImage DecodeJpeg(const std::string& bytes, J_COLOR_SPACE outSpace)
{
    jpeg_decompress_struct cinfo;
    jpeg_error_mgr jerr;
    cinfo.err = jpeg_std_error(&jerr);
    jpeg_create_decompress(&cinfo);
    jpeg_mem_src(&cinfo, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    jpeg_read_header(&cinfo, TRUE);
    if (outSpace != JCS_UNKNOWN)
        cinfo.out_color_space = outSpace;
    jpeg_start_decompress(&cinfo);
    PlainImage image;
    image.width = static_cast<int>(cinfo.output_width);
    image.height = static_cast<int>(cinfo.output_height);
    image.components = cinfo.output_components;
    image.pixels.resize(static_cast<size_t>(image.width) * image.height * image.components);
    const size_t rowBytes = static_cast<size_t>(image.width) * image.components;
    while (cinfo.output_scanline < cinfo.output_height)
    {
        JSAMPROW row = image.pixels.data() + cinfo.output_scanline * rowBytes;
        jpeg_read_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_decompress(&cinfo);
    jpeg_destroy_decompress(&cinfo);
    return image;
}

namespace
{

void AppendToString(png_structp png, png_bytep data, png_size_t size)
{
    static_cast<std::string*>(png_get_io_ptr(png))->append(reinterpret_cast<const char*>(data), size);
}

void NoFlush(png_structp) {}

struct ReadCursor
{
    const std::string* bytes;
    size_t position;
};

void ReadFromString(png_structp png, png_bytep data, png_size_t size)
{
    ReadCursor* cursor = static_cast<ReadCursor*>(png_get_io_ptr(png));
    if (cursor->position + size > cursor->bytes->size())
        png_error(png, "test stream ended");
    std::memcpy(data, cursor->bytes->data() + cursor->position, size);
    cursor->position += size;
}

int ChannelsOf(int colorType)
{
    switch (colorType)
    {
    case PNG_COLOR_TYPE_GRAY:
    case PNG_COLOR_TYPE_PALETTE:
        return 1;
    case PNG_COLOR_TYPE_GRAY_ALPHA:
        return 2;
    case PNG_COLOR_TYPE_RGB:
        return 3;
    default:
        return 4;
    }
}

} // namespace

std::string EncodePng(const std::vector<unsigned char>& rows, int width, int height, int bitDepth, int colorType,
                      bool interlaced, const std::vector<unsigned char>& paletteRgb,
                      const std::vector<unsigned char>& transparency)
{
    std::string bytes;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(png, &bytes, AppendToString, NoFlush);
    png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), bitDepth, colorType,
                 interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    std::vector<png_color> palette;
    for (size_t i = 0; i + 2 < paletteRgb.size(); i += 3)
        palette.push_back(png_color{paletteRgb[i], paletteRgb[i + 1], paletteRgb[i + 2]});
    if (!palette.empty())
        png_set_PLTE(png, info, palette.data(), static_cast<int>(palette.size()));
    if (!transparency.empty())
        png_set_tRNS(png, info, transparency.data(), static_cast<int>(transparency.size()), nullptr);
    png_write_info(png, info);
    const size_t rowBytes = (static_cast<size_t>(width) * ChannelsOf(colorType) * bitDepth + 7) / 8;
    std::vector<png_bytep> rowPointers(static_cast<size_t>(height));
    for (int y = 0; y < height; ++y)
        rowPointers[static_cast<size_t>(y)] = const_cast<png_bytep>(rows.data() + y * rowBytes);
    png_write_image(png, rowPointers.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return bytes;
}

PlainImage DecodePngToRgb(const std::string& bytes)
{
    PlainImage image;
    ReadCursor cursor{&bytes, 0};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_read_fn(png, &cursor, ReadFromString);
    png_read_png(png, info,
                 PNG_TRANSFORM_STRIP_16 | PNG_TRANSFORM_STRIP_ALPHA | PNG_TRANSFORM_EXPAND |
                     PNG_TRANSFORM_GRAY_TO_RGB,
                 nullptr);
    image.width = static_cast<int>(png_get_image_width(png, info));
    image.height = static_cast<int>(png_get_image_height(png, info));
    image.components = png_get_channels(png, info);
    png_bytepp rows = png_get_rows(png, info);
    const size_t rowBytes = static_cast<size_t>(image.width) * image.components;
    for (int y = 0; y < image.height; ++y)
        image.pixels.insert(image.pixels.end(), rows[y], rows[y] + rowBytes);
    png_destroy_read_struct(&png, &info, nullptr);
    return image;
}

::testing::AssertionResult SameRgb(const Tavlin::Core::Array::Array2dVec3UInt8* image, const PlainImage& expected)
{
    if (!image)
        return ::testing::AssertionFailure() << "no image";
    if (image->Width() != expected.width || image->Height() != expected.height)
        return ::testing::AssertionFailure() << "size " << image->Width() << " x " << image->Height();
    for (int y = 0; y < expected.height; ++y)
        for (int x = 0; x < expected.width; ++x)
            for (int c = 0; c < 3; ++c)
            {
                const int want = expected.Pixel(x, y)[expected.components == 1 ? 0 : c];
                const int got = image->PixelPtr(x, y)[c];
                if (got != want)
                    return ::testing::AssertionFailure()
                           << "pixel " << x << "," << y << " channel " << c << ": " << got << " instead of " << want;
            }
    return ::testing::AssertionSuccess();
}

namespace
{

typedef void (*MemoryDecoder)(Tavlin::Core::Array::Array2dVec3UInt8*&, char*, int);

std::unique_ptr<Tavlin::Core::Array::Array2dVec3UInt8> DecodeGuarded(MemoryDecoder decode, const std::string& bytes)
{
    GuardedMemory block(bytes);
    Tavlin::Core::Array::Array2dVec3UInt8* image = nullptr;
    decode(image, block.Data(), block.Size());
    return std::unique_ptr<Tavlin::Core::Array::Array2dVec3UInt8>(image);
}

} // namespace

std::unique_ptr<Tavlin::Core::Array::Array2dVec3UInt8> ReadJpgGuarded(const std::string& bytes)
{
    return DecodeGuarded(&Tavlin::Core::Array::ReadJpgFromMemory<Tavlin::Core::Array::Array2dVec3UInt8>, bytes);
}

std::unique_ptr<Tavlin::Core::Array::Array2dVec3UInt8> ReadPngGuarded(const std::string& bytes)
{
    return DecodeGuarded(&Tavlin::Core::Array::ReadPngFromMemory<Tavlin::Core::Array::Array2dVec3UInt8>, bytes);
}

std::string RawArrayFileBytes(const std::string& header, const std::string& payload)
{
    std::string bytes = header;
    bytes.resize(200, '\0');
    return bytes + payload;
}

PlainImage MakeTexturedImage(int width, int height, int components, unsigned seed)
{
    PlainImage image;
    image.width = width;
    image.height = height;
    image.components = components;
    image.pixels.resize(static_cast<size_t>(width) * height * components);
    unsigned state = seed;
    size_t i = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < components; ++c)
            {
                state = state * 1664525u + 1013904223u;
                const int noise = static_cast<int>((state >> 24) % 17) - 8;
                const int ramp = (x * (3 + c) + y * (5 - c)) % 256;
                const int edge = ((x / 11 + y / 7 + c) % 3) * 40;
                const int v = (ramp + edge) / 2 + 40 + noise;
                image.pixels[i++] = static_cast<unsigned char>(v < 0 ? 0 : v > 255 ? 255 : v);
            }
    return image;
}

void WriteJpegPhoto(const std::string& path, int width, int height, unsigned seed)
{
    WriteTextFile(path, EncodeJpeg(MakeTexturedImage(width, height, 3, seed), JCS_RGB, JCS_YCbCr, 90));
}

} // namespace TestSupport
