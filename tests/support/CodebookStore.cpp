#include "support/CodebookStore.h"

#include <sys/stat.h>

#include "basis/CmdOptions.h"

namespace TestSupport
{

CodebookStore::CodebookStore()
{
    static int count = 0;
    mDatabase = "store" + std::to_string(count++);
    Tavlin::CmdOptions& options = Tavlin::CmdOptions::GetInstance();
    options.Reset();
    options.AddOption(0, "data", "path", "");
    options.AddOption(0, "override", "", "1");
    options.AddOption(0, ("data::" + mDatabase).c_str(), "path", mDir.Path().c_str());
    mkdir(Codebooks().c_str(), 0755);
}

void CodebookStore::Put(const std::string& name, const std::string& bytes) const
{
    WriteTextFile(mDir.File("Codebooks/" + name), bytes);
}

Tavlin::Persistency::CodebookLocator CodebookStore::Locate(const std::string& name, const std::string& kind,
                                                           const std::string& protocol) const
{
    return Tavlin::Persistency::CodebookLocator(Tavlin::Persistency::Locator(protocol, mDatabase), name, kind);
}

} // namespace TestSupport
