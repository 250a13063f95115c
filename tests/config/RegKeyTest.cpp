#include "config/RegKey.h"

#include "config/MemoryRegistry.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{
constexpr const char* kKey = "HKLM\\Software\\Test";

// The test key, reached through a transaction manager made with `transaction` and `fallback`.
struct TransactedKey
{
    TransactedKey(std::uintptr_t transaction, bool fallback)
        : manager(registry, transaction, fallback), key(registry, &manager)
    {
        registry.SetString(kKey, "v", "x");
    }

    CMemoryRegistry registry;
    CRegTransactionManager manager;
    CRegKey key;
};
} // namespace

TEST(RegKeyTest, OpenKeepsTheViewFlagsOfTheAccess)
{
    CMemoryRegistry registry;
    registry.SetString(kKey, "v", "x");
    CRegKey key(registry);

    ASSERT_EQ(kRegOk, key.Open(kHkeyLocalMachine, "Software\\Test", kKeyRead | kKeyWow64_64Key));

    EXPECT_NE(0u, key.Handle());
    EXPECT_EQ(kKeyWow64_64Key, key.ViewFlags());
}

TEST(RegKeyTest, FailedOpenLeavesTheObjectAsItWas)
{
    CMemoryRegistry registry;
    registry.SetString(kKey, "v", "x");
    CRegKey key(registry);
    ASSERT_EQ(kRegOk, key.Open(kHkeyLocalMachine, "Software\\Test", kKeyRead | kKeyWow64_64Key));
    const RegHandle held = key.Handle();

    EXPECT_EQ(kRegFileNotFound, key.Open(kHkeyLocalMachine, "Software\\Absent", kKeyRead));

    EXPECT_EQ(held, key.Handle());
    EXPECT_EQ(kKeyWow64_64Key, key.ViewFlags());
}

TEST(RegKeyTest, OpenClosesTheOldKeyOnlyAfterTheNewOneOpened)
{
    CMemoryRegistry registry;
    registry.SetString("HKLM\\Software\\A", "v", "x");
    registry.SetString("HKLM\\Software\\B", "v", "x");
    CRegKey key(registry);
    ASSERT_EQ(kRegOk, key.Open(kHkeyLocalMachine, "Software\\A"));

    ASSERT_EQ(kRegOk, key.Open(kHkeyLocalMachine, "Software\\B"));

    const auto& calls = registry.Calls();
    ASSERT_EQ(3u, calls.size());
    EXPECT_EQ("open HKLM\\Software\\B", calls[1]);
    EXPECT_EQ("close HKLM\\Software\\A", calls[2]);
    EXPECT_EQ(1u, registry.OpenHandleCount());
}

TEST(RegKeyTest, CloseForgetsHandleAndView)
{
    CMemoryRegistry registry;
    CRegKey key(registry);
    ASSERT_EQ(kRegOk, key.Create(kHkeyCurrentUser, "Software\\Kavrin\\Lumivar", kKeyReadWrite | kKeyWow64_32Key));

    EXPECT_EQ(kRegOk, key.Close());

    EXPECT_EQ(0u, key.Handle());
    EXPECT_EQ(0u, key.ViewFlags());
    EXPECT_EQ(0u, registry.OpenHandleCount());
    EXPECT_EQ(kRegOk, key.Close());
}

TEST(RegKeyTest, DestructorClosesTheKey)
{
    CMemoryRegistry registry;
    {
        CRegKey key(registry);
        ASSERT_EQ(kRegOk, key.Create(kHkeyCurrentUser, "Software\\X"));
        ASSERT_EQ(1u, registry.OpenHandleCount());
    }

    EXPECT_EQ(0u, registry.OpenHandleCount());
}

TEST(RegKeyTest, CreateReportsTheDisposition)
{
    CMemoryRegistry registry;
    CRegKey key(registry);
    std::uint32_t disposition = 0;

    ASSERT_EQ(kRegOk, key.Create(kHkeyCurrentUser, "Software\\New", kKeyReadWrite, &disposition));
    EXPECT_EQ(1u, disposition);
    ASSERT_EQ(kRegOk, key.Create(kHkeyCurrentUser, "Software\\New", kKeyReadWrite, &disposition));
    EXPECT_EQ(2u, disposition);
}

TEST(RegKeyTest, QueryStringOfADwordIsInvalidData)
{
    CMemoryRegistry registry;
    registry.SetDword(kKey, "n", 55);
    CRegKey key(registry);
    ASSERT_EQ(kRegOk, key.Open(kHkeyLocalMachine, "Software\\Test", kKeyRead));
    char buffer[16] = "stale";
    std::uint32_t size = sizeof(buffer);

    EXPECT_EQ(kRegInvalidData, key.QueryStringValue("n", buffer, size));
    EXPECT_EQ(0u, size);
}

