#include "core/array/ReadImage.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <sstream>
#include <string>

#include "basis/FileName.h"
#include "basis/Report.h"
#include "core/array/ReadJpgFromMemory.h"
#include "core/array/ReadPngFromMemory.h"
#include "core/array/ReadRaw.h"
#include "util/IOBuffer.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

namespace
{

// Bytes that the magic tests and the dump of an unknown header look at.
const int sIdentityBytes = 14;

} // namespace

int ReadImageIdentity(char* buffer, int size)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Array.ReadImageIdentity");
    if (size < sIdentityBytes)
    {
        TLOG_ERROR(sLog, "Buffer size too small (" << size << ") to identify file");
        return ImageIdentityUnknown;
    }
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(buffer);
    if (bytes[0] == 'v' && std::memcmp(buffer + 1, "ersion: ", 8) == 0)
        return ImageIdentityRaw;
    if (bytes[0] == 137 && std::memcmp(buffer + 1, "PNG\r\n\032\n", 7) == 0)
        return ImageIdentityPng;
    // The marker behind the start of image (JFIF, Exif or other) does not matter.
    if (bytes[0] == 255 && bytes[1] == 216 && bytes[2] == 255)
        return ImageIdentityJpg;

    std::ostringstream line;
    for (int i = 0; i < sIdentityBytes; ++i)
        line << " " << i << ":" << static_cast<int>(static_cast<signed char>(buffer[i]));
    TLOG_ERROR(sLog, "Unknown image file format!" << line.str());
    std::ostringstream dump;
    dump << "header:\n";
    for (int i = 0; i < sIdentityBytes; ++i)
        dump << "header[" << i << "] = 0x" << std::hex << static_cast<int>(bytes[i]) << std::dec << " = "
             << static_cast<int>(static_cast<signed char>(buffer[i])) << " = " << buffer[i] << "\n";
    TLOG_INFO(sLog, dump.str());
    return ImageIdentityUnknown;
}

template <class ArrayT>
void ReadImage(ArrayT*& dst, Persistency::File file)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Array.ReadImage");
    std::unique_ptr<Util::IOBuffer> buffer(file.GetReadBuffer());
    if (!buffer)
        return;

    const int64_t size = buffer->Size();
    std::unique_ptr<char[]> block(size >= 0 ? new (std::nothrow) char[size] : nullptr);
    if (!block || buffer->Read(block.get(), size) < size)
    {
        TLOG_ERROR(sLog, "Buffer read failed");
        return;
    }

    const std::string& name = file.GetPath();
    // Larger files than an int can count are no images; they fail the magic tests.
    const int blockSize = size <= INT32_MAX ? static_cast<int>(size) : 0;
    const int identity = ReadImageIdentity(block.get(), blockSize);
    const std::string extension = FileNameExt(name, true);
    switch (identity)
    {
    case ImageIdentityPng:
        if (extension == "jpg" || extension == "jpeg")
            TLOG_WARN(sLog, "File seems to contain a PNG instead of a JPG image");
        ReadPngFromMemory(dst, block.get(), blockSize);
        break;
    case ImageIdentityJpg:
        if (extension == "png")
            TLOG_WARN(sLog, "File seems to contain a JPG instead of a PNG image");
        ReadJpgFromMemory(dst, block.get(), blockSize);
        break;
    case ImageIdentityRaw:
        buffer->Seek(0, 0);
        ReadRaw(dst, buffer.get());
        break;
    default:
        TLOG_ERROR(sLog, "Don't understand " << name);
        break;
    }
}

template void ReadImage<Array2dVec3UInt8>(Array2dVec3UInt8*&, Persistency::File);

} // namespace Array
} // namespace Core
} // namespace Tavlin
