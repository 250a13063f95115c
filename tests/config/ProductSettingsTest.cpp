#include "config/ProductSettings.h"

#include "config/MemoryRegistry.h"

#include <gtest/gtest.h>

namespace
{
constexpr const char* kKey = "HKLM\\Software\\Kavrin\\Lumivar";
}

TEST(ProductSettingsTest, MissingKeyMeansNotInstalled)
{
    CMemoryRegistry registry;
    CProductSettings settings(registry);
    ProductInfo info;

    EXPECT_FALSE(settings.Load(info));
}

TEST(ProductSettingsTest, MissingInstallDirMeansNotInstalled)
{
    CMemoryRegistry registry;
    registry.SetDword(kKey, "OEM", 3);
    CProductSettings settings(registry);
    ProductInfo info;

    EXPECT_FALSE(settings.Load(info));
    EXPECT_EQ(0u, registry.OpenHandleCount());
}

TEST(ProductSettingsTest, InstallDirOfTheWrongTypeMeansNotInstalled)
{
    CMemoryRegistry registry;
    registry.SetDword(kKey, "InstallDir", 1);
    CProductSettings settings(registry);
    ProductInfo info;

    EXPECT_FALSE(settings.Load(info));
}

TEST(ProductSettingsTest, InstallDirOnlyGivesEmptyVersionsAndZeros)
{
    CMemoryRegistry registry;
    registry.SetString(kKey, "InstallDir", "C:\\Program Files\\Lumivar\\");
    CProductSettings settings(registry);
    ProductInfo info;

    ASSERT_TRUE(settings.Load(info));

    EXPECT_EQ("C:\\Program Files\\Lumivar\\", info.installDir);
    EXPECT_EQ("", info.productVer);
    EXPECT_EQ("", info.webVersion);
    EXPECT_EQ("", info.buildNumber);
    EXPECT_EQ(0, info.oem);
    EXPECT_EQ(0, info.pmode);
    EXPECT_EQ(0, info.release);
}

TEST(ProductSettingsTest, ReadsEveryValue)
{
    CMemoryRegistry registry;
    registry.SetString(kKey, "InstallDir", "C:\\Lumivar\\");
    registry.SetDword(kKey, "OEM", 55);
    registry.SetDword(kKey, "PMode", 2);
    registry.SetString(kKey, "ProductVer", "9.2.1");
    registry.SetString(kKey, "WebVersion", "4.0");
    registry.SetString(kKey, "BuildNumber", "1234");
    registry.SetDword(kKey, "Release", 7);
    CProductSettings settings(registry);
    ProductInfo info;

    ASSERT_TRUE(settings.Load(info));

    EXPECT_EQ(55, info.oem);
    EXPECT_EQ(2, info.pmode);
    EXPECT_EQ("9.2.1", info.productVer);
    EXPECT_EQ("4.0", info.webVersion);
    EXPECT_EQ("1234", info.buildNumber);
    EXPECT_EQ(7, info.release);
    EXPECT_EQ(0u, registry.OpenHandleCount());
}

TEST(ProductSettingsTest, OpensTheKeyForReadingWithoutAView)
{
    CMemoryRegistry registry;
    registry.SetString("HKLM\\Software\\Wow6432Node\\Kavrin\\Lumivar", "InstallDir", "C:\\x86\\");
    CProductSettings settings(registry);
    ProductInfo info;

    EXPECT_FALSE(settings.Load(info));
}

TEST(ProductSettingsTest, ValueOfTheWrongTypeIsSkippedSilently)
{
    CMemoryRegistry registry;
    registry.SetString(kKey, "InstallDir", "C:\\Lumivar\\");
    registry.SetString(kKey, "OEM", "55");
    registry.SetDword(kKey, "ProductVer", 9);
    CProductSettings settings(registry);
    ProductInfo info;

    ASSERT_TRUE(settings.Load(info));

    EXPECT_EQ(0, info.oem);
    EXPECT_EQ("", info.productVer);
}
