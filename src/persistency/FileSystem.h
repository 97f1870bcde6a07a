// A search path of local directories, entries separated by ";", that resolves file
// names for reading (first entry holding the file) and writing (first entry only), and
// makes the buffers for resolved files. An entry may name environment variables as
// "${NAME}". The empty search path has one empty entry: names mean what they say,
// relative to the current directory.
//
// A file system may name a data server ("machine:port"): then names are resolved,
// directories made and buffers opened on that server, through a channel from the
// ChannelPool. Without a channel it resolves no name and opens no buffer.
#ifndef TAVLIN_PERSISTENCY_FILESYSTEM_H
#define TAVLIN_PERSISTENCY_FILESYSTEM_H

#include <cstdint>
#include <string>
#include <vector>

namespace Tavlin
{
namespace Util
{
class Channel;
class IOBuffer;
}

namespace Persistency
{

class FileSystem
{
public:
    // Reads the options `override` (may existing files be overwritten) and, for a
    // server, `passwordFile`.
    FileSystem(const std::string& searchPath, const std::string& server);

    // The path of dir/file for reading or writing; empty, after a logged error unless
    // silent, when there is none.
    std::string GetFilePath(const std::string& dir, const std::string& file, bool write, bool silent);

    // A new buffer owned by the caller, or null when the file cannot be opened.
    // tmpName, size and useChannel only matter for files on a data server.
    Util::IOBuffer* GetIOBuffer(const std::string& name, bool readOnly, bool useMemory, std::string tmpName,
                                int64_t size, bool useChannel);

    // Creates dir and its parents below the first search entry; returns the path made.
    std::string MakeDir(const std::string& dir);

    // The first entry of paths in which name can be opened; "" when none.
    std::string GetReadableFileLocal(const std::vector<std::string>& paths, const std::string& name,
                                     bool silent) const;
    // name below the first entry of paths; "" when it exists and may not be overwritten.
    std::string GetWritableFileLocal(const std::vector<std::string>& paths, const std::string& name,
                                     bool silent) const;

    // Replaces each "${NAME}" by the variable's value, or by NAME when it is not set.
    static std::string ExpandPathEntry(std::string entry);
    // mkdir of every prefix of path (0755, failures ignored); returns the path built.
    static std::string DoMkDirPathLocal(std::string path);

    const std::string& GetSearchPath() const { return mSearchPath; }
    const std::vector<std::string>& GetPaths() const { return mPaths; }
    const std::string& GetServer() const { return mServer; }
    bool GetOverride() const { return mOverride; }

private:
    bool mOverride;
    std::string mSearchPath;
    std::vector<std::string> mPaths;
    std::string mServer;
    Util::Channel* mChannel;
};

} // namespace Persistency
} // namespace Tavlin

#endif
