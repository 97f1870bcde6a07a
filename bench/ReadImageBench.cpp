// JPEG decoding of the 640 x 480 example photo: ReadJpgFromMemory against a bare
// libjpeg decode of the same bytes (jpeg_mem_src, one scanline a call into a buffer
// allocated once). Argument 0 is the photo as it is (YCbCr), 1 the same photo stored
// as grey, where the decoder adds its in-place expansion to RGB. "IntoArray" reuses
// one array; the plain variant creates and deletes the array each time, as the
// driver does.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <jpeglib.h>

#include "core/array/ArrayFactories.h"
#include "core/array/ReadJpgFromMemory.h"

using namespace Tavlin::Core::Array;

namespace
{

std::string ExamplePath()
{
    std::string here = __FILE__;
    return here.substr(0, here.rfind('/')) + "/../examples/astronaut.jpg";
}

std::string ReadBytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Decodes bytes with libjpeg's defaults into a caller's buffer of width x height x
// components; returns the components, 0 for a buffer too small.
int BareDecode(const std::string& bytes, std::vector<unsigned char>& pixels)
{
    jpeg_decompress_struct cinfo;
    jpeg_error_mgr jerr;
    cinfo.err = jpeg_std_error(&jerr);
    jpeg_create_decompress(&cinfo);
    jpeg_mem_src(&cinfo, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    jpeg_read_header(&cinfo, TRUE);
    jpeg_start_decompress(&cinfo);
    const size_t rowBytes = static_cast<size_t>(cinfo.output_width) * cinfo.output_components;
    const int components = cinfo.output_components;
    if (pixels.size() < rowBytes * cinfo.output_height)
    {
        jpeg_destroy_decompress(&cinfo);
        return 0;
    }
    while (cinfo.output_scanline < cinfo.output_height)
    {
        JSAMPROW row = pixels.data() + cinfo.output_scanline * rowBytes;
        jpeg_read_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_decompress(&cinfo);
    jpeg_destroy_decompress(&cinfo);
    return components;
}

// The photo re-encoded by libjpeg as one grey component.
std::string GreyVersion(const std::string& colourJpeg)
{
    std::vector<unsigned char> rgb(640 * 480 * 3);
    if (BareDecode(colourJpeg, rgb) != 3)
        return std::string();
    jpeg_compress_struct cinfo;
    jpeg_error_mgr jerr;
    cinfo.err = jpeg_std_error(&jerr);
    jpeg_create_compress(&cinfo);
    unsigned char* out = nullptr;
    unsigned long outSize = 0;
    jpeg_mem_dest(&cinfo, &out, &outSize);
    cinfo.image_width = 640;
    cinfo.image_height = 480;
    cinfo.input_components = 3;
    cinfo.in_color_space = JCS_RGB;
    jpeg_set_defaults(&cinfo);
    jpeg_set_colorspace(&cinfo, JCS_GRAYSCALE);
    jpeg_set_quality(&cinfo, 90, TRUE);
    jpeg_start_compress(&cinfo, TRUE);
    while (cinfo.next_scanline < cinfo.image_height)
    {
        JSAMPROW row = rgb.data() + cinfo.next_scanline * 640 * 3;
        jpeg_write_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg_destroy_compress(&cinfo);
    std::string bytes(reinterpret_cast<const char*>(out), outSize);
    std::free(out);
    return bytes;
}

const std::string& Photo(int grey)
{
    static const std::string colour = ReadBytes(ExamplePath());
    static const std::string greyPhoto = colour.empty() ? std::string() : GreyVersion(colour);
    return grey ? greyPhoto : colour;
}

void BM_LibjpegBare(benchmark::State& state)
{
    std::string bytes = Photo(static_cast<int>(state.range(0)));
    if (bytes.empty())
    {
        state.SkipWithError("examples/astronaut.jpg not found");
        return;
    }
    std::vector<unsigned char> pixels(640 * 480 * 3);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(BareDecode(bytes, pixels));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * 640 * 480);
}
BENCHMARK(BM_LibjpegBare)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_ReadJpgFromMemory(benchmark::State& state)
{
    std::string bytes = Photo(static_cast<int>(state.range(0)));
    if (bytes.empty())
    {
        state.SkipWithError("examples/astronaut.jpg not found");
        return;
    }
    for (auto _ : state)
    {
        Array2dVec3UInt8* image = nullptr;
        ReadJpgFromMemory(image, &bytes[0], static_cast<int>(bytes.size()));
        benchmark::DoNotOptimize(image);
        benchmark::ClobberMemory();
        delete image;
    }
    state.SetItemsProcessed(state.iterations() * 640 * 480);
}
BENCHMARK(BM_ReadJpgFromMemory)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_ReadJpgFromMemoryIntoArray(benchmark::State& state)
{
    std::string bytes = Photo(static_cast<int>(state.range(0)));
    if (bytes.empty())
    {
        state.SkipWithError("examples/astronaut.jpg not found");
        return;
    }
    std::unique_ptr<Array2dVec3UInt8> array(ArrayCreate<Array2dVec3UInt8>(640, 480, 0, 0, nullptr, false));
    for (auto _ : state)
    {
        Array2dVec3UInt8* image = array.get();
        ReadJpgFromMemory(image, &bytes[0], static_cast<int>(bytes.size()));
        benchmark::DoNotOptimize(image);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * 640 * 480);
}
BENCHMARK(BM_ReadJpgFromMemoryIntoArray)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
