#include "persistency/CodebookRepositoryInFile.h"

#include <memory>

#include "basis/Report.h"
#include "core/array/ReadRaw.h"
#include "core/feature/codebook/CodebookMatrices.h"
#include "core/feature/codebook/ReadCodebook.h"
#include "persistency/File.h"
#include "persistency/FileSystem.h"
#include "persistency/RepositoryInFileSystem.h"
#include "util/IOBuffer.h"

namespace Tavlin
{
namespace Persistency
{

namespace
{

log4cpp::Category& Log()
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Persistency.CodebookRepositoryInFile");
    return sLog;
}

const char* const sDirectory = "Codebooks";

} // namespace

std::string CodebookRepositoryInFile::GetFilename(const CodebookLocator& locator)
{
    return locator.GetCodebookName() + "." + locator.GetCodebookKind() + ".raw";
}

std::string CodebookRepositoryInFile::GetFilenameOld(const CodebookLocator& locator)
{
    if (locator.GetCodebookKind() == "codebook")
        return locator.GetCodebookName() + ".tab";
    if (locator.GetCodebookKind() == "pca")
        return locator.GetCodebookName() + ".tab.pca.raw";
    return "no_old_name";
}

Core::Matrix::MatList* CodebookRepositoryInFile::Get(const CodebookLocator& locator)
{
    FileSystem* fs = RepositoryInFileSystem::GetInstance().GetFS(locator);
    std::string path = fs ? fs->GetFilePath(sDirectory, GetFilename(locator), false, true) : std::string();
    if (!path.empty())
    {
        std::unique_ptr<Core::Matrix::MatList> list(new Core::Matrix::MatList());
        std::unique_ptr<Util::IOBuffer> buffer(File(path, fs, false).GetReadBuffer());
        if (!buffer || !Core::Array::ReadRawList(*list, buffer.get()))
        {
            // Half-read matrices are no codebook: the caller sees an empty list.
            TLOG_ERROR(Log(), "Get: could not read " << path);
            Core::Feature::DeleteMatList(list.release());
            list.reset(new Core::Matrix::MatList());
        }
        return list.release();
    }

    path = fs ? fs->GetFilePath(sDirectory, GetFilenameOld(locator), false, false) : std::string();
    std::unique_ptr<Util::IOBuffer> buffer(File(path, fs, false).GetReadBuffer());
    if (!buffer)
    {
        TLOG_ERROR(Log(), "Get: IOBuffer is 0");
        return nullptr;
    }
    Core::Matrix::MatList* list = new Core::Matrix::MatList();
    if (Core::Array::Array2dReal64* matrix = Core::Feature::ReadCodebookFromBuffer(buffer.get()))
        list->push_back(matrix);
    return list;
}

bool CodebookRepositoryInFile::Exists(const CodebookLocator& locator)
{
    FileSystem* fs = RepositoryInFileSystem::GetInstance().GetFS(locator);
    if (!fs)
        return false;
    if (!fs->GetFilePath(sDirectory, GetFilename(locator), false, true).empty())
        return true;
    return !fs->GetFilePath(sDirectory, GetFilenameOld(locator), false, true).empty();
}

} // namespace Persistency
} // namespace Tavlin
