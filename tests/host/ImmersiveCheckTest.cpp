#include "host/ImmersiveCheck.h"

#include "tests/fakes/FakeHostPlatform.h"

#include <gtest/gtest.h>

namespace
{
// Chrome runs immersive here, so only the failure under test can make the answer false.
CFakeImmersiveQuery ImmersiveChrome()
{
    CFakeImmersiveQuery query;
    query.m_processes = {{8, "chrome.exe"}};
    query.m_immersiveIds = {8};
    return query;
}
} // namespace

TEST(ImmersiveCheckTest, WithoutTheFunctionNothingIsImmersive)
{
    CFakeImmersiveQuery query = ImmersiveChrome();
    query.m_hasFunction = false;

    EXPECT_FALSE(IsProcessImmersive(query, "chrome.exe"));
    EXPECT_TRUE(query.m_asked.empty());
}

TEST(ImmersiveCheckTest, FailedSnapshotIsNotImmersive)
{
    CFakeImmersiveQuery query = ImmersiveChrome();
    query.m_snapshotWorks = false;

    EXPECT_FALSE(IsProcessImmersive(query, "chrome.exe"));
}

TEST(ImmersiveCheckTest, NameIsASubstringIgnoringCase)
{
    CFakeImmersiveQuery query;
    query.m_processes = {{3, "explorer.exe"}, {8, "NotChrome.EXE"}};
    query.m_immersiveIds = {8};

    EXPECT_TRUE(IsProcessImmersive(query, "chrome.exe"));
    EXPECT_EQ((std::vector<std::uint32_t>{8}), query.m_asked);
}

TEST(ImmersiveCheckTest, StopsAtTheFirstImmersiveMatch)
{
    CFakeImmersiveQuery query;
    query.m_processes = {{5, "chrome.exe"}, {6, "chrome.exe"}, {7, "chrome.exe"}};
    query.m_immersiveIds = {6};

    EXPECT_TRUE(IsProcessImmersive(query, "chrome.exe"));
    EXPECT_EQ((std::vector<std::uint32_t>{5, 6}), query.m_asked);
}

TEST(ImmersiveCheckTest, MatchesThatAreNotImmersiveGiveFalse)
{
    CFakeImmersiveQuery query;
    query.m_processes = {{5, "chrome.exe"}, {9, "firefox.exe"}};

    EXPECT_FALSE(IsProcessImmersive(query, "chrome.exe"));
    EXPECT_EQ((std::vector<std::uint32_t>{5}), query.m_asked);
}
