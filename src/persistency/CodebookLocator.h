// Names a codebook file of one kind in a store: a Locator plus the codebook's base name
// and the kind of file ("codebook", "pca", "gmm-mean", "gmm-var", "gmm-weights",
// "diffstat"). A quantizer sets the kind of the locator it is given to what it loads.
#ifndef TAVLIN_PERSISTENCY_CODEBOOKLOCATOR_H
#define TAVLIN_PERSISTENCY_CODEBOOKLOCATOR_H

#include <ostream>
#include <string>

#include "persistency/Locator.h"

namespace Tavlin
{
namespace Persistency
{

class CodebookLocator : public Locator
{
public:
    CodebookLocator(const Locator& locator, const std::string& codebookName, const std::string& codebookKind);

    const std::string& GetCodebookName() const { return mCodebookName; }
    const std::string& GetCodebookKind() const { return mCodebookKind; }
    void SetCodebookName(const std::string& name) { mCodebookName = name; }
    void SetCodebookKind(const std::string& kind) { mCodebookKind = kind; }

    // "CodebookLocator(protocol,host,database,name,kind)".
    std::string ToString() const;

private:
    std::string mCodebookName;
    std::string mCodebookKind;
};

std::ostream& operator<<(std::ostream& out, const CodebookLocator& locator);

} // namespace Persistency
} // namespace Tavlin

#endif
