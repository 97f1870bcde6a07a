// A lumisk-dataserver started for one test on 127.0.0.1 with a port of the system's
// choosing, and a bare client connection for speaking the frame protocol by hand.
// The server ends when the object goes (SIGTERM, then SIGKILL), when the test
// process dies, and in any case after two minutes.
#ifndef LUMISK_TESTS_SUPPORT_DATASERVERPROCESS_H
#define LUMISK_TESTS_SUPPORT_DATASERVERPROCESS_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace TestSupport
{

class DataServerProcess
{
public:
    // root and passwordFile as given to the server; its log goes to logFile.
    DataServerProcess(const std::string& root, const std::string& passwordFile, const std::string& logFile,
                      const std::vector<std::string>& extraArgs = {});
    ~DataServerProcess();
    DataServerProcess(const DataServerProcess&) = delete;
    DataServerProcess& operator=(const DataServerProcess&) = delete;

    // 0 when the server did not announce its port.
    int Port() const { return mPort; }
    std::string Address() const { return "127.0.0.1:" + std::to_string(mPort); }
    bool Running();
    pid_t Pid() const { return mPid; }
    std::string Log() const;

private:
    pid_t mPid;
    int mPort;
    std::string mLogFile;
};

// Writes a password file of the two lines the server and the clients read.
void WritePasswordFile(const std::string& path, const std::string& read, const std::string& write);

// A TCP connection to 127.0.0.1:port with receive and send time-outs of a few seconds.
class RawClient
{
public:
    explicit RawClient(int port);
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    bool Connected() const { return mSocket >= 0; }
    bool SendBytes(const std::string& bytes);
    // A frame with a correct head around body.
    bool SendFrame(const std::string& body);
    // The body of the next frame; false when the connection closed, timed out, or the
    // head was bad.
    bool ReceiveFrame(std::string& body);
    // A request and the reply's body; "" when nothing came.
    std::string Ask(const std::string& body);
    // True when the server closed the connection (recv gives 0 within the time-out).
    bool ClosedByPeer();
    void Close();

private:
    int mSocket;
};

// body text with its terminating zero, as requests are sent.
inline std::string RequestText(const std::string& text)
{
    return text + std::string(1, '\0');
}

} // namespace TestSupport

#endif
