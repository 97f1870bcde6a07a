#include "persistency/FileLocator.h"

namespace Tavlin
{
namespace Persistency
{

FileLocator::FileLocator(const Locator& locator, const std::string& name) : Locator(locator), mName(name)
{
}

FileLocator::FileLocator(const std::string& name) : Locator("file:", "direct"), mName(name)
{
}

std::string FileLocator::ToString() const
{
    return "FileLocator(" + GetProtocol() + "," + GetHost() + "," + GetDatabase() + "," + mName + ")";
}

std::ostream& operator<<(std::ostream& out, const FileLocator& locator)
{
    return out << locator.ToString();
}

} // namespace Persistency
} // namespace Tavlin
