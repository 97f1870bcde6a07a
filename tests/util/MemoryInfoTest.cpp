#include "util/MemoryInfo.h"

#include <gtest/gtest.h>

using Tavlin::Process::MemoryInfo;

TEST(MemoryInfoText, BaseOneThousandTwentyFourDigits)
{
    EXPECT_EQ(MemoryInfo::Bytes2String(0), "0B");
    EXPECT_EQ(MemoryInfo::Bytes2String(1023), "1023B");
    EXPECT_EQ(MemoryInfo::Bytes2String(1024), "1.0KB");
    EXPECT_EQ(MemoryInfo::Bytes2String(1536), "1.512KB");
    EXPECT_EQ(MemoryInfo::Bytes2String(-1536), "-1.512KB");
    EXPECT_EQ(MemoryInfo::Bytes2String(3LL * 1024 * 1024 * 1024 + 5LL * 1024 * 1024), "3.5GB");
    EXPECT_EQ(MemoryInfo::Bytes2String(1LL << 60), "1.0EB");
    EXPECT_EQ(MemoryInfo::Bytes2String(INT64_MAX), "7.1023EB");
}

TEST(MemoryInfoUsage, ReadsTheProgramSizeOfThisProcess)
{
    int64_t size = MemoryInfo::ProgramSize();
    EXPECT_GT(size, 1024 * 1024);
    EXPECT_EQ(size % 4096, 0);
}
