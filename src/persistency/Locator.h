// Names a store of files: a protocol, an optional server ("machine:port") and a
// database, which selects the search path (see RepositoryInFileSystem::GetFS). All
// files of one locator share one FileSystem, so the text form carries no file name.
#ifndef TAVLIN_PERSISTENCY_LOCATOR_H
#define TAVLIN_PERSISTENCY_LOCATOR_H

#include <ostream>
#include <string>

namespace Tavlin
{
namespace Persistency
{

class Locator
{
public:
    // protocolAndHost is split at its first ":" into protocol and host; without a ":"
    // both stay empty. Locator("file:", "direct") is the common case.
    Locator(const std::string& protocolAndHost, const std::string& database);
    virtual ~Locator() = default;

    const std::string& GetProtocol() const { return mProtocol; }
    const std::string& GetHost() const { return mHost; }
    const std::string& GetDatabase() const { return mDatabase; }

    // "Locator(protocol,host,database)": the key of the file system.
    std::string ToString() const;

private:
    std::string mProtocol;
    std::string mHost;
    std::string mDatabase;
};

std::ostream& operator<<(std::ostream& out, const Locator& locator);

} // namespace Persistency
} // namespace Tavlin

#endif
