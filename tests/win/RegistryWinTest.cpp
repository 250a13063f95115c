#include "config/RegistryWin.h"

#include "commands/CommandHandler.h"
#include "commands/SkipList.h"
#include "config/ProductSettings.h"
#include "config/RegKey.h"
#include "tests/fakes/FakeCoreLink.h"
#include "tests/fakes/FakeHandlerPlatform.h"
#include "tests/fakes/FakeLogSink.h"
#include "tests/fakes/RecordingKeySender.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace
{
// Points a predefined root at a scratch key for the life of the object, so nothing touches the real hive.
class CHiveOverride
{
public:
    CHiveOverride(HKEY root, const char* scratch) : m_root(root)
    {
        ::RegDeleteTreeA(HKEY_CURRENT_USER, scratch);
        ::RegCreateKeyExA(HKEY_CURRENT_USER, scratch, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_scratch, nullptr);
        m_name = scratch;
        m_ok = ::RegOverridePredefKey(m_root, m_scratch) == ERROR_SUCCESS;
    }
    ~CHiveOverride()
    {
        ::RegOverridePredefKey(m_root, nullptr);
        ::RegCloseKey(m_scratch);
        ::RegDeleteTreeA(HKEY_CURRENT_USER, m_name.c_str());
    }
    bool Ok() const { return m_ok; }

private:
    HKEY m_root;
    HKEY m_scratch = nullptr;
    std::string m_name;
    bool m_ok = false;
};

constexpr const char* kTestKey = "Software\\LvbhoWinTests";

class RegistryWinTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ::RegDeleteTreeA(HKEY_CURRENT_USER, kTestKey);
        ASSERT_EQ(kRegOk, m_key.Create(kHkeyCurrentUser, kTestKey));
    }
    void TearDown() override
    {
        (void)m_key.Close();
        ::RegDeleteTreeA(HKEY_CURRENT_USER, kTestKey);
    }

    CRegistryWin m_registry;
    CRegKey m_key{m_registry};
};
// The product settings, loaded through a machine hive that is overridden for the test, after `write` has written
// the product's key.
bool LoadProductWrittenBy(const std::function<void(CRegKey& key)>& write, ProductInfo& info)
{
    CHiveOverride hive(HKEY_LOCAL_MACHINE, "Software\\LvbhoScratchHklm");
    if (!hive.Ok())
    {
        ADD_FAILURE() << "the machine hive could not be overridden; nothing was written";
        return false;
    }
    CRegistryWin registry;
    {
        CRegKey key(registry);
        if (key.Create(kHkeyLocalMachine, "Software\\Kavrin\\Lumivar") != kRegOk)
        {
            ADD_FAILURE() << "the product key could not be made";
            return false;
        }
        write(key);
    }
    CProductSettings settings(registry);
    return settings.Load(info);
}
} // namespace

TEST_F(RegistryWinTest, PredefinedRootsHaveTheWindowsValues)
{
    EXPECT_EQ(reinterpret_cast<RegHandle>(HKEY_LOCAL_MACHINE), kHkeyLocalMachine);
    EXPECT_EQ(reinterpret_cast<RegHandle>(HKEY_CURRENT_USER), kHkeyCurrentUser);
    EXPECT_EQ(reinterpret_cast<RegHandle>(HKEY_CLASSES_ROOT), kHkeyClassesRoot);
}

TEST_F(RegistryWinTest, StringAndDwordRoundTrip)
{
    std::string text;
    std::uint32_t number = 0;

    ASSERT_EQ(kRegOk, m_key.SetStringValue("s", "C:\\Lumivar\\"));
    ASSERT_EQ(kRegOk, m_key.SetDWORDValue("n", 55));

    ASSERT_EQ(kRegOk, m_key.QueryStringValue("s", text));
    EXPECT_EQ("C:\\Lumivar\\", text);
    ASSERT_EQ(kRegOk, m_key.QueryDWORDValue("n", number));
    EXPECT_EQ(55u, number);
}

TEST_F(RegistryWinTest, QueryStringOfADwordIsInvalidData)
{
    ASSERT_EQ(kRegOk, m_key.SetDWORDValue("n", 1));
    std::string text = "stale";

    EXPECT_EQ(kRegInvalidData, m_key.QueryStringValue("n", text));
    EXPECT_EQ("stale", text);
}

TEST_F(RegistryWinTest, QueryStringWithoutItsTerminatorIsInvalidData)
{
    // The system adds the terminator itself when the byte after the count is NUL; "X" keeps it out.
    ASSERT_EQ(ERROR_SUCCESS, ::RegSetValueExA(reinterpret_cast<HKEY>(m_key.Handle()), "raw", 0, REG_SZ,
                                              reinterpret_cast<const BYTE*>("abcX"), 3));
    std::string text;

    EXPECT_EQ(kRegInvalidData, m_key.QueryStringValue("raw", text));
}

