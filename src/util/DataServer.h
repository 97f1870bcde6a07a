// The server side of the data-server protocol: serves the files below one root
// directory to clients that give the site's passwords. One thread per connection,
// each with its own message block and its own open files; a connection that ends,
// however it ends, closes what it held.
//
// Every name is taken relative to the root and refused when it leaves it: absolute
// names, "..", and symbolic links that point outside. Reading needs the read password,
// writing, making directories and opening for writing the write password too.
#ifndef TAVLIN_UTIL_DATASERVER_H
#define TAVLIN_UTIL_DATASERVER_H

#include <atomic>
#include <mutex>
#include <set>
#include <string>

namespace Tavlin
{
namespace Util
{

struct DataServerConfig
{
    std::string mRoot;
    std::string mHost = "127.0.0.1";
    int mPort = 0;
    std::string mReadPassword;
    std::string mWritePassword;
    // Answer "Redirect <target>" to PortMode instead of serving.
    std::string mRedirect;
    // Seconds a connection may stay silent between requests, and inside one frame.
    int mIdleTimeout = 600;
    int mFrameTimeout = 30;
    int mMaxConnections = 128;
    int mMaxFilesPerConnection = 64;
};

class DataServer
{
public:
    explicit DataServer(const DataServerConfig& config);
    ~DataServer();
    DataServer(const DataServer&) = delete;
    DataServer& operator=(const DataServer&) = delete;

    // Binds and listens; false after a logged error.
    bool Start();
    // The port listened on (the one the system chose for port 0).
    int GetPort() const { return mPort; }
    // Serves until Stop() or until `seconds` have passed (0: no limit).
    void Run(int seconds);
    // May be called from a signal handler.
    void Stop() { mStop = true; }

    // For the connections.
    const DataServerConfig& Config() const { return mConfig; }
    const std::string& RootReal() const { return mRootReal; }
    int NextFileId() { return ++mLastFileId; }
    void Log(const std::string& line);
    int GetActive() const { return mActive; }

private:
    void Accept();
    void Serve(int socket, std::string peer);

    DataServerConfig mConfig;
    std::string mRootReal;
    int mListen;
    int mPort;
    std::atomic<bool> mStop;
    std::atomic<int> mLastFileId;
    std::mutex mMutex;
    std::set<int> mSockets;
    std::atomic<int> mActive;
};

} // namespace Util
} // namespace Tavlin

#endif
