// JPEG and PNG files made in memory with plain libjpeg and libpng calls, and the same
// libraries' own decoding of such files, for comparing the system's decoders with
// what the libraries deliver on their own. The libraries' default error handling
// applies: a failure ends the test program with the library's message.
#ifndef LUMISK_TESTS_SUPPORT_IMAGECODECS_H
#define LUMISK_TESTS_SUPPORT_IMAGECODECS_H

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <jpeglib.h>

#include "core/array/Array2dTem.h"

namespace TestSupport
{

// Interleaved 8-bit samples, `components` a pixel, rows without padding.
struct PlainImage
{
    int width = 0;
    int height = 0;
    int components = 0;
    std::vector<unsigned char> pixels;

    const unsigned char* Pixel(int x, int y) const
    {
        return pixels.data() + (static_cast<size_t>(y) * width + x) * components;
    }
};

// Adobe marker written as libjpeg decides for the colour space, or forced off or on.
enum class AdobeMarker
{
    Default,
    Off,
    On
};

// Compresses `image`, whose components match inSpace (JCS_GRAYSCALE 1, JCS_RGB 3,
// JCS_CMYK 4), into a baseline JPEG stored in fileSpace.
std::string EncodeJpeg(const PlainImage& image, J_COLOR_SPACE inSpace, J_COLOR_SPACE fileSpace, int quality,
                       AdobeMarker adobe = AdobeMarker::Default);

// libjpeg's own decoding through jpeg_mem_src, default parameters, except that
// outSpace replaces the output colour space unless it is JCS_UNKNOWN.
PlainImage DecodeJpeg(const std::string& bytes, J_COLOR_SPACE outSpace = JCS_UNKNOWN);

// A PNG of the given colour type and bit depth; `rows` are the packed rows as the
// format stores them (16-bit samples big-endian, small depths packed from the high
// bit). palette and transparency go into PLTE and tRNS when not empty.
std::string EncodePng(const std::vector<unsigned char>& rows, int width, int height, int bitDepth, int colorType,
                      bool interlaced, const std::vector<unsigned char>& paletteRgb = {},
                      const std::vector<unsigned char>& transparency = {});

// libpng's own decoding to 8-bit RGB: png_read_png with expansion, 16-bit stripping,
// alpha stripping and grey to RGB.
PlainImage DecodePngToRgb(const std::string& bytes);

// Every pixel of image equals expected's RGB pixel, or its grey value on all three
// channels when expected has one component.
::testing::AssertionResult SameRgb(const Tavlin::Core::Array::Array2dVec3UInt8* image, const PlainImage& expected);

// The system's decoders ReadJpgFromMemory and ReadPngFromMemory on a copy of bytes that
// ends where an inaccessible page begins: reading past the block crashes at once.
std::unique_ptr<Tavlin::Core::Array::Array2dVec3UInt8> ReadJpgGuarded(const std::string& bytes);
std::unique_ptr<Tavlin::Core::Array::Array2dVec3UInt8> ReadPngGuarded(const std::string& bytes);

// A raw array file: the header text padded with zeros to 200 bytes, then the payload.
std::string RawArrayFileBytes(const std::string& header, const std::string& payload = "");

// A textured test picture: smooth gradients, edges and a little noise.
PlainImage MakeTexturedImage(int width, int height, int components, unsigned seed);

// The textured colour picture as a JPEG file of quality 90 at `path`.
void WriteJpegPhoto(const std::string& path, int width, int height, unsigned seed);

} // namespace TestSupport

#endif