TEST_F(RegistryWinTest, MissingValuesAndKeys)
{
    std::string text;
    CRegKey other(m_registry);

    EXPECT_EQ(kRegFileNotFound, m_key.QueryStringValue("absent", text));
    EXPECT_EQ(kRegFileNotFound, m_key.DeleteValue("absent"));
    EXPECT_EQ(kRegFileNotFound, m_key.DeleteSubKey("absent"));
    EXPECT_EQ(kRegFileNotFound, other.Open(kHkeyCurrentUser, "Software\\LvbhoWinTests\\absent", kKeyRead));
}

TEST_F(RegistryWinTest, DeleteSubKeyWithChildrenIsRefused)
{
    CRegKey child(m_registry);
    ASSERT_EQ(kRegOk, child.Create(kHkeyCurrentUser, "Software\\LvbhoWinTests\\A\\B"));
    (void)child.Close();

    EXPECT_EQ(kRegAccessDenied, m_key.DeleteSubKey("A"));
    CRegKey a(m_registry);
    ASSERT_EQ(kRegOk, a.Open(kHkeyCurrentUser, "Software\\LvbhoWinTests\\A"));
    EXPECT_EQ(kRegOk, a.DeleteSubKey("B"));
    EXPECT_EQ(kRegOk, m_key.DeleteSubKey("A"));
}

TEST(RegistryWinViewTest, ThirtyTwoBitViewIsSeparateAndDeletedOnItsOwn)
{
    CRegistryWin registry;
    CRegKey key32(registry);
    CRegKey key64(registry);
    ASSERT_EQ(kRegOk,
              key32.Create(kHkeyLocalMachine, "Software\\LvbhoViewTest\\Child", kKeyAllAccess | kKeyWow64_32Key));
    ASSERT_EQ(kRegOk, key32.SetStringValue("v", "32"));
    ASSERT_EQ(kRegOk,
              key64.Create(kHkeyLocalMachine, "Software\\LvbhoViewTest\\Child", kKeyAllAccess | kKeyWow64_64Key));
    ASSERT_EQ(kRegOk, key64.SetStringValue("v", "64"));
    std::string seen;
    ASSERT_EQ(kRegOk, key32.QueryStringValue("v", seen));
    EXPECT_EQ("32", seen);
    (void)key32.Close();
    (void)key64.Close();

    CRegKey parent32(registry);
    ASSERT_EQ(kRegOk, parent32.Open(kHkeyLocalMachine, "Software\\LvbhoViewTest", kKeyAllAccess | kKeyWow64_32Key));
    EXPECT_EQ(kKeyWow64_32Key, parent32.ViewFlags());
    ASSERT_EQ(kRegOk, parent32.DeleteSubKey("Child"));

    CRegKey check(registry);
    EXPECT_EQ(kRegFileNotFound, check.Open(kHkeyLocalMachine, "Software\\Wow6432Node\\LvbhoViewTest\\Child", kKeyRead));
    ASSERT_EQ(kRegOk, check.Open(kHkeyLocalMachine, "Software\\LvbhoViewTest\\Child", kKeyRead));
    ASSERT_EQ(kRegOk, check.QueryStringValue("v", seen));
    EXPECT_EQ("64", seen);
    (void)check.Close();

    ::RegDeleteTreeA(HKEY_LOCAL_MACHINE, "Software\\LvbhoViewTest");
    ::RegDeleteKeyExA(HKEY_LOCAL_MACHINE, "Software\\LvbhoViewTest", KEY_WOW64_32KEY, 0);
}

TEST(RegistryWinTransactionTest, TransactedCallsAnswerWhatTheSystemHas)
{
    CRegistryWin registry;
    const HMODULE advapi = ::GetModuleHandleA("Advapi32.dll");
    ASSERT_NE(nullptr, advapi);
    const bool hasOpen = ::GetProcAddress(advapi, "RegOpenKeyTransactedA") != nullptr;
    const bool hasDelete = ::GetProcAddress(advapi, "RegDeleteKeyTransactedA") != nullptr;
    CRegTransactionManager manager(registry, 0x1234, true);
    CRegKey key(registry, &manager);

    const RegResult open = key.Open(kHkeyCurrentUser, "Software", kKeyRead);
    const RegResult remove = manager.DeleteKey(kHkeyCurrentUser, "Software\\LvbhoNoSuchKey", 0);

    if (!hasOpen)
    {
        EXPECT_EQ(1, open);
    }
    if (!hasDelete)
    {
        EXPECT_EQ(1, remove);
    }
    EXPECT_NE(kRegOk, remove);
}

TEST(RegistryWinTransactionTest, FallbackWithoutTransactionMakesThePlainCall)
{
    CRegistryWin registry;
    CRegTransactionManager manager(registry, 0, true);
    CRegKey key(registry, &manager);

    EXPECT_EQ(kRegOk, key.Open(kHkeyCurrentUser, "Software", kKeyRead));
}

