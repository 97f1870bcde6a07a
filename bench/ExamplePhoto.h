// The image the descriptor benchmarks run on: the 640 x 480 example photo, decoded
// once, or a synthetic image of that size when the photo can not be read.
#ifndef LUMISK_BENCH_EXAMPLEPHOTO_H
#define LUMISK_BENCH_EXAMPLEPHOTO_H

#include <cmath>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "core/array/ReadJpgFromMemory.h"

inline std::unique_ptr<Tavlin::Core::Array::Array2dVec3UInt8> LoadExamplePhoto()
{
    using Tavlin::Core::Array::Array2dVec3UInt8;
    std::string path = __FILE__;
    path = path.substr(0, path.rfind('/')) + "/../examples/astronaut.jpg";
    std::ifstream in(path, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    Array2dVec3UInt8* image = nullptr;
    if (!bytes.empty())
        Tavlin::Core::Array::ReadJpgFromMemory(image, bytes.data(), static_cast<int>(bytes.size()));
    if (image)
        return std::unique_ptr<Array2dVec3UInt8>(image);
    image = new Array2dVec3UInt8(640, 480, 0, 0);
    for (long long y = 0; y < 480; ++y)
        for (long long x = 0; x < 640; ++x)
            for (int c = 0; c < 3; ++c)
                image->PixelPtr(x, y)[c] =
                    static_cast<unsigned char>(127.5 + 60 * std::sin(0.05 * x * (c + 1)) + 60 * std::cos(0.07 * y + c));
    return std::unique_ptr<Array2dVec3UInt8>(image);
}

// The photo, decoded at the first call.
inline Tavlin::Core::Array::Array2dVec3UInt8* ExamplePhoto()
{
    static std::unique_ptr<Tavlin::Core::Array::Array2dVec3UInt8> image = LoadExamplePhoto();
    return image.get();
}

#endif
