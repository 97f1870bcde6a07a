#include "util/ChannelAuthorization.h"

#include <cstdlib>
#include <vector>

#include "basis/FileName.h"
#include "basis/Report.h"
#include "basis/String.h"

namespace Tavlin
{
namespace Util
{

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Util.ChannelAuthorization");
}

ChannelAuthorization::ChannelAuthorization(const std::string& passwordFile) : mValid(false)
{
    if (passwordFile.empty())
    {
        TLOG_ERROR(sLog, "Need passwordfile");
        return;
    }
    std::string name = passwordFile;
    if (!FileExists(name))
    {
        const char* root = std::getenv("TAVLINROOT");
        name = root ? std::string(root) + "/" + passwordFile : std::string();
        if (name.empty() || !FileExists(name))
        {
            TLOG_ERROR(sLog, "Unable to open passwordfile " << passwordFile);
            return;
        }
    }
    std::vector<std::string> lines;
    FileReadString(lines, name);
    if (lines.size() != 2)
    {
        TLOG_ERROR(sLog, "passwordfile should contain 2 lines");
        return;
    }
    bool haveRead = false, haveWrite = false;
    for (const std::string& line : lines)
    {
        if (StringStartsWith(line, "read="))
        {
            mReadPassword = line.substr(5);
            haveRead = true;
        }
        else if (StringStartsWith(line, "write="))
        {
            mWritePassword = line.substr(6);
            haveWrite = true;
        }
        else
        {
            TLOG_ERROR(sLog, "wrong format password file");
            return;
        }
    }
    // Two lines of the same role leave the other password unset.
    if (!haveRead || !haveWrite)
    {
        TLOG_ERROR(sLog, "wrong format password file");
        return;
    }
    mValid = true;
}

} // namespace Util
} // namespace Tavlin
