// A data directory holding "Codebooks", for the tests of what quantizers load through
// the codebook repository. Each store has a database name of its own, as file systems
// are made once per locator.
#ifndef LUMISK_TESTS_SUPPORT_CODEBOOKSTORE_H
#define LUMISK_TESTS_SUPPORT_CODEBOOKSTORE_H

#include <string>

#include "persistency/CodebookLocator.h"
#include "support/TestSupport.h"

namespace TestSupport
{

class CodebookStore
{
public:
    // Resets the options to a search path that leads the database to this directory.
    CodebookStore();

    std::string Codebooks() const { return mDir.File("Codebooks"); }
    // Writes `bytes` as Codebooks/<name>.
    void Put(const std::string& name, const std::string& bytes) const;
    Tavlin::Persistency::CodebookLocator Locate(const std::string& name, const std::string& kind = "codebook",
                                                const std::string& protocol = "file:") const;
    const std::string& Database() const { return mDatabase; }

private:
    TempDir mDir;
    std::string mDatabase;
};

} // namespace TestSupport

#endif