TEST(RegistryWinOverrideTest, ProductSettingsReadThroughAnOverriddenMachineHive)
{
    ProductInfo info;

    ASSERT_TRUE(LoadProductWrittenBy(
        [](CRegKey& key) {
            ASSERT_EQ(kRegOk, key.SetStringValue("InstallDir", "C:\\Scratch\\"));
            ASSERT_EQ(kRegOk, key.SetDWORDValue("OEM", 55));
            ASSERT_EQ(kRegOk, key.SetStringValue("ProductVer", "9.9"));
        },
        info));

    EXPECT_EQ("C:\\Scratch\\", info.installDir);
    EXPECT_EQ(55, info.oem);
    EXPECT_EQ("9.9", info.productVer);
}

TEST(RegistryWinOverrideTest, InstallDirOfTheWrongTypeIsNotInstalled)
{
    ProductInfo info;

    EXPECT_FALSE(
        LoadProductWrittenBy([](CRegKey& key) { ASSERT_EQ(kRegOk, key.SetDWORDValue("InstallDir", 1)); }, info));
}

TEST_F(RegistryWinTest, TheValueCountCountsEveryValue)
{
    ASSERT_EQ(kRegOk, m_key.SetStringValue("1", "bank"));
    ASSERT_EQ(kRegOk, m_key.SetStringValue("3", "mail"));
    ASSERT_EQ(kRegOk, m_key.SetDWORDValue("other", 7));
    std::uint32_t count = 0;

    ASSERT_EQ(kRegOk, m_registry.QueryValueCount(m_key.Handle(), count));

    EXPECT_EQ(3u, count);
}

TEST_F(RegistryWinTest, ValuesAreEnumeratedByIndexWithTheirNamesAndData)
{
    ASSERT_EQ(kRegOk, m_key.SetStringValue("First", "abc"));
    ASSERT_EQ(kRegOk, m_key.SetDWORDValue("second", 5));
    std::vector<std::string> names;
    for (std::uint32_t index = 0;; ++index)
    {
        char name[64] = {};
        std::uint32_t nameSize = sizeof name;
        std::uint32_t type = 0;
        std::uint8_t data[16] = {};
        std::uint32_t dataSize = sizeof data;
        const RegResult result = m_registry.EnumValue(m_key.Handle(), index, name, &nameSize, &type, data, &dataSize);
        if (result == kRegNoMoreItems)
            break;
        ASSERT_EQ(kRegOk, result);
        EXPECT_EQ(std::strlen(name), nameSize);
        names.push_back(name);
        if (names.back() == "First")
        {
            EXPECT_EQ(kRegSz, type);
            EXPECT_EQ(4u, dataSize);
        }
    }

    EXPECT_EQ((std::vector<std::string>{"First", "second"}), names);
}

TEST_F(RegistryWinTest, EnumeratingIntoASmallDataBufferAsksForMore)
{
    ASSERT_EQ(kRegOk, m_key.SetStringValue("long", "0123456789"));
    char name[64] = {};
    std::uint32_t nameSize = sizeof name;
    std::uint8_t data[4] = {};
    std::uint32_t dataSize = sizeof data;

    EXPECT_EQ(kRegMoreData, m_registry.EnumValue(m_key.Handle(), 0, name, &nameSize, nullptr, data, &dataSize));

    EXPECT_EQ(11u, dataSize);
}

TEST(RegistryWinSkipListTest, TheSkipListIsReadFromTheMachineThenTheUser)
{
    CHiveOverride machine(HKEY_LOCAL_MACHINE, "Software\\LvbhoSkipListMachine");
    CHiveOverride user(HKEY_CURRENT_USER, "Software\\LvbhoSkipListUser");
    ASSERT_TRUE(machine.Ok());
    ASSERT_TRUE(user.Ok());
    CRegistryWin registry;
    {
        CRegKey key(registry);
        ASSERT_EQ(kRegOk, key.Create(kHkeyLocalMachine, kSkipListKey, kKeyReadWrite | kKeyWow64_64Key));
        ASSERT_EQ(kRegOk, key.SetStringValue("1", "intranet"));
        CRegKey userKey(registry);
        ASSERT_EQ(kRegOk, userKey.Create(kHkeyCurrentUser, kSkipListKey));
        ASSERT_EQ(kRegOk, userKey.SetStringValue("1", "bank"));
        ASSERT_EQ(kRegOk, userKey.SetStringValue("2", "Mail"));
        ASSERT_EQ(kRegOk, userKey.SetStringValue("4", "lost"));
    }
    JsonCPPWrapper request;
    CFakeHandlerPlatform platform;
    CFakeCoreLink link;
    CFakeLogSink sink;
    CDebugLog log(sink);
    CRecordingKeySender keys;
    const HandlerServices services{platform, link, registry, keys, log, false};

    CLVBHOCommandHandler handler(request, services);

    // Three values under the user's key: "1" to "3" are asked for, so "4" is never read.
    EXPECT_EQ((std::vector<std::string>{"INTRANET", "BANK", "MAIL"}), handler.SkipList());
}
