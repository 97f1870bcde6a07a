// Hands out connected, authorised channels to data servers and keeps the last 100
// of them, by key, for reuse. A new channel sends its passwords with "PortMode" and
// follows the answer: keep it ("Static"), ask for a port of its own ("Dynamic"), or
// go to another server ("Redirect host:port"). Channels live until they are evicted
// or the process ends; the pool has no lock.
#ifndef TAVLIN_UTIL_CHANNELPOOL_H
#define TAVLIN_UTIL_CHANNELPOOL_H

#include <memory>
#include <string>

#include "util/Cache.h"

namespace Tavlin
{
namespace Util
{

class Channel;

class ChannelPool
{
public:
    static ChannelPool& Instance();

    // A channel for key, from the cache when useCache and present; null after a
    // logged error.
    Channel* Get(const std::string& host, int port, const std::string& key, const std::string& passwordFile,
                 bool useCache);
    // hostAndPort is "machine:port" and the key.
    Channel* Get(const std::string& hostAndPort, const std::string& passwordFile);

    // Asks the server behind channel for a port of its own and returns a channel to
    // that port; channel is deleted in every case.
    Channel* GetDynamicChannel(Channel* channel, const std::string& host, const std::string& key,
                               const std::string& writePassword);

    static constexpr int sMaxSize = 100;

private:
    ChannelPool();

    // A channel may stand under two keys (after a redirect): shared ownership, so that
    // evicting one key leaves the other working.
    std::unique_ptr<Cache<std::string, std::shared_ptr<Channel>>> mCache;
};

} // namespace Util
} // namespace Tavlin

#endif
