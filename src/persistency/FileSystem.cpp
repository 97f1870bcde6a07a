#include "persistency/FileSystem.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdlib>
#include <memory>

#include "basis/CmdOptions.h"
#include "basis/FileName.h"
#include "basis/Report.h"
#include "basis/String.h"
#include "basis/StringList.h"
#include "util/Channel.h"
#include "util/ChannelPool.h"
#include "util/IOBufferChannel.h"
#include "util/IOBufferFile.h"

namespace Tavlin
{
namespace Persistency
{

namespace
{

log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Persistency.FileSystem");
log4cpp::Category& sLogFile = log4cpp::Category::getInstance("Tavlin.Util.IOBufferFile");

} // namespace

FileSystem::FileSystem(const std::string& searchPath, const std::string& server)
    : mOverride(false), mSearchPath(searchPath), mServer(server), mChannel(nullptr)
{
    StringList entries(searchPath, ';');
    mPaths.assign(entries.begin(), entries.end());
    CmdOptions& options = CmdOptions::GetInstance();
    if (!mServer.empty())
    {
        TLOG_DEBUG(sLog, "Retrieving channel to server " << mServer);
        std::string passwordFile = options.GetString("passwordFile", "");
        size_t colon = mServer.find(':');
        std::string machine = mServer.substr(0, colon);
        int port = colon == std::string::npos ? 0 : atoi(mServer.substr(colon + 1));
        mChannel = Util::ChannelPool::Instance().Get(machine, port, mServer, passwordFile, true);
    }
    mOverride = options.GetBool("override");
}

namespace
{

// The text of a reply, or "" for a broken channel or an ERROR reply.
std::string ServerReply(Util::Channel* channel, const std::string& request)
{
    int length = channel->SendText(request);
    if (length < 0 || Util::Channel::IsError(channel->GetBody(), length))
        return std::string();
    return channel->ReplyText(length);
}

} // namespace

std::string FileSystem::GetFilePath(const std::string& dir, const std::string& file, bool write, bool silent)
{
    if (!mServer.empty() && !mChannel)
        return std::string();
    std::string name = FileNameConcat(dir, file);
    if (!mChannel)
    {
        if (write)
            return GetWritableFileLocal(mPaths, name, silent);
        return GetReadableFileLocal(mPaths, name, silent);
    }
    std::string request = (write ? "getwritablefile \"" : "getreadablefile \"") + name + "\" \"" + mSearchPath +
                          "\" " + (silent ? "1" : "0");
    if (write)
        request += mOverride ? " 1" : " 0";
    std::string path = ServerReply(mChannel, request);
    if (!path.empty())
        TLOG_DEBUG(sLog, "Got file [" << path << "] from " << mServer);
    return path;
}

std::string FileSystem::GetReadableFileLocal(const std::vector<std::string>& paths, const std::string& name,
                                             bool silent) const
{
    for (const std::string& entry : paths)
    {
        std::string candidate = FileNameConcat(ExpandPathEntry(entry), name);
        TLOG_DEBUG(sLog, "GetReadableFile: trying " << candidate);
        if (candidate.empty())
        {
            TLOG_ERROR(sLogFile, "Cannot open file; path is empty");
            continue;
        }
        if (FileExists(candidate))
            return candidate;
    }
    if (silent)
        return std::string();
    TLOG_ERROR(sLog, "Unable to find " << name << " in path ");
    for (const std::string& entry : paths)
        TLOG_INFO(sLog, "    " << entry);
    return std::string();
}

std::string FileSystem::GetWritableFileLocal(const std::vector<std::string>& paths, const std::string& name,
                                             bool silent) const
{
    if (paths.empty())
    {
        TLOG_ERROR(sLog, "GetWritableFile: no search path");
        return std::string();
    }
    std::string entry = ExpandPathEntry(paths[0]);
    std::string candidate = StringStartsWith(name, entry + "/") ? name : FileNameConcat(entry, name);
    TLOG_DEBUG(sLog, "GetWritableFile: trying " << candidate);
    if (FileExists(candidate) && !mOverride && !silent)
    {
        TLOG_ERROR(sLog, candidate << " already exists, will not override!");
        return std::string();
    }
    return candidate;
}

std::string FileSystem::ExpandPathEntry(std::string entry)
{
    // A variable whose value names itself would expand forever.
    for (int round = 0; round < 100; ++round)
    {
        size_t start = entry.find("${");
        if (start == std::string::npos)
            break;
        size_t end = entry.find('}', start + 2);
        std::string variable = entry.substr(start + 2, end == std::string::npos ? std::string::npos : end - start - 2);
        const char* value = std::getenv(variable.c_str());
        size_t length = end == std::string::npos ? std::string::npos : end - start + 1;
        entry.replace(start, length, value ? value : variable);
    }
    return entry;
}

std::string FileSystem::MakeDir(const std::string& dir)
{
    if (mChannel)
    {
        std::string made = ServerReply(mChannel, "domkdirpath \"" + dir + "\" \"" + mSearchPath + "\"");
        if (!made.empty())
            TLOG_DEBUG(sLog, "Got dir [" << made << "]");
        return made;
    }
    if (!mServer.empty() || mPaths.empty())
        return std::string();
    return DoMkDirPathLocal(FileNameConcat(mPaths[0], dir));
}

std::string FileSystem::DoMkDirPathLocal(std::string path)
{
    for (char& c : path)
        if (c == '\\')
            c = '/';
    TLOG_DEBUG(sLog, "DoMkDirPath: " << path);
    std::string result = StringStartsWith(path, "/") ? "/" : "";
    StringList pieces(path, '/');
    for (const std::string& piece : pieces)
    {
        TLOG_DEBUG(sLog, "  DoMkDirPath: subDir = " << piece);
        if (piece.empty() || piece == ".")
            continue;
        if (!result.empty() && result.back() != '/')
            result += "/";
        result += piece;
        // Existing directories pass; real failures show when the file is opened.
        mkdir(result.c_str(), 0755);
    }
    return result;
}

Util::IOBuffer* FileSystem::GetIOBuffer(const std::string& name, bool readOnly, bool useMemory,
                                        std::string tmpName, int64_t size, bool useChannel)
{
    TLOG_DEBUG(sLog, "GetIOBuffer [" << name << "]");
    if (!mServer.empty() && !mChannel)
        return nullptr;
    std::unique_ptr<Util::IOBuffer> buffer;
    bool deliver = false;
    if (!mChannel)
        buffer.reset(new Util::IOBufferFile(name, readOnly, useMemory, false));
    else if (!readOnly)
    {
        if (useChannel)
        {
            TLOG_DEBUG(sLog, "GetIOBuffer: Write using Channel " << name);
            buffer.reset(new Util::IOBufferChannel(name, false, mChannel));
        }
        else
        {
            if (!tmpName.empty())
            {
                TLOG_DEBUG(sLog, "GetIOBuffer: Write using File " << name);
                if (tmpName == "tmp")
                    tmpName = FileNameTmp();
                buffer.reset(new Util::IOBufferFile(tmpName, false, false, false));
            }
            else
            {
                TLOG_DEBUG(sLog, "GetIOBuffer: Write using mem " << name);
                buffer.reset(new Util::IOBuffer(size));
            }
            deliver = true;
        }
    }
    else if (useChannel)
    {
        TLOG_DEBUG(sLog, "GetIOBuffer: Read using Channel to " << mServer << ": " << name);
        buffer.reset(new Util::IOBufferChannel(name, true, mChannel));
    }
    else
    {
        TLOG_DEBUG(sLog, "GetIOBuffer: Read using File: " << name);
        if (tmpName == "tmp")
            tmpName = FileNameTmp();
        buffer.reset(Util::ReadIOBufferFromChannel(mChannel, name, tmpName));
    }
    if (!buffer || !buffer->Valid())
        return nullptr;
    // Only a buffer that works is sent to the server when deleted.
    if (deliver)
        buffer->SetChannelDelivery(mChannel, name, tmpName);
    return buffer.release();
}

} // namespace Persistency
} // namespace Tavlin
