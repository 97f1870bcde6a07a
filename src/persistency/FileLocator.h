// A Locator plus the name of one file in it. The name is stored as given; no part of
// it is taken for a protocol.
#ifndef TAVLIN_PERSISTENCY_FILELOCATOR_H
#define TAVLIN_PERSISTENCY_FILELOCATOR_H

#include <ostream>
#include <string>

#include "persistency/Locator.h"

namespace Tavlin
{
namespace Persistency
{

class FileLocator : public Locator
{
public:
    FileLocator(const Locator& locator, const std::string& name);
    // The name in Locator("file:", "direct"): relative to the current directory.
    explicit FileLocator(const std::string& name);

    const std::string& GetName() const { return mName; }

    // "FileLocator(protocol,host,database,name)".
    std::string ToString() const;

private:
    std::string mName;
};

std::ostream& operator<<(std::ostream& out, const FileLocator& locator);

} // namespace Persistency
} // namespace Tavlin

#endif
