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

#include "FuzzSupport.h"
#include "core/array/ArrayFactories.h"
#include "core/array/WriteRaw.h"
#include "util/IOBuffer.h"

using namespace Tavlin::Core::Array;
using Tavlin::Util::IOBuffer;

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
    return 0;
}
