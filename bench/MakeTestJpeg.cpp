// MakeTestJpeg <width> <height> <file>: a textured colour photo stand-in (gradients,
// edges and blobs), so that detectors find a realistic number of points.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <jpeglib.h>

int main(int argc, char** argv)
{
    if (argc != 4)
    {
        std::fprintf(stderr, "usage: MakeTestJpeg <width> <height> <file>\n");
        return 1;
    }
    const int width = std::atoi(argv[1]);
    const int height = std::atoi(argv[2]);
    FILE* out = std::fopen(argv[3], "wb");
    if (width <= 0 || height <= 0 || !out)
    {
        std::fprintf(stderr, "MakeTestJpeg: bad size or file\n");
        return 1;
    }
    jpeg_compress_struct cinfo;
    jpeg_error_mgr jerr;
    cinfo.err = jpeg_std_error(&jerr);
    jpeg_create_compress(&cinfo);
    jpeg_stdio_dest(&cinfo, out);
    cinfo.image_width = width;
    cinfo.image_height = height;
    cinfo.input_components = 3;
    cinfo.in_color_space = JCS_RGB;
    jpeg_set_defaults(&cinfo);
    jpeg_set_quality(&cinfo, 90, TRUE);
    jpeg_start_compress(&cinfo, TRUE);
    std::vector<unsigned char> row(static_cast<size_t>(width) * 3);
    unsigned seed = 12345;
    while (cinfo.next_scanline < cinfo.image_height)
    {
        const int y = static_cast<int>(cinfo.next_scanline);
        for (int x = 0; x < width; ++x)
        {
            seed = seed * 1103515245u + 12345u;
            const double blobs = 60.0 * std::sin(x * 0.05) * std::cos(y * 0.07);
            const int checker = ((x / 37 + y / 29) % 2) * 70;
            const int noise = static_cast<int>((seed >> 16) % 9);
            row[3 * x + 0] = static_cast<unsigned char>(std::abs(static_cast<int>(90 + blobs) + checker + noise) % 256);
            row[3 * x + 1] = static_cast<unsigned char>((x * 255 / width + checker / 2 + noise) % 256);
            row[3 * x + 2] = static_cast<unsigned char>((y * 255 / height + static_cast<int>(blobs) + 128) % 256);
        }
        JSAMPROW pointer = row.data();
        jpeg_write_scanlines(&cinfo, &pointer, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg_destroy_compress(&cinfo);
    std::fclose(out);
    return 0;
}
