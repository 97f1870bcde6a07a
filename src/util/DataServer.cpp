#include "util/DataServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <thread>
#include <vector>

#include "basis/Report.h"
#include "util/Channel.h"

namespace Tavlin
{
namespace Util
{

namespace
{

log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Util.DataServer");

const int sMaxDenials = 3;

// Splits a request text into words; double quotes group blanks into a word and are
// dropped, so that `read="a b"` gives `read=a b` and `""` an empty word.
std::vector<std::string> Words(const char* text)
{
    std::vector<std::string> words;
    const char* p = text;
    while (*p)
    {
        while (*p == ' ')
            ++p;
        if (!*p)
            break;
        std::string word;
        bool quoted = false;
        while (*p && (quoted || *p != ' '))
        {
            if (*p == '"')
                quoted = !quoted;
            else
                word += *p;
            ++p;
        }
        words.push_back(word);
    }
    return words;
}

bool ParseInteger(const std::string& text, long long& value)
{
    if (text.empty())
        return false;
    char* end = nullptr;
    errno = 0;
    value = std::strtoll(text.c_str(), &end, 10);
    return errno == 0 && end && *end == '\0';
}

std::string Concat(const std::string& dir, const std::string& file)
{
    if (dir.empty() || dir == ".")
        return file;
    if (file.empty())
        return dir;
    return dir + "/" + file;
}

bool InsideRoot(const std::string& path, const std::string& root)
{
    return path == root || path.compare(0, root.size() + 1, root + "/") == 0;
}

// Compares every byte, so that the time taken tells nothing about the password.
bool SamePassword(const std::string& given, const std::string& expected)
{
    unsigned char difference = given.size() == expected.size() ? 0 : 1;
    for (size_t i = 0; i < given.size(); ++i)
        difference |= static_cast<unsigned char>(given[i] ^ expected[i % (expected.size() + 1)]);
    return difference == 0;
}

struct OpenFile
{
    int fd;
    bool writable;
    long long position;
};

// One client: reads frames, answers them, and holds its open files.
class Connection
{
public:
    Connection(DataServer& server, int socket, const std::string& peer)
        : mServer(server), mSocket(socket), mPeer(peer), mRead(false), mWrite(false), mDenials(0), mRequests(0),
          mRefusals(0)
    {
    }
    ~Connection()
    {
        for (auto& entry : mFiles)
            close(entry.second.fd);
    }

    void Serve();

private:
    // 1 when count bytes came, 0 when the peer closed, -1 on error or time-out.
    int ReceiveAll(char* to, int count, int firstTimeout);
    bool Reply(const char* data, int length);
    bool ReplyText(const std::string& text) { return Reply(text.c_str(), static_cast<int>(text.size()) + 1); }
    bool Refuse(const std::string& reason);
    // false when the connection must end.
    bool Handle(int bodyLength);

    // The root-relative, cleaned form of name in `clean` and its full path in `full`;
    // false, with the reason, when it leaves the root.
    bool Resolve(const std::string& name, std::string& clean, std::string& full, std::string& reason) const;
    OpenFile* FindFile(const std::string& idText);

    bool GetReadableFile(const std::vector<std::string>& words);
    bool GetWritableFile(const std::vector<std::string>& words);
    bool MakeDirPath(const std::vector<std::string>& words);
    bool OpenFileBuffer(const std::vector<std::string>& words);
    bool ReadFileBuffer(const std::vector<std::string>& words);
    bool WriteFileBuffer(const std::vector<std::string>& words, const char* data, int length);
    bool SeekFileBuffer(const std::vector<std::string>& words);
    bool CloseFileBuffer(const std::vector<std::string>& words);
    bool PortMode(const std::vector<std::string>& words);

