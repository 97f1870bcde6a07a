#include "persistency/Locator.h"

namespace Tavlin
{
namespace Persistency
{

Locator::Locator(const std::string& protocolAndHost, const std::string& database) : mDatabase(database)
{
    size_t colon = protocolAndHost.find(':');
    if (colon == std::string::npos)
        return;
    mProtocol = protocolAndHost.substr(0, colon);
    mHost = protocolAndHost.substr(colon + 1);
}

std::string Locator::ToString() const
{
    return "Locator(" + mProtocol + "," + mHost + "," + mDatabase + ")";
}

std::ostream& operator<<(std::ostream& out, const Locator& locator)
{
    return out << locator.ToString();
}

} // namespace Persistency
} // namespace Tavlin
