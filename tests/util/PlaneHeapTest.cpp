#include "util/PlaneHeap.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace
{
// The VmFlags of the mapping that holds `address`, empty when none does.
std::string MappingFlags(const void* address)
{
    const uintptr_t at = reinterpret_cast<uintptr_t>(address);
    std::ifstream smaps("/proc/self/smaps");
    std::string line;
    bool inside = false;
    while (std::getline(smaps, line))
    {
        uintptr_t first = 0;
        uintptr_t last = 0;
        char dash = 0;
        std::istringstream header(line);
        if (header >> std::hex >> first >> dash >> last && dash == '-')
            inside = at >= first && at < last;
        else if (inside && line.rfind("VmFlags:", 0) == 0)
            return line;
    }
    return "";
}
} // namespace

TEST(PlaneHeap, LargeBlocksComeFromTheAdvisedHeapAndStayThere)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer's allocator has no heap to advise";
#endif
    std::ifstream offered("/sys/kernel/mm/transparent_hugepage/enabled");
    std::string modes;
    if (!std::getline(offered, modes) || modes.find("[never]") != std::string::npos)
        GTEST_SKIP() << "no transparent huge pages here";
    const size_t reserve = size_t(64) << 20;
    const size_t advised = Tavlin::Process::SetUpPlaneHeap(reserve);
    EXPECT_GE(advised, reserve);

    // A 12 MP plane is far above glibc's own mmap limit: it must still come from the heap.
    void* volatile plane = std::malloc(size_t(100) << 20);
    ASSERT_NE(plane, nullptr);
    EXPECT_LT(reinterpret_cast<uintptr_t>(plane), reinterpret_cast<uintptr_t>(sbrk(0)));
    std::free(plane);
    // Freed, it stays: the same size again is the same block, not a new mapping.
    void* volatile again = std::malloc(size_t(100) << 20);
    EXPECT_EQ(again, plane);
    std::free(again);

    // Its first bytes may lie in the part of the heap from before; its middle does not.
    char* volatile small = static_cast<char*>(std::malloc(size_t(8) << 20));
    ASSERT_NE(small, nullptr);
    const std::string flags = MappingFlags(small + (size_t(4) << 20));
    EXPECT_NE(flags.find(" hg"), std::string::npos) << flags;
    std::free(small);

    EXPECT_EQ(Tavlin::Process::SetUpPlaneHeap(0), 0u);
}
