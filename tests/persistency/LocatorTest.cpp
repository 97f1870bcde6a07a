#include "persistency/FileLocator.h"
#include "persistency/Locator.h"

#include <gtest/gtest.h>

#include <sstream>

using Tavlin::Persistency::FileLocator;
using Tavlin::Persistency::Locator;

TEST(Locator, SplitsProtocolAndHostAtTheFirstColon)
{
    Locator remote("tcp:machine:1234", "images");
    EXPECT_EQ(remote.GetProtocol(), "tcp");
    EXPECT_EQ(remote.GetHost(), "machine:1234");
    EXPECT_EQ(Locator("file:", "direct").ToString(), "Locator(file,,direct)");
    EXPECT_EQ(Locator("file", "db").ToString(), "Locator(,,db)");

    // The name is kept as given, colon and all; file systems are keyed on the Locator part.
    FileLocator named("c:/x/y.jpg");
    EXPECT_EQ(named.GetName(), "c:/x/y.jpg");
    EXPECT_EQ(named.Locator::ToString(), "Locator(file,,direct)");
    std::ostringstream text;
    text << named << " " << FileLocator(remote, "a.bin");
    EXPECT_EQ(text.str(), "FileLocator(file,,direct,c:/x/y.jpg) FileLocator(tcp,machine:1234,images,a.bin)");
}
