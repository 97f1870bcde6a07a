// The process-wide map from locators to file systems, and the entry point through
// which the system turns a file name into a File. The database of a locator picks the
// search path: "direct" (and "dot", ".", "abs") the empty one, "config" the option
// `config`, any other name the option `data` (":" separated) behind a prefix taken
// from the option "data::<database>" or, by default, "../<database base name>".
// File systems are made on first use and live until exit.
#ifndef TAVLIN_PERSISTENCY_REPOSITORYINFILESYSTEM_H
#define TAVLIN_PERSISTENCY_REPOSITORYINFILESYSTEM_H

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "persistency/File.h"
#include "persistency/FileLocator.h"
#include "persistency/FileSystem.h"
#include "persistency/Locator.h"

namespace Tavlin
{
namespace Persistency
{

class RepositoryInFileSystem
{
public:
    static RepositoryInFileSystem& GetInstance();

    // One file system per locator text form, whatever the file name.
    FileSystem* GetFS(const Locator& locator);

    // Resolves the locator's name. Asking for a writable file (not silent) creates its
    // directories. The File is invalid when resolving failed.
    File GetFile(const FileLocator& locator, bool write, bool silent);

private:
    RepositoryInFileSystem() = default;
    RepositoryInFileSystem(const RepositoryInFileSystem&) = delete;
    RepositoryInFileSystem& operator=(const RepositoryInFileSystem&) = delete;

    // Files are resolved on any thread; a file system once made never moves.
    std::mutex mMutex;
    std::map<std::string, std::unique_ptr<FileSystem>> mFileSystems;
};

// GetFile of FileLocator(name): the name relative to the current directory.
File RepositoryGetFile(const std::string& name, bool write, bool silent);

} // namespace Persistency
} // namespace Tavlin

#endif
