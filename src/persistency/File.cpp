#include "persistency/File.h"

#include "basis/Report.h"
#include "persistency/FileSystem.h"

namespace Tavlin
{
namespace Persistency
{

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Persistency.File");
}

Util::IOBuffer* File::GetReadBuffer() const
{
    if (!Valid())
    {
        TLOG_ERROR(sLog, "Can't get read buffer for invalid file");
        return nullptr;
    }
    return mFS->GetIOBuffer(mPath, true, false, "", 0, true);
}

Util::IOBuffer* File::GetWriteBuffer() const
{
    if (!Valid())
    {
        TLOG_ERROR(sLog, "Can't get write buffer for invalid file");
        return nullptr;
    }
    if (!mWritable)
    {
        TLOG_ERROR(sLog, "Can't get write buffer for non-writable file");
        return nullptr;
    }
    return mFS->GetIOBuffer(mPath, false, false, "tmp", 0, true);
}

} // namespace Persistency
} // namespace Tavlin
