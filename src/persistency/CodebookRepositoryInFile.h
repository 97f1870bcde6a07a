// Finds a named codebook file of one kind under the directory "Codebooks" of the
// locator's file system. The file's name is "<name>.<kind>.raw", a raw file that may
// hold a list of matrices; failing that, the old name ("<name>.tab" for a codebook,
// "<name>.tab.pca.raw" for a projection, "no_old_name" for any other kind), a single
// codebook in any form ReadCodebookFromBuffer reads. Nothing is cached.
#ifndef TAVLIN_PERSISTENCY_CODEBOOKREPOSITORYINFILE_H
#define TAVLIN_PERSISTENCY_CODEBOOKREPOSITORYINFILE_H

#include <string>

#include "core/matrix/MatList.h"
#include "persistency/CodebookLocator.h"
#include "persistency/RepositoryDispatcher.h"

namespace Tavlin
{
namespace Persistency
{

class CodebookRepositoryInFile
{
public:
    // All matrices of the file, owned by the caller with the list. An existing file
    // that cannot be read gives an empty list and a message; a missing file under both
    // names gives null, after the messages of the old name's lookup and "Get: IOBuffer
    // is 0".
    Core::Matrix::MatList* Get(const CodebookLocator& locator);

    // True when a file under the new or the old name can be found; nothing is logged.
    bool Exists(const CodebookLocator& locator);

    static std::string GetFilename(const CodebookLocator& locator);
    static std::string GetFilenameOld(const CodebookLocator& locator);
};

typedef RepositoryDispatcher<CodebookLocator, Core::Matrix::MatList, CodebookRepositoryInFile> CodebookRepository;

} // namespace Persistency
} // namespace Tavlin

#endif
