#include "util/ChannelPool.h"

#include <cstdlib>

#include "basis/Report.h"
#include "basis/String.h"
#include "util/Channel.h"
#include "util/ChannelAuthorization.h"

namespace Tavlin
{
namespace Util
{

namespace
{

log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Util.ChannelPool");

// Redirects that lead back to themselves must end.
const int sMaxRedirects = 8;
int sRedirectDepth = 0;

} // namespace

ChannelPool::ChannelPool() : mCache(new Cache<std::string, std::shared_ptr<Channel>>(sMaxSize, true))
{
}

ChannelPool& ChannelPool::Instance()
{
    // Never destroyed: channels stay open until the process ends.
    static ChannelPool* sInstance = new ChannelPool();
    return *sInstance;
}

Channel* ChannelPool::Get(const std::string& hostAndPort, const std::string& passwordFile)
{
    size_t colon = hostAndPort.find(':');
    std::string host = hostAndPort.substr(0, colon);
    int port = colon == std::string::npos ? 0 : atoi(hostAndPort.substr(colon + 1));
    return Get(host, port, hostAndPort, passwordFile, true);
}

Channel* ChannelPool::Get(const std::string& host, int port, const std::string& key,
                          const std::string& passwordFile, bool useCache)
{
    TLOG_DEBUG(sLog, "Get for " << key);
    std::shared_ptr<Channel> cached;
    if (useCache && mCache->GetElement(key, cached))
    {
        TLOG_DEBUG(sLog, "Get: Returning channel from pool: " << key);
        return cached.get();
    }
    const std::string target = host + ":" + std::to_string(port);
    TLOG_DEBUG(sLog, "Get: trying new Channel");
    std::unique_ptr<Channel> channel(new Channel(host, port));
    if (channel->GetErrorCount() != 0)
    {
        TLOG_ERROR(sLog, "Failed to open channel to " << target);
        return nullptr;
    }
    TLOG_DEBUG(sLog, "Get: Opened channel to " << target);
    ChannelAuthorization authorization(passwordFile);
    if (!authorization.Valid())
    {
        TLOG_ERROR(sLog, "Cannot open Channel without valid authorization");
        return nullptr;
    }
    int length = channel->SendText("PortMode read=\"" + authorization.GetReadPassword() + "\" write=\"" +
                                   authorization.GetWritePassword() + "\"");
    std::string reply = channel->ReplyText(length);
    if (length < 0 || Channel::IsError(channel->GetBody(), length))
    {
        TLOG_ERROR(sLog, "PortMode request failed (" << reply << "); closing channel");
        return nullptr;
    }
    TLOG_DEBUG(sLog, "Port mode response from server: (" << reply << ")");
    Channel* result = nullptr;
    if (reply == "Permission denied")
    {
        TLOG_ERROR(sLog, "Permission denied; closing channel");
        return nullptr;
    }
    else if (reply == "Static")
        result = channel.release();
    else if (reply == "Dynamic")
        result = GetDynamicChannel(channel.release(), host, key, authorization.GetWritePassword());
    else if (StringStartsWith(reply, "Redirect"))
    {
        size_t blank = reply.find(' ');
        std::string redirect = blank == std::string::npos ? std::string() : reply.substr(blank + 1);
        channel.reset();
        if (sRedirectDepth >= sMaxRedirects)
        {
            TLOG_ERROR(sLog, "Too many redirects, last to " << redirect);
            return nullptr;
        }
        size_t colon = redirect.find(':');
        int redirectPort = colon == std::string::npos ? 0 : atoi(redirect.substr(colon + 1));
        ++sRedirectDepth;
        result = Get(redirect.substr(0, colon), redirectPort, redirect, passwordFile, useCache);
        --sRedirectDepth;
        std::shared_ptr<Channel> shared;
        // The target's own entry holds it already: the first key shares that ownership.
        if (useCache && result && mCache->GetElement(redirect, shared) && shared.get() == result)
        {
            TLOG_DEBUG(sLog, "Adding chan to " << key << " : " << result);
            mCache->AddElement(key, shared);
        }
        return result;
    }
    else
    {
        TLOG_ERROR(sLog, "Unexpected response to port mode request:" << reply);
        return nullptr;
    }
    if (useCache && result)
    {
        TLOG_DEBUG(sLog, "Adding chan to " << key << " : " << result);
        mCache->AddElement(key, std::shared_ptr<Channel>(result));
    }
    return result;
}

Channel* ChannelPool::GetDynamicChannel(Channel* channel, const std::string& host, const std::string& key,
                                        const std::string& writePassword)
{
    std::unique_ptr<Channel> old(channel);
    TLOG_DEBUG(sLog, "Requesting port assignment for " << key);
    int length = old->SendText("PortAssignment write=\"" + writePassword + "\"");
    std::string reply = old->ReplyText(length);
    if (length < 0 || Channel::IsError(old->GetBody(), length))
    {
        TLOG_ERROR(sLog, "Port assignment request failed (" << reply << "); closing channel");
        return nullptr;
    }
    if (reply == "NoPortAvailable")
    {
        TLOG_ERROR(sLog, "No free port available; closing channel");
        return nullptr;
    }
    if (!StringStartsWith(reply, "PortAssigned="))
    {
        TLOG_ERROR(sLog, "Unexpected response to port assignment request (" << reply << "); closing channel");
        return nullptr;
    }
    int port = atoi(reply.substr(13));
    TLOG_DEBUG(sLog, "Port assigned is " << port);
    TLOG_DEBUG(sLog, "Closing channel to " << old->GetServerInfo());
    old.reset();
    std::unique_ptr<Channel> assigned(new Channel(host, port));
    if (assigned->GetErrorCount() != 0)
    {
        TLOG_ERROR(sLog, "Failed to open channel to " << host << ":" << port);
        return nullptr;
    }
    TLOG_DEBUG(sLog, "Opened channel to " << host << " at assigned port " << port);
    return assigned.release();
}

} // namespace Util
} // namespace Tavlin
