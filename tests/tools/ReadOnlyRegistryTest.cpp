#include "tools/regdoctor/ReadOnlyRegistry.h"

#include "config/MemoryRegistry.h"
#include "config/RegKey.h"

#include <gtest/gtest.h>

namespace
{
constexpr const char* kProduct = "HKLM\\Software\\Kavrin\\Lumivar";
}

TEST(ReadOnlyRegistryTest, ReadsPassThrough)
{
    CMemoryRegistry inner;
    inner.SetString(kProduct, "InstallDir", "C:\\L\\");
    CReadOnlyRegistry registry(inner);
    CRegKey key(registry);

    ASSERT_EQ(kRegOk, key.Open(kHkeyLocalMachine, "Software\\Kavrin\\Lumivar", kKeyRead | kKeyWow64_64Key));

    std::string value;
    EXPECT_EQ(kRegOk, key.QueryStringValue("InstallDir", value));
    EXPECT_EQ("C:\\L\\", value);
    EXPECT_EQ(0u, registry.RefusedCount());
}

TEST(ReadOnlyRegistryTest, EveryChangeIsRefusedAndCounted)
{
    CMemoryRegistry inner;
    inner.SetString(kProduct, "InstallDir", "C:\\L\\");
    CReadOnlyRegistry registry(inner);
    CRegKey key(registry);
    ASSERT_EQ(kRegOk, key.Open(kHkeyLocalMachine, "Software\\Kavrin\\Lumivar", kKeyRead));

    EXPECT_EQ(kRegAccessDenied, key.SetStringValue("InstallDir", "D:\\"));
    EXPECT_EQ(kRegAccessDenied, key.DeleteValue("InstallDir"));
    EXPECT_EQ(kRegAccessDenied, key.DeleteSubKey("x"));
    CRegKey created(registry);
    EXPECT_EQ(kRegAccessDenied, created.Create(kHkeyCurrentUser, "Software\\New", kKeyRead));

    EXPECT_EQ(4u, registry.RefusedCount());
    EXPECT_FALSE(inner.HasKey("HKCU\\Software\\New"));
    EXPECT_NE(nullptr, inner.FindValue(kProduct, "InstallDir"));
}

TEST(ReadOnlyRegistryTest, AKeyIsNotOpenedForWriting)
{
    CMemoryRegistry inner;
    inner.SetString(kProduct, "InstallDir", "C:\\L\\");
    CReadOnlyRegistry registry(inner);
    CRegKey key(registry);

    EXPECT_EQ(kRegAccessDenied, key.Open(kHkeyLocalMachine, "Software\\Kavrin\\Lumivar", kKeyReadWrite));

    EXPECT_EQ(1u, registry.RefusedCount());
}

TEST(ReadOnlyRegistryTest, AKeyOpenedWithoutAViewIsOpenedInThe64BitView)
{
    struct CAccessRecorder : CMemoryRegistry
    {
        RegResult OpenKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key) override
        {
            m_access = access;
            return CMemoryRegistry::OpenKey(parent, subKey, access, key);
        }
        std::uint32_t m_access = 0;
    } inner;
    inner.SetString(kProduct, "InstallDir", "C:\\L\\");
    CReadOnlyRegistry registry(inner);
    CRegKey key(registry);

    ASSERT_EQ(kRegOk, key.Open(kHkeyLocalMachine, "Software\\Kavrin\\Lumivar", kKeyRead));

    EXPECT_EQ(kKeyRead | kKeyWow64_64Key, inner.m_access);
}
