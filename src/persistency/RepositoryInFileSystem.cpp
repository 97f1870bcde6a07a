#include "persistency/RepositoryInFileSystem.h"

#include "basis/CmdOptions.h"
#include "basis/FileName.h"
#include "basis/Report.h"
#include "basis/String.h"

namespace Tavlin
{
namespace Persistency
{

namespace
{

log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Persistency.RepositoryInFileSystem");

std::string SearchPathOf(const std::string& database)
{
    if (database == "dot" || database == "." || database == "abs" || database == "direct")
        return std::string();
    CmdOptions& options = CmdOptions::GetInstance();
    if (database == "config")
    {
        std::string path = options.GetString("config", "");
        TLOG_INFO(sLog, "'data' for " << database << " is " << path);
        return path;
    }
    std::string path = options.GetString("data", "");
    StringReplaceAll(path, ":", ";");
    std::string prefix = options.GetString("data::" + database, "");
    if (prefix.empty() && !database.empty())
        prefix = "../" + FileNameBase(database);
    if (!prefix.empty())
    {
        path = prefix + ";" + path;
        TLOG_INFO(sLog, "'data' for " << database << " is " << path);
    }
    return path;
}

} // namespace

RepositoryInFileSystem& RepositoryInFileSystem::GetInstance()
{
    static RepositoryInFileSystem sInstance;
    return sInstance;
}

FileSystem* RepositoryInFileSystem::GetFS(const Locator& locator)
{
    // The Locator form, also for a FileLocator: all files of a database share it.
    std::string key = locator.Locator::ToString();
    std::lock_guard<std::mutex> lock(mMutex);
    auto found = mFileSystems.find(key);
    if (found != mFileSystems.end())
        return found->second.get();
    FileSystem* fs = new FileSystem(SearchPathOf(locator.GetDatabase()), locator.GetHost());
    mFileSystems[key].reset(fs);
    return fs;
}

File RepositoryInFileSystem::GetFile(const FileLocator& locator, bool write, bool silent)
{
    FileSystem* fs = GetFS(locator);
    const std::string& name = locator.GetName();
    if (write && !silent)
    {
        size_t cut = name.find_last_of("/\\");
        fs->MakeDir(cut == std::string::npos ? std::string() : name.substr(0, cut));
    }
    std::string path = fs->GetFilePath("", name, write, silent);
    return File(path, fs, write);
}

File RepositoryGetFile(const std::string& name, bool write, bool silent)
{
    return RepositoryInFileSystem::GetInstance().GetFile(FileLocator(name), write, silent);
}

} // namespace Persistency
} // namespace Tavlin
