// Sends a request for a stored item to the repository that serves the locator's
// protocol: "file" and "dataServer" to the file repository (they differ only in the
// FileSystem the locator leads to), "mapi" to a repository that is not implemented.
// Any other protocol is refused with a message. The caller owns what Get returns.
#ifndef TAVLIN_PERSISTENCY_REPOSITORYDISPATCHER_H
#define TAVLIN_PERSISTENCY_REPOSITORYDISPATCHER_H

#include <string>

#include "basis/Report.h"

namespace Tavlin
{
namespace Persistency
{

// The store that this build cannot reach: every request is refused with a message.
template <class LocatorT, class ResultT>
class RepositoryNotImplemented
{
public:
    ResultT* Get(const LocatorT& locator)
    {
        static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Persistency.RepositoryNotImplemented");
        TLOG_ERROR(sLog, "Get: Not implemented for " << locator);
        return nullptr;
    }
};

template <class LocatorT, class ResultT, class FileRepositoryT,
          class MapiRepositoryT = RepositoryNotImplemented<LocatorT, ResultT>>
class RepositoryDispatcher
{
public:
    // False, with a message for an unknown protocol, when nothing is stored there.
    bool Exists(const LocatorT& locator)
    {
        const std::string& protocol = locator.GetProtocol();
        if (protocol != "file" && protocol != "dataServer")
        {
            TLOG_ERROR(Log(), "Exists: unknown protocol: [" << protocol << "] in " << locator);
            return false;
        }
        return FileRepositoryT().Exists(locator);
    }

    // Null after a logged error when the protocol is not served or nothing was found.
    ResultT* Get(const LocatorT& locator)
    {
        const std::string& protocol = locator.GetProtocol();
        if (protocol == "file" || protocol == "dataServer")
            return FileRepositoryT().Get(locator);
        if (protocol == "mapi")
            return MapiRepositoryT().Get(locator);
        TLOG_ERROR(Log(), "Get: unknown protocol: [" << protocol << "] in " << locator);
        return nullptr;
    }

private:
    static log4cpp::Category& Log()
    {
        static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Persistency.RepositoryDispatcher");
        return sLog;
    }
};

} // namespace Persistency
} // namespace Tavlin

#endif
