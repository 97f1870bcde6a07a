// Writes the seed corpora of the reader targets with the project's own writers (and
// plain libjpeg/libpng for image variants the project does not write):
//   MakeCorpus <dir>   fills <dir>/<Target>/<name> for each target.
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <jpeglib.h>
#include <png.h>

#include "FuzzSupport.h"
#include "core/array/ArrayFactories.h"
#include "core/array/WritePng.h"
#include "core/array/WriteRaw.h"
#include "core/feature/PointDescriptorIO.h"
#include "util/IOBuffer.h"

using namespace Tavlin::Core::Array;
using Tavlin::Util::IOBuffer;
using namespace Tavlin::Core::Feature;

namespace
{

std::string gRoot;

void Seed(const std::string& target, const std::string& name, const std::string& bytes)
{
    const std::string dir = gRoot + "/" + target;
    mkdir(gRoot.c_str(), 0755);
    mkdir(dir.c_str(), 0755);
    FILE* file = std::fopen((dir + "/" + name).c_str(), "wb");
    if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
    {
        std::fprintf(stderr, "cannot write %s/%s\n", dir.c_str(), name.c_str());
        std::exit(1);
    }
    std::fclose(file);
}

// What `write` puts into a memory buffer.
std::string Written(const std::function<void(IOBuffer*)>& write)
{
    IOBuffer buffer(1 << 20);
    write(&buffer);
    const int64_t size = buffer.GetPosition();
    std::string bytes(static_cast<size_t>(size), '\0');
    buffer.Rewind();
    buffer.Read(&bytes[0], size);
    return bytes;
}

// A real64 array whose values vary in sign and magnitude.
Array2dReal64* Reals(int width, int height, double scale)
{
    Array2dReal64* a = ArrayCreate<Array2dReal64>(width, height, 0, 0, nullptr, false);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            *a->PixelPtr(x, y) = scale * ((x * 7 + y * 3) % 11 - 5) / 3.0;
    return a;
}

// An RGB picture of gradients.
Array2dVec3UInt8* Pixels(int width, int height)
{
    Array2dVec3UInt8* a = ArrayCreate<Array2dVec3UInt8>(width, height, 0, 0, nullptr, false);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
        {
            unsigned char* p = a->PixelPtr(x, y);
            p[0] = static_cast<unsigned char>(x * 255 / (width > 1 ? width - 1 : 1));
            p[1] = static_cast<unsigned char>(y * 255 / (height > 1 ? height - 1 : 1));
            p[2] = static_cast<unsigned char>((x * y * 13) & 255);
        }
    return a;
}

// A raw array file in the text form, which no writer produces: header line, values.
template <class T>
std::string TextRaw(const std::string& type, int width, int height, int nr, const std::vector<T>& values)
{
    return Written([&](IOBuffer* b) {
        b->Puts("version: 1, binary: 0, type: " + type + ", elemSize: 1, width: " + std::to_string(width) +
                ", height: " + std::to_string(height) + ", nr: " + std::to_string(nr));
        for (T v : values)
            b->NativeTypeWrite(v);
        b->Puts("");
    });
}

void RawSeeds()
{
    const std::string t = "ReadRawFuzz";
    std::unique_ptr<Array2dReal64> reals(Reals(5, 3, 1.0));
    std::unique_ptr<Array2dReal64> tall(Reals(4, 9, 1e-3));
    std::unique_ptr<Array2dVec3UInt8> pixels(Pixels(6, 4));
    Seed(t, "real64-plain", Written([&](IOBuffer* b) { WriteRaw(reals.get(), b, 1); }));
    Seed(t, "real64-zlib", Written([&](IOBuffer* b) { WriteRaw(tall.get(), b, 3); }));
    Seed(t, "uint8-plain", Written([&](IOBuffer* b) { WriteRaw(pixels.get(), b, 1); }));
    Seed(t, "uint8-zlib", Written([&](IOBuffer* b) { WriteRaw(pixels.get(), b, 3); }));
    std::unique_ptr<Array2dReal64> a(Reals(2, 2, 1.0)), c(Reals(2, 2, -2.0)), d(Reals(2, 2, 1e9));
    const std::vector<Array2dReal64*> list = {a.get(), c.get(), d.get()};
    Seed(t, "list-plain", Written([&](IOBuffer* b) { WriteRawList(list, b, 1); }));
    Seed(t, "list-zlib", Written([&](IOBuffer* b) { WriteRawList(list, b, 3); }));
    Seed(t, "real64-text", TextRaw<double>("real64", 3, 2, 1, {1.5, -2, 0, 1e10, 3.25, -0.125}));
    Seed(t, "uint64-text", TextRaw<unsigned long long>("uint64", 2, 2, 2, {1, 2, 3, 4, 5, 6, 7, 8}));
    Seed(t, "v2-header", Written([&](IOBuffer* b) {
             b->Puts("version: 2, binary: 0, type: real64, elemSize: 1, nr: 1");
         }));
}

// A baseline (or progressive) JPEG of width x height samples, components 1, 3 or 4.
std::string Jpeg(int width, int height, int components, J_COLOR_SPACE space, bool progressive)
{
    std::vector<unsigned char> samples(static_cast<size_t>(width) * height * components);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<unsigned char>((i * 37) ^ (i / 7));
    jpeg_compress_struct cinfo;
    jpeg_error_mgr jerr;
    cinfo.err = jpeg_std_error(&jerr);
    jpeg_create_compress(&cinfo);
    unsigned char* out = nullptr;
    unsigned long outSize = 0;
    jpeg_mem_dest(&cinfo, &out, &outSize);
    cinfo.image_width = static_cast<JDIMENSION>(width);
    cinfo.image_height = static_cast<JDIMENSION>(height);
    cinfo.input_components = components;
    cinfo.in_color_space = space;
    jpeg_set_defaults(&cinfo);
    jpeg_set_quality(&cinfo, 60, TRUE);
    if (progressive)
        jpeg_simple_progression(&cinfo);
    jpeg_start_compress(&cinfo, TRUE);
    while (cinfo.next_scanline < cinfo.image_height)
    {
        JSAMPROW row = samples.data() + static_cast<size_t>(cinfo.next_scanline) * width * components;
        jpeg_write_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg_destroy_compress(&cinfo);
    std::string bytes(reinterpret_cast<const char*>(out), outSize);
    free(out);
    return bytes;
}

void AppendPng(png_structp png, png_bytep data, png_size_t length)
{
    static_cast<std::string*>(png_get_io_ptr(png))->append(reinterpret_cast<const char*>(data), length);
}

// A PNG of a colour type and depth the system does not write; a palette of 4 entries.
std::string Png(int width, int height, int bitDepth, int colorType, bool interlaced)
{
    std::string bytes;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(png, &bytes, AppendPng, nullptr);
    png_set_IHDR(png, info, width, height, bitDepth, colorType,
                 interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_color palette[4] = {{0, 0, 0}, {255, 0, 0}, {0, 255, 0}, {10, 20, 250}};
    if (colorType == PNG_COLOR_TYPE_PALETTE)
        png_set_PLTE(png, info, palette, 4);
    png_write_info(png, info);
    const int passes = interlaced ? png_set_interlace_handling(png) : 1;
    const int channels = colorType == PNG_COLOR_TYPE_RGB ? 3 : colorType == PNG_COLOR_TYPE_RGB_ALPHA ? 4
                         : colorType == PNG_COLOR_TYPE_GRAY_ALPHA ? 2 : 1;
    const size_t rowBytes = (static_cast<size_t>(width) * channels * bitDepth + 7) / 8;
    std::vector<unsigned char> row(rowBytes);
    for (int y = 0; y < height * passes; ++y)
    {
        for (size_t i = 0; i < rowBytes; ++i)
            row[i] = static_cast<unsigned char>(colorType == PNG_COLOR_TYPE_PALETTE && bitDepth == 8 ? (i + y) % 4
                                                                                                     : i * 29 + y);
        png_write_row(png, row.data());
    }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return bytes;
}

void ImageSeeds()
{
    const std::string t = "ReadImageFuzz";
    std::unique_ptr<Array2dVec3UInt8> pixels(Pixels(7, 5));
    Seed(t, "rgb.png", Written([&](IOBuffer* b) { WritePng(pixels.get(), b); }));
    Seed(t, "rgb.raw", Written([&](IOBuffer* b) { WriteRaw(pixels.get(), b, 1); }));
    Seed(t, "rgb-zlib.raw", Written([&](IOBuffer* b) { WriteRaw(pixels.get(), b, 3); }));
    Seed(t, "rgb.jpg", Jpeg(9, 7, 3, JCS_RGB, false));
    Seed(t, "grey.jpg", Jpeg(8, 3, 1, JCS_GRAYSCALE, false));
    Seed(t, "cmyk.jpg", Jpeg(5, 4, 4, JCS_CMYK, false));
    Seed(t, "progressive.jpg", Jpeg(17, 9, 3, JCS_RGB, true));
    Seed(t, "palette.png", Png(6, 3, 8, PNG_COLOR_TYPE_PALETTE, false));
    Seed(t, "grey1.png", Png(11, 3, 1, PNG_COLOR_TYPE_GRAY, false));
    Seed(t, "rgba16.png", Png(3, 4, 16, PNG_COLOR_TYPE_RGB_ALPHA, false));
    Seed(t, "greyalpha.png", Png(4, 2, 8, PNG_COLOR_TYPE_GRAY_ALPHA, false));
    Seed(t, "interlaced.png", Png(5, 5, 8, PNG_COLOR_TYPE_RGB, true));
}

// Points of x, y, scale, orientation, cornerness and descriptors of `length` values.
void PointsAndDescriptors(int count, int length, std::unique_ptr<Array2dReal64>& points,
                          std::unique_ptr<Array2dReal64>& descriptors)
{
    points.reset(ArrayCreate<Array2dReal64>(5, count, 0, 0, nullptr, false));
    for (int i = 0; i < count; ++i)
    {
        double* p = points->PixelPtr(0, i);
        p[0] = 10.5 + i;
        p[1] = 3 * i + 1;
        p[2] = 1.2 + 0.5 * i;
        p[3] = 0.25 * i;
        p[4] = 1e-3 * i;
    }
    descriptors.reset(Reals(length, count, 0.1));
}

// The descriptor file forms, as both descriptor targets read them.
void DescriptorSeeds(const std::string& t)
{
    std::unique_ptr<Array2dReal64> points, descriptors;
    PointsAndDescriptors(4, 6, points, descriptors);
    Seed(t, "vesk1", Written([&](IOBuffer* b) { WriteVESK1ToBuffer(b, points.get(), descriptors.get(), "CIRCLE"); }));
    Seed(t, "bindesc1", Written([&](IOBuffer* b) {
             WriteBINDESC1ToBuffer(b, points.get(), descriptors.get(), "CIRCLE  ");
         }));
    Seed(t, "vesk1-points", Written([&](IOBuffer* b) { WriteVESK1ToBuffer(b, points.get(), nullptr, "CIRCLE"); }));
    Seed(t, "bindesc1-points", Written([&](IOBuffer* b) {
             WriteBINDESC1ToBuffer(b, points.get(), nullptr, "CIRCLE  ");
         }));
    std::unique_ptr<Array2dReal64> none, noDescriptors;
    PointsAndDescriptors(0, 3, none, noDescriptors);
    Seed(t, "vesk1-empty", Written([&](IOBuffer* b) { WriteVESK1ToBuffer(b, none.get(), noDescriptors.get(), "CIRCLE"); }));
}

// A version 1 raw array header and payload for the uint64 Quid column, which no
// writer of the system produces.
std::string QuidColumn(int count)
{
    std::vector<unsigned long long> words;
    for (int i = 0; i < 2 * count; ++i)
        words.push_back(i < count ? 0 : static_cast<unsigned long long>(i - count));
    std::string header = "version: 1, binary: 1, type: uint64, elemSize: 1, width: " + std::to_string(count) +
                         ", height: 2, nr: 1";
    header.resize(200, '\0');
    return header + std::string(reinterpret_cast<const char*>(words.data()), words.size() * 8);
}

// A table file of `count` words of `length` values, the new form or the old one.
std::string TableFile(int count, int length, bool oldForm)
{
    std::unique_ptr<Array2dReal64> words(Reals(length, count, 0.5));
    const std::string columns = QuidColumn(count) + Written([&](IOBuffer* b) { WriteRaw(words.get(), b, 1); });
    if (oldForm)
        return "Tavlin::Table\ntrained words\nobject\nvalues\n\n\n\n\n\n\n\n" + columns;
    std::string header = "tavlintableversion: 2, columns: 2, size: " + std::to_string(count) +
                         "\ncolumn1: object\ncolumn2: values\ninfo: trained words\n";
    header.resize(1024, '\0');
    return header + std::string(128, '#') + columns;
}

void TableSeeds()
{
    Seed("TableReadFuzz", "new-form", TableFile(3, 4, false));
    Seed("TableReadFuzz", "old-form", TableFile(2, 3, true));
    Seed("TableReadFuzz", "new-form-empty", TableFile(0, 2, false));
}

void CodebookSeeds()
{
    const std::string t = "ReadCodebookFuzz";
    std::unique_ptr<Array2dReal64> points, words;
    PointsAndDescriptors(3, 5, points, words);
    Seed(t, "raw", Written([&](IOBuffer* b) { WriteRaw(words.get(), b, 1); }));
    Seed(t, "raw-zlib", Written([&](IOBuffer* b) { WriteRaw(words.get(), b, 3); }));
    Seed(t, "vesk1", Written([&](IOBuffer* b) { WriteVESK1ToBuffer(b, points.get(), words.get(), "CIRCLE"); }));
    Seed(t, "bindesc1", Written([&](IOBuffer* b) { WriteBINDESC1ToBuffer(b, points.get(), words.get(), "CIRCLE  "); }));
    Seed(t, "table", TableFile(3, 5, false));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: %s <corpus dir>\n", argv[0]);
        return 2;
    }
    FuzzSupport::QuietLogging();
    gRoot = argv[1];
    RawSeeds();
    ImageSeeds();
    DescriptorSeeds("PointDescriptorIOFuzz");
    DescriptorSeeds("PointDescriptorTableFuzz");
    TableSeeds();
    CodebookSeeds();
    return 0;
}
