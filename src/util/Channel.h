// A TCP connection to a data server and its one message block. Both directions use
// the same frame: a 20-byte head holding the text "CTR <total length>" and a zero,
// then the body. Requests are built in place behind the head (GetBody), and a reply
// overwrites the request there: strict ping-pong, one request at a time.
//
// Connection failures go through HandleError, which counts them; an "ERROR" reply is
// an answer, not a broken channel, and callers test for it themselves.
#ifndef TAVLIN_UTIL_CHANNEL_H
#define TAVLIN_UTIL_CHANNEL_H

#include <string>
#include <vector>

namespace Tavlin
{
namespace Util
{

class Channel
{
public:
    static constexpr int sHeadSize = 20;
    static constexpr int sMaxBody = 10485760;
    static constexpr int sBufferSize = sHeadSize + sMaxBody;

    typedef void (*ErrorCallback)(const std::string& message);
    class ErrorListener
    {
    public:
        virtual ~ErrorListener() = default;
        virtual void ChannelError(const std::string& message) = 0;
    };

    // Connects at once; a failure shows in GetErrorCount().
    Channel(std::string host, int port);
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    // Sends the dataLength body bytes standing behind the head; the frame length on
    // success, -1 after HandleError.
    int SendLarge(int socket, int dataLength);
    // Receives one frame into the block; its length with the head, 0 when the peer
    // closed, -1 after HandleError.
    int RecvLarge(int socket);
    // One request and its reply on the first socket; the reply's body length.
    int SendRequest(int dataLength);
    // Builds the zero-terminated text in the body and sends it; the reply's length.
    int SendText(const std::string& text);

    void HandleError(const std::string& message, bool addSystemError);
    void Close();
    std::string GetServerInfo() const;

    // The body: where requests are built and replies are found.
    char* GetBody() { return mBuffer ? mBuffer + sHeadSize : nullptr; }
    // The reply of the last request as text (up to its length, or its first zero).
    std::string ReplyText(int length) const;
    static bool IsError(const char* body, int length);

    int GetErrorCount() const { return mErrorCount; }
    void SetErrorCallback(ErrorCallback callback) { mErrorCallback = callback; }
    void SetErrorListener(ErrorListener* listener) { mErrorListener = listener; }

    // "CTR <total>" and its zero in the first 20 bytes of head; false when the head
    // holds no such text.
    static void WriteHead(char* head, int total);
    static bool ParseHead(const char* head, int& total);

private:
    void InitSocket();

    bool mIsServer;
    std::string mHost;
    int mPort;
    int mNrPorts;
    std::vector<int> mSockets;
    std::vector<bool> mConnected;
    std::vector<std::string> mStatus;
    char* mBuffer;
    int mErrorCount;
    ErrorCallback mErrorCallback;
    ErrorListener* mErrorListener;
};

} // namespace Util
} // namespace Tavlin

#endif
