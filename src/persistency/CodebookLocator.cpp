#include "persistency/CodebookLocator.h"

namespace Tavlin
{
namespace Persistency
{

CodebookLocator::CodebookLocator(const Locator& locator, const std::string& codebookName,
                                 const std::string& codebookKind)
    : Locator(locator), mCodebookName(codebookName), mCodebookKind(codebookKind)
{
}

std::string CodebookLocator::ToString() const
{
    return "CodebookLocator(" + GetProtocol() + "," + GetHost() + "," + GetDatabase() + "," + mCodebookName + "," +
           mCodebookKind + ")";
}

std::ostream& operator<<(std::ostream& out, const CodebookLocator& locator)
{
    return out << locator.ToString();
}

} // namespace Persistency
} // namespace Tavlin
