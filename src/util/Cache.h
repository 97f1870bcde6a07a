// A small most-recently-used cache: a hit moves the element to the front, the
// element at the back falls out when the cache is full. Size 0 switches it off.
#ifndef TAVLIN_UTIL_CACHE_H
#define TAVLIN_UTIL_CACHE_H

#include <deque>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

#include "basis/Report.h"

namespace Tavlin
{
namespace Util
{

template <class K, class V>
class Cache
{
public:
    typedef std::pair<K, V> CacheElem;

    Cache(int maxSize, bool ownsValues) : mMaxSize(maxSize), mOwnsValues(ownsValues) {}
    virtual ~Cache()
    {
        if (mOwnsValues)
            for (CacheElem& elem : mElements)
                DeleteValue(elem.second);
    }
    Cache(const Cache&) = delete;
    Cache& operator=(const Cache&) = delete;

    bool GetElement(const K& key, V& value)
    {
        for (auto it = mElements.begin(); it != mElements.end(); ++it)
        {
            if (it->first == key)
            {
                TLOG_DEBUG(Log(), "get: found elem @ " << key);
                value = it->second;
                CacheElem elem = *it;
                mElements.erase(it);
                AddElement(elem.first, elem.second);
                return true;
            }
        }
        TLOG_DEBUG(Log(), "get: elem @ " << key << " not found");
        return false;
    }

    // No test for a duplicate key.
    void AddElement(K key, V value)
    {
        if (mMaxSize == 0)
            return;
        TLOG_DEBUG(Log(), "add: pushing to front");
        mElements.push_front(CacheElem(key, value));
        if (static_cast<int>(mElements.size()) > mMaxSize)
        {
            if (mOwnsValues)
                DeleteValue(mElements.back().second);
            mElements.pop_back();
        }
    }

    size_t Size() const { return mElements.size(); }

private:
    static log4cpp::Category& Log()
    {
        static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Util.Cache");
        return sLog;
    }
    static void DeleteValue(V& value)
    {
        if constexpr (std::is_pointer<V>::value)
            delete value;
    }

    std::deque<CacheElem> mElements;
    int mMaxSize;
    bool mOwnsValues;
};

} // namespace Util
} // namespace Tavlin

#endif