TEST(RegKeyTest, QueryStringWithoutItsTerminatorIsInvalidData)
{
    CMemoryRegistry registry;
    registry.SetRaw(kKey, "s", kRegSz, {'a', 'b', 'c'});
    CRegKey key(registry);
    ASSERT_EQ(kRegOk, key.Open(kHkeyLocalMachine, "Software\\Test", kKeyRead));
    std::string value = "stale";

    EXPECT_EQ(kRegInvalidData, key.QueryStringValue("s", value));
    EXPECT_EQ("stale", value);
}

TEST(RegKeyTest, QueryStringReadsStringsAndExpandableStrings)
{
    CMemoryRegistry registry;
    registry.SetString(kKey, "s", "text");
    registry.SetRaw(kKey, "e", kRegExpandSz, {'%', 'X', '%', 0});
    CRegKey key(registry);
    ASSERT_EQ(kRegOk, key.Open(kHkeyLocalMachine, "Software\\Test", kKeyRead));
    char buffer[16] = {};
    std::uint32_t size = sizeof(buffer);
    std::string expandable;

    ASSERT_EQ(kRegOk, key.QueryStringValue("s", buffer, size));
    EXPECT_STREQ("text", buffer);
    EXPECT_EQ(5u, size);
    ASSERT_EQ(kRegOk, key.QueryStringValue("e", expandable));
    EXPECT_EQ("%X%", expandable);
}

TEST(RegKeyTest, EmptyStringValueReadsAsEmpty)
{
    CMemoryRegistry registry;
    registry.SetRaw(kKey, "empty", kRegSz, {});
    CRegKey key(registry);
    ASSERT_EQ(kRegOk, key.Open(kHkeyLocalMachine, "Software\\Test", kKeyRead));
    char buffer[8] = "stale";
    std::uint32_t size = sizeof(buffer);

    ASSERT_EQ(kRegOk, key.QueryStringValue("empty", buffer, size));

    EXPECT_STREQ("", buffer);
    EXPECT_EQ(0u, size);
}

TEST(RegKeyTest, QueryStringTooLongForTheBufferIsMoreData)
{
    CMemoryRegistry registry;
    registry.SetString(kKey, "s", std::string(2000, 'x'));
    CRegKey key(registry);
    ASSERT_EQ(kRegOk, key.Open(kHkeyLocalMachine, "Software\\Test", kKeyRead));
    std::string value;

    EXPECT_EQ(kRegMoreData, key.QueryStringValue("s", value, 1024));
}

TEST(RegKeyTest, DwordRoundTripAndWrongType)
{
    CMemoryRegistry registry;
    registry.SetString(kKey, "s", "abc");
    CRegKey key(registry);
    ASSERT_EQ(kRegOk, key.Open(kHkeyLocalMachine, "Software\\Test"));
    std::uint32_t value = 7;

    ASSERT_EQ(kRegOk, key.SetDWORDValue("n", 0xDEADBEEF));
    ASSERT_EQ(kRegOk, key.QueryDWORDValue("n", value));
    EXPECT_EQ(0xDEADBEEFu, value);
    EXPECT_EQ(kRegInvalidData, key.QueryDWORDValue("s", value));
    EXPECT_EQ(0xDEADBEEFu, value);
    EXPECT_EQ(kRegFileNotFound, key.QueryDWORDValue("absent", value));
}

TEST(RegKeyTest, SetStringStoresTheTerminator)
{
    CMemoryRegistry registry;
    CRegKey key(registry);
    ASSERT_EQ(kRegOk, key.Create(kHkeyLocalMachine, "Software\\Test"));

    ASSERT_EQ(kRegOk, key.SetStringValue("s", "abc"));

    const auto* value = registry.FindValue(kKey, "s");
    ASSERT_NE(nullptr, value);
    EXPECT_EQ(kRegSz, value->type);
    EXPECT_EQ((std::vector<std::uint8_t>{'a', 'b', 'c', 0}), value->data);
}

TEST(RegKeyTest, DeleteValueAndMissingValue)
{
    CMemoryRegistry registry;
    registry.SetString(kKey, "s", "abc");
    CRegKey key(registry);
    ASSERT_EQ(kRegOk, key.Open(kHkeyLocalMachine, "Software\\Test"));

    EXPECT_EQ(kRegOk, key.DeleteValue("s"));
    EXPECT_EQ(kRegFileNotFound, key.DeleteValue("s"));
}

