#include "core/array/ReadFile.h"

#include <memory>
#include <string>

#include "basis/FileName.h"
#include "basis/Report.h"
#include "core/array/ReadImage.h"
#include "core/array/ReadRaw.h"
#include "util/IOBuffer.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

template <class ArrayT>
void ReadFile(ArrayT*& dst, Persistency::File file)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Array.ReadFile");
    const std::string extension = FileNameExt(file.GetPath(), true);
    if (extension == "raw")
    {
        std::unique_ptr<Util::IOBuffer> buffer(file.GetReadBuffer());
        if (buffer)
            ReadRaw(dst, buffer.get());
        return;
    }
    if (extension == "jpg" || extension == "jpeg" || extension == "png")
    {
        ReadImage(dst, file);
        return;
    }
    TLOG_ERROR(sLog, "Don't know how to read " << file.GetPath());
}

template void ReadFile<Array2dVec3UInt8>(Array2dVec3UInt8*&, Persistency::File);

} // namespace Array
} // namespace Core
} // namespace Tavlin
