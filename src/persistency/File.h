// A resolved file: its path and the FileSystem that makes buffers for it. Only a name;
// nothing is opened until a buffer is asked for, and the caller owns that buffer,
// whose deletion closes (and so completes) the file. Copied freely.
#ifndef TAVLIN_PERSISTENCY_FILE_H
#define TAVLIN_PERSISTENCY_FILE_H

#include <string>

namespace Tavlin
{
namespace Util
{
class IOBuffer;
}

namespace Persistency
{

class FileSystem;

class File
{
public:
    File() : mFS(nullptr), mWritable(false) {}
    File(const std::string& path, FileSystem* fs, bool writable) : mPath(path), mFS(fs), mWritable(writable) {}

    // A path (empty when resolving failed) and a file system.
    bool Valid() const { return !mPath.empty() && mFS != nullptr; }
    const std::string& GetPath() const { return mPath; }
    FileSystem* GetFS() const { return mFS; }
    bool IsWritable() const { return mWritable; }

    // Null, after a logged error, for an invalid (or, for writing, non-writable) file.
    Util::IOBuffer* GetReadBuffer() const;
    Util::IOBuffer* GetWriteBuffer() const;

private:
    std::string mPath;
    FileSystem* mFS;
    bool mWritable;
};

} // namespace Persistency
} // namespace Tavlin

#endif