    DataServer& mServer;
    int mSocket;
    std::string mPeer;
    std::unique_ptr<char[]> mBuffer;
    bool mRead;
    bool mWrite;
    int mDenials;
    int mRequests;
    int mRefusals;
    std::map<int, OpenFile> mFiles;
};

int Connection::ReceiveAll(char* to, int count, int firstTimeout)
{
    const DataServerConfig& config = mServer.Config();
    int got = 0;
    while (got < count)
    {
        pollfd waiting = {mSocket, POLLIN, 0};
        int seconds = got == 0 ? firstTimeout : config.mFrameTimeout;
        int ready = poll(&waiting, 1, seconds * 1000);
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            return -1;
        ssize_t n = recv(mSocket, to + got, static_cast<size_t>(count - got), 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return -1;
        if (n == 0)
            return 0;
        got += static_cast<int>(n);
    }
    return 1;
}

bool Connection::Reply(const char* data, int length)
{
    char* frame = mBuffer.get();
    if (data != frame + Channel::sHeadSize)
        std::memmove(frame + Channel::sHeadSize, data, static_cast<size_t>(length));
    const int total = Channel::sHeadSize + length;
    Channel::WriteHead(frame, total);
    int sent = 0;
    while (sent < total)
    {
        ssize_t n = send(mSocket, frame + sent, static_cast<size_t>(total - sent), MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        sent += static_cast<int>(n);
    }
    return true;
}

bool Connection::Refuse(const std::string& reason)
{
    ++mRefusals;
    mServer.Log("refused " + mPeer + ": " + reason);
    return ReplyText("ERROR " + reason);
}

void Connection::Serve()
{
    mBuffer.reset(new (std::nothrow) char[Channel::sBufferSize]);
    if (!mBuffer)
    {
        mServer.Log("refused " + mPeer + ": no memory for a message block");
        return;
    }
    const DataServerConfig& config = mServer.Config();
    std::string end = "closed by client";
    for (;;)
    {
        char* frame = mBuffer.get();
        int state = ReceiveAll(frame, Channel::sHeadSize, config.mIdleTimeout);
        if (state <= 0)
        {
            end = state == 0 ? "closed by client" : "time-out or error";
            break;
        }
        int total = 0;
        if (!Channel::ParseHead(frame, total) || total < Channel::sHeadSize || total > Channel::sBufferSize)
        {
            // The stream cannot be followed past a frame of unknown length.
            Refuse("bad frame head");
            end = "bad frame";
            break;
        }
        state = ReceiveAll(frame + Channel::sHeadSize, total - Channel::sHeadSize, config.mFrameTimeout);
        if (state <= 0)
        {
            end = "frame cut off";
            break;
        }
        ++mRequests;
        if (!Handle(total - Channel::sHeadSize))
        {
            end = "ended by server";
            break;
        }
    }
    mServer.Log("connection " + mPeer + " " + end + " after " + std::to_string(mRequests) + " requests, " +
                std::to_string(mRefusals) + " refused");
}

bool Connection::Handle(int bodyLength)
{
    char* body = mBuffer.get() + Channel::sHeadSize;
    const void* zero = bodyLength > 0 ? memchr(body, '\0', static_cast<size_t>(bodyLength)) : nullptr;
    if (!zero)
        return Refuse("request text without its terminating zero");
    int textLength = static_cast<int>(static_cast<const char*>(zero) - body) + 1;
    std::vector<std::string> words = Words(body);
    if (words.empty())
        return Refuse("empty request");
    const std::string& command = words[0];
    if (command == "PortMode")
        return PortMode(words);
    if (command == "PortAssignment")
        return mRead ? ReplyText("NoPortAvailable") : Refuse("Permission denied");
    if (!mRead)
        return Refuse("Permission denied");
    if (command == "getreadablefile")
        return GetReadableFile(words);
    if (command == "getwritablefile")
        return GetWritableFile(words);
    if (command == "domkdirpath")
        return MakeDirPath(words);
    if (command == "openfilebuffer")
        return OpenFileBuffer(words);
    if (command == "readfilebuffer")
        return ReadFileBuffer(words);
    if (command == "writefilebuffer")
        return WriteFileBuffer(words, body + textLength, bodyLength - textLength);
    if (command == "seekfilebuffer")
        return SeekFileBuffer(words);
    if (command == "closefilebuffer")
        return CloseFileBuffer(words);
    return Refuse("unknown request " + command.substr(0, 40));
}

bool Connection::PortMode(const std::vector<std::string>& words)
{
    std::string read, write;
    for (size_t i = 1; i < words.size(); ++i)
    {
        if (words[i].compare(0, 5, "read=") == 0)
            read = words[i].substr(5);
        else if (words[i].compare(0, 6, "write=") == 0)
            write = words[i].substr(6);
    }
    const DataServerConfig& config = mServer.Config();
    if (!SamePassword(read, config.mReadPassword))
    {
        ++mRefusals;
        ++mDenials;
        mRead = mWrite = false;
        mServer.Log("refused " + mPeer + ": wrong read password");
        return ReplyText("Permission denied") && mDenials < sMaxDenials;
    }
    mRead = true;
    mWrite = SamePassword(write, config.mWritePassword);
    if (!config.mRedirect.empty())
        return ReplyText("Redirect " + config.mRedirect);
    return ReplyText("Static");
}

bool Connection::Resolve(const std::string& name, std::string& clean, std::string& full, std::string& reason) const
{
    std::string path = name;
    for (char& c : path)
        if (c == '\\')
            c = '/';
    if (!path.empty() && path[0] == '/')
    {
        reason = "absolute path " + name;
        return false;
    }
    std::vector<std::string> pieces;
    size_t start = 0;
    while (start <= path.size())
    {
        size_t slash = path.find('/', start);
        std::string piece = path.substr(start, slash == std::string::npos ? std::string::npos : slash - start);
        if (piece == "..")
        {
            reason = "path leaves the root: " + name;
            return false;
        }
        if (!piece.empty() && piece != ".")
            pieces.push_back(piece);
        if (slash == std::string::npos)
            break;
        start = slash + 1;
    }
    const std::string& root = mServer.RootReal();
    clean.clear();
    full = root;
    for (const std::string& piece : pieces)
    {
        clean += (clean.empty() ? "" : "/") + piece;
        full += "/" + piece;
        struct stat info;
        if (lstat(full.c_str(), &info) != 0)
            continue;
        if (!S_ISLNK(info.st_mode))
            continue;
        // A link (also a dangling one, which an open would follow) must stay inside.
        char* target = realpath(full.c_str(), nullptr);
        bool inside = target && InsideRoot(target, root);
        std::free(target);
        if (!inside)
        {
            reason = "link leaves the root: " + name;
            return false;
        }
    }
    return true;
}

bool Connection::GetReadableFile(const std::vector<std::string>& words)
{
    if (words.size() < 3)
        return Refuse("getreadablefile needs a name and a search path");
    std::string searchPath = words[2];
    size_t start = 0;
    for (;;)
    {
        size_t end = searchPath.find(';', start);
        std::string entry = searchPath.substr(start, end == std::string::npos ? std::string::npos : end - start);
        std::string clean, full, reason;
        if (!Resolve(Concat(entry, words[1]), clean, full, reason))
            return Refuse(reason);
        struct stat info;
        if (stat(full.c_str(), &info) == 0 && S_ISREG(info.st_mode))
            return ReplyText(clean);
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
    return Refuse("Unable to find " + words[1]);
}

bool Connection::GetWritableFile(const std::vector<std::string>& words)
{
    if (!mWrite)
        return Refuse("Permission denied");
    if (words.size() < 5)
        return Refuse("getwritablefile needs a name, a search path, silent and override");
    const std::string& name = words[1];
    std::string entry = words[2].substr(0, words[2].find(';'));
    std::string candidate = !entry.empty() && name.compare(0, entry.size() + 1, entry + "/") == 0
                                ? name
                                : Concat(entry, name);
    std::string clean, full, reason;
    if (!Resolve(candidate, clean, full, reason))
        return Refuse(reason);
    struct stat info;
    if (clean.empty() || (stat(full.c_str(), &info) == 0 && !S_ISREG(info.st_mode)))
        return Refuse("not a file: " + candidate);
    bool exists = stat(full.c_str(), &info) == 0;
    if (exists && words[4] == "0" && words[3] == "0")
        return Refuse(candidate + " already exists, will not override!");
    return ReplyText(clean);
}

bool Connection::MakeDirPath(const std::vector<std::string>& words)
{
    if (!mWrite)
        return Refuse("Permission denied");
    if (words.size() < 3)
        return Refuse("domkdirpath needs a directory and a search path");
    std::string entry = words[2].substr(0, words[2].find(';'));
    std::string clean, full, reason;
    if (!Resolve(Concat(entry, words[1]), clean, full, reason))
        return Refuse(reason);
    std::string made = mServer.RootReal();
    size_t start = 0;
    while (start < clean.size())
    {
        size_t slash = clean.find('/', start);
        made = mServer.RootReal() + "/" + clean.substr(0, slash);
        // Existing directories pass; anything else shows when a file is opened.
        mkdir(made.c_str(), 0755);
        if (slash == std::string::npos)
            break;
        start = slash + 1;
    }
    return ReplyText(clean);
}

bool Connection::OpenFileBuffer(const std::vector<std::string>& words)
{
    if (words.size() < 3 || (words[2] != "0" && words[2] != "1"))
        return Refuse("openfilebuffer needs a name and 0 or 1");
    bool readOnly = words[2] == "1";
    if (!readOnly && !mWrite)
        return Refuse("Permission denied");
    if (static_cast<int>(mFiles.size()) >= mServer.Config().mMaxFilesPerConnection)
        return Refuse("too many open files");
    std::string clean, full, reason;
    if (!Resolve(words[1], clean, full, reason))
        return Refuse(reason);
    if (clean.empty())
        return Refuse("not a file: " + words[1]);
    int fd = readOnly ? open(full.c_str(), O_RDONLY | O_CLOEXEC)
                      : open(full.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return Refuse("cannot open " + words[1] + ": " + std::strerror(errno));
    struct stat info;
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode))
    {
        close(fd);
        return Refuse("not a file: " + words[1]);
    }
    int id = mServer.NextFileId();
    mFiles[id] = OpenFile{fd, !readOnly, 0};
    return ReplyText(std::to_string(id) + " " + std::to_string(static_cast<long long>(info.st_size)));
}

OpenFile* Connection::FindFile(const std::string& idText)
{
    long long id = 0;
    if (!ParseInteger(idText, id) || id < INT_MIN || id > INT_MAX)
        return nullptr;
    auto found = mFiles.find(static_cast<int>(id));
    return found == mFiles.end() ? nullptr : &found->second;
}

bool Connection::ReadFileBuffer(const std::vector<std::string>& words)
{
    long long count = 0;
    OpenFile* file = words.size() >= 3 ? FindFile(words[1]) : nullptr;
    if (!file)
        return Refuse("unknown file id");
    if (!ParseInteger(words[2], count) || count < 0)
        return Refuse("bad count " + words[2].substr(0, 40));
    if (count > Channel::sMaxBody)
        count = Channel::sMaxBody;
    char* data = mBuffer.get() + Channel::sHeadSize;
    long long got = 0;
    while (got < count)
    {
        ssize_t n = pread(file->fd, data + got, static_cast<size_t>(count - got), file->position + got);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return Refuse(std::string("read failed: ") + std::strerror(errno));
        if (n == 0)
            break;
        got += n;
    }
    file->position += got;
    return Reply(data, static_cast<int>(got));
}

bool Connection::WriteFileBuffer(const std::vector<std::string>& words, const char* data, int length)
{
    OpenFile* file = words.size() >= 2 ? FindFile(words[1]) : nullptr;
    if (!file)
        return Refuse("unknown file id");
    if (!file->writable || !mWrite)
        return Refuse("file not open for writing");
    int done = 0;
    while (done < length)
    {
        ssize_t n = pwrite(file->fd, data + done, static_cast<size_t>(length - done), file->position + done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return Refuse(std::string("write failed: ") + std::strerror(errno));
        done += static_cast<int>(n);
    }
    file->position += done;
    return ReplyText("OK");
}

bool Connection::SeekFileBuffer(const std::vector<std::string>& words)
{
    OpenFile* file = words.size() >= 3 ? FindFile(words[1]) : nullptr;
    if (!file)
        return Refuse("unknown file id");
    long long position = 0;
    struct stat info;
    if (!ParseInteger(words[2], position) || position < 0 || fstat(file->fd, &info) != 0 ||
        position > info.st_size || (words.size() > 3 && words[3] != "0"))
        return Refuse("bad seek " + words[2].substr(0, 40));
    file->position = position;
    return ReplyText(std::to_string(position));
}

bool Connection::CloseFileBuffer(const std::vector<std::string>& words)
{
    long long id = 0;
    OpenFile* file = words.size() >= 2 ? FindFile(words[1]) : nullptr;
    if (!file || !ParseInteger(words[1], id))
        return Refuse("unknown file id");
    close(file->fd);
    mFiles.erase(static_cast<int>(id));
    return ReplyText("OK");
}

} // namespace

DataServer::DataServer(const DataServerConfig& config)
    : mConfig(config), mListen(-1), mPort(0), mStop(false), mLastFileId(0), mActive(0)
{
}

DataServer::~DataServer()
{
    if (mListen >= 0)
        close(mListen);
}

void DataServer::Log(const std::string& line)
{
    std::lock_guard<std::mutex> lock(mMutex);
    TLOG_INFO(sLog, line);
}

bool DataServer::Start()
{
    signal(SIGPIPE, SIG_IGN);
    char* root = realpath(mConfig.mRoot.c_str(), nullptr);
    struct stat info;
    if (!root || stat(root, &info) != 0 || !S_ISDIR(info.st_mode))
    {
        std::free(root);
        TLOG_ERROR(sLog, "Root is not a directory: " << mConfig.mRoot);
        return false;
    }
    mRootReal = root;
    std::free(root);

    sockaddr_in address;
    std::memset(&address, 0, sizeof(address));
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(mConfig.mPort));
    if (inet_pton(AF_INET, mConfig.mHost.c_str(), &address.sin_addr) != 1)
    {
        TLOG_ERROR(sLog, "Not an IPv4 address: " << mConfig.mHost);
        return false;
    }
    mListen = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int one = 1;
    if (mListen >= 0)
        setsockopt(mListen, SOL_SOCKET, SO_REUSEADDR, &one, sizeof(one));
    socklen_t length = sizeof(address);
    if (mListen < 0 || bind(mListen, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(mListen, 64) != 0 || getsockname(mListen, reinterpret_cast<sockaddr*>(&address), &length) != 0)
    {
        TLOG_ERROR(sLog, "Cannot listen on " << mConfig.mHost << ":" << mConfig.mPort << ": " << std::strerror(errno));
        return false;
    }
    mPort = ntohs(address.sin_port);
    return true;
}

void DataServer::Run(int seconds)
{
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (!mStop && (seconds <= 0 || std::chrono::steady_clock::now() < deadline))
    {
        pollfd waiting = {mListen, POLLIN, 0};
        if (poll(&waiting, 1, 200) > 0)
            Accept();
    }
    // Wake every connection and give them a moment to close their files.
    {
        std::lock_guard<std::mutex> lock(mMutex);
        for (int socket : mSockets)
            shutdown(socket, SHUT_RDWR);
    }
    for (int wait = 0; wait < 100 && mActive > 0; ++wait)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

void DataServer::Accept()
{
    sockaddr_in peer;
    socklen_t length = sizeof(peer);
    int socket = accept4(mListen, reinterpret_cast<sockaddr*>(&peer), &length, SOCK_CLOEXEC);
    if (socket < 0)
        return;
    char text[INET_ADDRSTRLEN] = "?";
    inet_ntop(AF_INET, &peer.sin_addr, text, sizeof(text));
    std::string name = std::string(text) + ":" + std::to_string(ntohs(peer.sin_port));
    if (mActive >= mConfig.mMaxConnections)
    {
        Log("refused " + name + ": too many connections");
        close(socket);
        return;
    }
    int one = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &one, sizeof(one));
    // A client that stops reading must not hold its thread for ever.
    timeval timeout = {mConfig.mFrameTimeout, 0};
    setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof(timeout));
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mSockets.insert(socket);
    }
    ++mActive;
    std::thread(&DataServer::Serve, this, socket, name).detach();
}

void DataServer::Serve(int socket, std::string peer)
{
    {
        Connection connection(*this, socket, peer);
        connection.Serve();
    }
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mSockets.erase(socket);
        close(socket);
    }
    --mActive;
}

} // namespace Util
} // namespace Tavlin
