// Image decoding on arbitrary bytes, the way the driver reads an input image: the
// bytes stand in a file, whose content picks the JPEG, PNG or raw array decoder.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "FuzzSupport.h"
#include "core/array/ReadImage.h"
#include "persistency/File.h"
#include "persistency/FileSystem.h"

using namespace Tavlin::Core::Array;
using Tavlin::Persistency::File;
using Tavlin::Persistency::FileSystem;

namespace
{

std::string gDir;
FileSystem* gFileSystem = nullptr;

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::QuietLogging();
    char pattern[] = "/tmp/lumisk-fuzz-XXXXXX";
    if (!mkdtemp(pattern))
        std::abort();
    gDir = pattern;
    gFileSystem = new FileSystem(gDir, "");
    // The directory goes with the process, also after a finding.
    std::atexit([] {
        std::remove((gDir + "/input.jpg").c_str());
        rmdir(gDir.c_str());
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string path = gDir + "/input.jpg";
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file || std::fwrite(data, 1, size, file) != size)
        std::abort();
    std::fclose(file);

    Array2dVec3UInt8* image = nullptr;
    ReadImage(image, File(path, gFileSystem, false));
    delete image;
    return 0;
}
