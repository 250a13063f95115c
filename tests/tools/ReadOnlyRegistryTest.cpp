#include "tools/regdoctor/ReadOnlyRegistry.h"

#include "config/MemoryRegistry.h"
#include "config/RegKey.h"

#include <gtest/gtest.h>

namespace
{
constexpr const char* kProduct = "HKLM\\Software\\Kavrin\\Lumivar";

// The product key, seen through the read-only wrapper by a CRegKey.
template <typename Inner = CMemoryRegistry>
struct ReadOnlyProduct
{
    ReadOnlyProduct() { inner.SetString(kProduct, "InstallDir", "C:\\L\\"); }

    Inner inner;
    CReadOnlyRegistry registry{inner};
    CRegKey key{registry};
};
} // namespace

TEST(ReadOnlyRegistryTest, ReadsPassThrough)
{
    ReadOnlyProduct<> run;

    ASSERT_EQ(kRegOk, run.key.Open(kHkeyLocalMachine, "Software\\Kavrin\\Lumivar", kKeyRead | kKeyWow64_64Key));

    std::string value;
    EXPECT_EQ(kRegOk, run.key.QueryStringValue("InstallDir", value));
    EXPECT_EQ("C:\\L\\", value);
    EXPECT_EQ(0u, run.registry.RefusedCount());
}

TEST(ReadOnlyRegistryTest, EveryChangeIsRefusedAndCounted)
{
    ReadOnlyProduct<> run;
    ASSERT_EQ(kRegOk, run.key.Open(kHkeyLocalMachine, "Software\\Kavrin\\Lumivar", kKeyRead));

    EXPECT_EQ(kRegAccessDenied, run.key.SetStringValue("InstallDir", "D:\\"));
    EXPECT_EQ(kRegAccessDenied, run.key.DeleteValue("InstallDir"));
    EXPECT_EQ(kRegAccessDenied, run.key.DeleteSubKey("x"));
    CRegKey created(run.registry);
    EXPECT_EQ(kRegAccessDenied, created.Create(kHkeyCurrentUser, "Software\\New", kKeyRead));

    EXPECT_EQ(4u, run.registry.RefusedCount());
    EXPECT_FALSE(run.inner.HasKey("HKCU\\Software\\New"));
    EXPECT_NE(nullptr, run.inner.FindValue(kProduct, "InstallDir"));
}

TEST(ReadOnlyRegistryTest, AKeyIsNotOpenedForWriting)
{
    ReadOnlyProduct<> run;

    EXPECT_EQ(kRegAccessDenied, run.key.Open(kHkeyLocalMachine, "Software\\Kavrin\\Lumivar", kKeyReadWrite));

    EXPECT_EQ(1u, run.registry.RefusedCount());
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
    };
    ReadOnlyProduct<CAccessRecorder> run;

    ASSERT_EQ(kRegOk, run.key.Open(kHkeyLocalMachine, "Software\\Kavrin\\Lumivar", kKeyRead));

    EXPECT_EQ(kKeyRead | kKeyWow64_64Key, run.inner.m_access);
}
