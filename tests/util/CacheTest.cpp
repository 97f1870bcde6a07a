#include "util/Cache.h"

#include <gtest/gtest.h>

#include <string>

using Tavlin::Util::Cache;

namespace
{
struct Counted
{
    explicit Counted(int* deaths) : mDeaths(deaths) {}
    ~Counted() { ++*mDeaths; }
    int* mDeaths;
};
} // namespace

TEST(CacheEviction, DropsTheLeastRecentlyUsedAndDeletesOnlyOwnedValues)
{
    int deaths = 0;
    {
        Cache<std::string, Counted*> cache(2, true);
        Counted* a = new Counted(&deaths);
        cache.AddElement("a", a);
        cache.AddElement("b", new Counted(&deaths));
        Counted* found = nullptr;
        ASSERT_TRUE(cache.GetElement("a", found)); // "a" moves to the front, "b" is now last
        EXPECT_EQ(found, a);
        cache.AddElement("c", new Counted(&deaths));
        EXPECT_EQ(deaths, 1);
        EXPECT_FALSE(cache.GetElement("b", found));
        EXPECT_TRUE(cache.GetElement("a", found));
        EXPECT_TRUE(cache.GetElement("c", found));
        EXPECT_EQ(cache.Size(), 2u);
    }
    EXPECT_EQ(deaths, 3);
    {
        Counted first(&deaths), second(&deaths);
        Cache<std::string, Counted*> borrowing(1, false);
        borrowing.AddElement("1", &first);
        borrowing.AddElement("2", &second);
        EXPECT_EQ(deaths, 3);
    }

    Cache<std::string, int> off(0, false);
    off.AddElement("a", 1);
    int value = 0;
    EXPECT_FALSE(off.GetElement("a", value));
    EXPECT_EQ(off.Size(), 0u);

    Cache<std::string, int> duplicates(5, false);
    duplicates.AddElement("k", 1);
    duplicates.AddElement("k", 2);
    EXPECT_EQ(duplicates.Size(), 2u);
    ASSERT_TRUE(duplicates.GetElement("k", value));
    EXPECT_EQ(value, 2);
}
