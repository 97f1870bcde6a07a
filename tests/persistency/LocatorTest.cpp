#include "persistency/FileLocator.h"
#include "persistency/Locator.h"

#include <gtest/gtest.h>

#include <sstream>

using Tavlin::Persistency::FileLocator;
using Tavlin::Persistency::Locator;

TEST(Locator, SplitsProtocolAndHostAtTheFirstColon)
{
    Locator direct("file:", "direct");
    EXPECT_EQ(direct.GetProtocol(), "file");
    EXPECT_EQ(direct.GetHost(), "");
    EXPECT_EQ(direct.ToString(), "Locator(file,,direct)");

    Locator remote("tcp:machine:1234", "images");
    EXPECT_EQ(remote.GetProtocol(), "tcp");
    EXPECT_EQ(remote.GetHost(), "machine:1234");
    EXPECT_EQ(remote.ToString(), "Locator(tcp,machine:1234,images)");

    Locator bare("file", "db");
    EXPECT_EQ(bare.ToString(), "Locator(,,db)");

    // The name is kept as given, colon and all; the Locator part of the text form is
    // what file systems are keyed on.
    FileLocator named("c:/x/y.jpg");
    EXPECT_EQ(named.GetName(), "c:/x/y.jpg");
    EXPECT_EQ(named.ToString(), "FileLocator(file,,direct,c:/x/y.jpg)");
    EXPECT_EQ(named.Locator::ToString(), "Locator(file,,direct)");
    FileLocator inRemote(remote, "a.bin");
    std::ostringstream text;
    text << inRemote << " " << static_cast<const Locator&>(inRemote);
    EXPECT_EQ(text.str(), "FileLocator(tcp,machine:1234,images,a.bin) Locator(tcp,machine:1234,images)");
}