TEST(RegKeyTest, DeleteSubKeyUsesTheKeysView)
{
    CMemoryRegistry registry;
    registry.SetString("HKLM\\Software\\Wow6432Node\\Vendor\\Child", "v", "32");
    registry.SetString("HKLM\\Software\\Vendor\\Child", "v", "64");
    CRegKey key(registry);
    ASSERT_EQ(kRegOk, key.Open(kHkeyLocalMachine, "Software\\Vendor", kKeyAllAccess | kKeyWow64_32Key));

    ASSERT_EQ(kRegOk, key.DeleteSubKey("Child"));

    EXPECT_FALSE(registry.HasKey("HKLM\\Software\\Wow6432Node\\Vendor\\Child"));
    EXPECT_TRUE(registry.HasKey("HKLM\\Software\\Vendor\\Child"));
}

TEST(RegKeyTest, DeleteSubKeyWithChildrenIsRefused)
{
    CMemoryRegistry registry;
    registry.SetString("HKCU\\Software\\A\\B\\C", "v", "x");
    CRegKey key(registry);
    ASSERT_EQ(kRegOk, key.Open(kHkeyCurrentUser, "Software\\A"));

    EXPECT_EQ(kRegAccessDenied, key.DeleteSubKey("B"));
    EXPECT_EQ(kRegFileNotFound, key.DeleteSubKey("Absent"));
}

TEST(RegKeyTest, ThirtyTwoBitViewOfSoftwareIsRedirected)
{
    CMemoryRegistry registry;
    CRegKey key(registry);

    ASSERT_EQ(kRegOk, key.Create(kHkeyLocalMachine, "Software\\Vendor", kKeyReadWrite | kKeyWow64_32Key));
    ASSERT_EQ(kRegOk, key.SetStringValue("v", "32"));

    EXPECT_TRUE(registry.HasKey("HKLM\\Software\\Wow6432Node\\Vendor"));
    EXPECT_FALSE(registry.HasKey("HKLM\\Software\\Vendor"));
}

TEST(RegTransactionTest, WithoutTransactionAndWithoutFallbackTheAnswerIsOne)
{
    TransactedKey run(0, false);

    EXPECT_EQ(1, run.key.Open(kHkeyLocalMachine, "Software\\Test"));
    EXPECT_EQ(1, run.key.Create(kHkeyLocalMachine, "Software\\Test"));
    EXPECT_EQ(0u, run.key.Handle());
}

TEST(RegTransactionTest, WithoutTransactionTheFallbackMakesThePlainCall)
{
    TransactedKey run(0, true);

    EXPECT_EQ(kRegOk, run.key.Open(kHkeyLocalMachine, "Software\\Test"));
    EXPECT_EQ("open HKLM\\Software\\Test", run.registry.Calls().back());
}

TEST(RegTransactionTest, WithATransactionAMissingFunctionAnswersOne)
{
    TransactedKey run(0x44, true);

    EXPECT_EQ(1, run.key.Open(kHkeyLocalMachine, "Software\\Test"));
    EXPECT_EQ(1, run.key.Create(kHkeyLocalMachine, "Software\\Test"));
}

TEST(RegTransactionTest, DeleteSubKeyThroughAMissingTransactedFunctionAnswersOne)
{
    CMemoryRegistry registry;
    registry.SetString("HKLM\\Software\\Test\\Child", "v", "x");
    CRegTransactionManager plain(registry, 0, true);
    CRegKey key(registry, &plain);
    ASSERT_EQ(kRegOk, key.Open(kHkeyLocalMachine, "Software\\Test"));
    CRegTransactionManager transacted(registry, 0x44, false);

    EXPECT_EQ(1, transacted.DeleteKey(key.Handle(), "Child", 0));
    EXPECT_TRUE(registry.HasKey("HKLM\\Software\\Test\\Child"));
}

TEST(RegTransactionTest, WithATransactionTheTransactedCallsAreMade)
{
    CMemoryRegistry registry;
    registry.SetTransactedAvailable(true);
    registry.SetString("HKLM\\Software\\Test\\Child", "v", "x");
    CRegTransactionManager manager(registry, 0x44, false);
    CRegKey key(registry, &manager);

    ASSERT_EQ(kRegOk, key.Open(kHkeyLocalMachine, "Software\\Test"));
    EXPECT_EQ("transacted", registry.Calls().at(0));
    ASSERT_EQ(kRegOk, key.DeleteSubKey("Child"));
    EXPECT_EQ("transacted", registry.Calls().at(registry.Calls().size() - 2));
    EXPECT_FALSE(registry.HasKey("HKLM\\Software\\Test\\Child"));
}
