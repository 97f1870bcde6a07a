#include "support/DataServerProcess.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "support/TestSupport.h"

namespace TestSupport
{

DataServerProcess::DataServerProcess(const std::string& root, const std::string& passwordFile,
                                     const std::string& logFile, const std::vector<std::string>& extraArgs)
    : mPid(-1), mPort(0), mLogFile(logFile)
{
    int out[2];
    if (pipe(out) != 0)
        return;
    std::vector<std::string> args = {LUMISK_DATASERVER_BINARY, "--root", root, "--port", "0", "--passwordFile",
                                     passwordFile, "--maxSeconds", "120"};
    args.insert(args.end(), extraArgs.begin(), extraArgs.end());
    pid_t parent = getpid();
    mPid = fork();
    if (mPid == 0)
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent)
            _exit(127);
        int log = open(logFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
        dup2(out[1], 1);
        dup2(log, 2);
        close(out[0]);
        std::vector<char*> argv;
        for (std::string& arg : args)
            argv.push_back(&arg[0]);
        argv.push_back(nullptr);
        execv(LUMISK_DATASERVER_BINARY, argv.data());
        _exit(127);
    }
    close(out[1]);
    std::string line;
    char c = 0;
    pollfd waiting = {out[0], POLLIN, 0};
    while (line.find('\n') == std::string::npos && poll(&waiting, 1, 10000) > 0 && read(out[0], &c, 1) == 1)
        line += c;
    close(out[0]);
    size_t colon = line.rfind(':');
    if (colon != std::string::npos)
        mPort = std::atoi(line.c_str() + colon + 1);
}

DataServerProcess::~DataServerProcess()
{
    if (mPid <= 0)
        return;
    kill(mPid, SIGTERM);
    int status = 0;
    for (int wait = 0; wait < 150; ++wait)
    {
        if (waitpid(mPid, &status, WNOHANG) == mPid)
            return;
        usleep(20000);
    }
    kill(mPid, SIGKILL);
    waitpid(mPid, &status, 0);
}

bool DataServerProcess::Running()
{
    int status = 0;
    return mPid > 0 && waitpid(mPid, &status, WNOHANG) == 0;
}

std::string DataServerProcess::Log() const
{
    return ReadTextFile(mLogFile);
}

void WritePasswordFile(const std::string& path, const std::string& read, const std::string& write)
{
    WriteTextFile(path, "read=" + read + "\nwrite=" + write + "\n");
}

RawClient::RawClient(int port) : mSocket(socket(AF_INET, SOCK_STREAM, 0))
{
    sockaddr_in address;
    std::memset(&address, 0, sizeof(address));
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    timeval timeout = {5, 0};
    if (mSocket >= 0)
    {
        setsockopt(mSocket, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout));
        setsockopt(mSocket, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof(timeout));
    }
    if (mSocket >= 0 && connect(mSocket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0)
        Close();
}

RawClient::~RawClient()
{
    Close();
}

void RawClient::Close()
{
    if (mSocket >= 0)
        close(mSocket);
    mSocket = -1;
}

bool RawClient::SendBytes(const std::string& bytes)
{
    size_t sent = 0;
    while (mSocket >= 0 && sent < bytes.size())
    {
        ssize_t n = send(mSocket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (n <= 0)
            return false;
        sent += static_cast<size_t>(n);
    }
    return mSocket >= 0;
}

bool RawClient::SendFrame(const std::string& body)
{
    char head[20] = {0};
    std::snprintf(head, sizeof(head), "CTR %d", static_cast<int>(body.size() + 20));
    return SendBytes(std::string(head, 20) + body);
}

bool RawClient::ReceiveFrame(std::string& body)
{
    std::string frame;
    int total = -1;
    char piece[65536];
    while (mSocket >= 0 && (total < 0 || static_cast<int>(frame.size()) < total))
    {
        ssize_t n = recv(mSocket, piece, sizeof(piece), 0);
        if (n <= 0)
            return false;
        frame.append(piece, static_cast<size_t>(n));
        if (total < 0 && frame.size() >= 20 && std::sscanf(frame.c_str(), "CTR %d", &total) != 1)
            return false;
        if (total >= 0 && total < 20)
            return false;
    }
    if (mSocket < 0)
        return false;
    body = frame.substr(20);
    return true;
}

std::string RawClient::Ask(const std::string& body)
{
    std::string reply;
    if (!SendFrame(body) || !ReceiveFrame(reply))
        return std::string();
    return reply;
}

bool RawClient::ClosedByPeer()
{
    char c;
    return mSocket >= 0 && recv(mSocket, &c, 1, 0) == 0;
}

} // namespace TestSupport
