#include "registration/Registration.h"

#include "config/RegKey.h"
#include "registration/Deployment.h"
#include "registration/Editions.h"
#include "registration/Manifests.h"
#include "tests/fakes/FakeRegistrationPlatform.h"

#include <gtest/gtest.h>

namespace
{
struct Installed
{
    explicit Installed(int edition = 0)
    {
        product.installDir = "C:\\Program Files\\Lumivar\\";
        product.oem = edition;
        registry.SetString("HKLM\\Software\\Kavrin\\Lumivar", "InstallDir", product.installDir);
    }
    std::string Text(const std::string& path, const std::string& name) const
    {
        const auto* value = registry.FindValue(path, name);
        if (!value)
            return "<absent>";
        std::string text(value->data.begin(), value->data.end());
        return text.substr(0, text.find('\0'));
    }
    bool Has(const std::string& path, const std::string& name) const { return registry.FindValue(path, name); }

    CMemoryRegistry registry;
    CFakeRegistrationPlatform platform{registry};
    ProductInfo product;
    CRegistration registration{registry, platform, product};
};

constexpr const char* kChromeHostKey =
    "HKLM\\SOFTWARE\\Google\\Chrome\\NativeMessagingHosts\\com.google.chrome.lvbhohost";
constexpr const char* kFirefoxHostKey = "HKLM\\SOFTWARE\\Mozilla\\NativeMessagingHosts\\com.mozilla.firefox.lvbhohost";
constexpr const char* kChromeManifestPath = "C:\\Program Files\\Lumivar\\com.google.chrome.lvbhohost-win.json";
constexpr const char* kFirefoxManifestPath = "C:\\Program Files\\Lumivar\\com.mozilla.firefox.lvbhohost-win.json";
const std::string kForcelist = std::string("HKCU\\") + CFakePolicyStore::kMachineSection +
                               "\\Software\\Policies\\Google\\Chrome\\ExtensionInstallForcelist";
const std::string kChromePolicy =
    std::string("HKCU\\") + CFakePolicyStore::kMachineSection + "\\Software\\Policies\\Google\\Chrome";

std::string ChromeManifest(const std::string& id)
{
    return "{\"allowed_origins\":[\"chrome-extension://" + id +
           "/\"],\"description\":\"Chrome Native Messaging LVBHO Host\",\"name\":\"com.google.chrome.lvbhohost\","
           "\"path\":\"lvbhohost.exe\",\"type\":\"stdio\"}";
}

std::string FirefoxManifest(const std::string& id)
{
    return "{\"allowed_extensions\":[\"" + id +
           "\"],\"description\":\"Firefox Native Messaging LVBHO Host\",\"name\":\"com.mozilla.firefox.lvbhohost\","
           "\"path\":\"lvbhohost.exe\",\"type\":\"stdio\"}";
}
} // namespace

TEST(RegistrationTest, TheManifestsOfEachEditionHaveTheirExactBytes)
{
    const std::tuple<int, const char*, const char*> editions[] = {
        {5, "kembcdlbgbcnnchcnbdhbmbhbejnedjf", "EdEsca_ffext@lvbho"},
        {25, "mmdpmbgcgofdkbdaedlacgmeillpddpo", "EdFaro_ffext@lvbho"},
        {55, "dgldcbgpnkooljhfhcjpkojcdnfkepnb", "EdHalo_ffext@lvbho"},
        {59, "ckklpoccipcbjojmlaolfdpbgjehmmpc", "EdDuna_ffext@lvbho"},
        {60, "fomieninlmhecfehhapfijaenlkebomm", "EdGiro_ffext@lvbho"},
        {0, "mmdpmbgcgofdkbdaedlacgmeillpddpo", "EdHalo_ffext@lvbho"},
    };
    for (const auto& [edition, chromeId, firefoxId] : editions)
    {
        Installed run(edition);

        EXPECT_EQ(1, run.registration.RegisterNativeApp(""));

        EXPECT_EQ(ChromeManifest(chromeId), run.platform.m_files[kChromeManifestPath]) << edition;
        EXPECT_EQ(FirefoxManifest(firefoxId), run.platform.m_files[kFirefoxManifestPath]) << edition;
        EXPECT_EQ(kChromeManifestPath, run.Text(kChromeHostKey, ""));
        EXPECT_EQ(kFirefoxManifestPath, run.Text(kFirefoxHostKey, ""));
    }
}

TEST(RegistrationTest, EditionFiftySixRegistersFirefoxButNotChrome)
{
    Installed run(56);

    EXPECT_EQ(0, run.registration.RegisterNativeApp(""));

    EXPECT_EQ(0u, run.platform.m_files.count(kChromeManifestPath));
    EXPECT_FALSE(run.registry.HasKey(kChromeHostKey));
    EXPECT_EQ(FirefoxManifest("EdHalo_ffext@lvbho"), run.platform.m_files[kFirefoxManifestPath]);
    EXPECT_EQ(kFirefoxManifestPath, run.Text(kFirefoxHostKey, ""));
}

TEST(RegistrationTest, AnExplicitIdReplacesTheEditionsChoiceForBothBrowsersEvenInEditionFiftySix)
{
    Installed run(56);

    EXPECT_TRUE(run.registration.WriteChromeManifest("abcdefghijklmnopabcdefghijklmnop"));
    EXPECT_TRUE(run.registration.WriteFirefoxManifest("tester@example.org"));

    EXPECT_EQ(ChromeManifest("abcdefghijklmnopabcdefghijklmnop"), run.platform.m_files[kChromeManifestPath]);
    EXPECT_EQ(FirefoxManifest("tester@example.org"), run.platform.m_files[kFirefoxManifestPath]);
}

TEST(RegistrationTest, AnotherWorkingDirectoryGetsTheManifestsAndTheKeysPointThere)
{
    Installed run(55);
    run.platform.m_currentDirectory = "C:\\Elsewhere";

    run.registration.RegisterNativeApp("");

    EXPECT_EQ(1u, run.platform.m_files.count("C:\\Elsewhere\\com.google.chrome.lvbhohost-win.json"));
    EXPECT_EQ("C:\\Elsewhere\\com.google.chrome.lvbhohost-win.json", run.Text(kChromeHostKey, ""));
    EXPECT_EQ("C:\\Elsewhere\\com.mozilla.firefox.lvbhohost-win.json", run.Text(kFirefoxHostKey, ""));
}

TEST(RegistrationTest, AChromeManifestThatCannotBeWrittenIsNotRegisteredWhileFirefoxsKeyIs)
{
    Installed run(55);
    run.platform.m_filesWritable = false;

    EXPECT_EQ(0, run.registration.RegisterNativeApp(""));

    EXPECT_FALSE(run.registry.HasKey(kChromeHostKey));
    EXPECT_EQ(kFirefoxManifestPath, run.Text(kFirefoxHostKey, ""));
}

TEST(RegistrationTest, UnregisteringRemovesTheKeysAndLeavesTheFiles)
{
    Installed run(55);
    run.registration.RegisterNativeApp("");

    EXPECT_EQ(1, run.registration.UnRegisterNativeApp());
    EXPECT_EQ(1, run.registration.UnRegisterNativeApp()); // the parents are still there

    EXPECT_FALSE(run.registry.HasKey(kChromeHostKey));
    EXPECT_FALSE(run.registry.HasKey(kFirefoxHostKey));
    EXPECT_EQ(2u, run.platform.m_files.size());
}

TEST(RegistrationTest, UnregisteringWithoutTheParentKeysFails)
{
    Installed run(55);

    EXPECT_EQ(0, run.registration.UnRegisterNativeApp());
}

TEST(RegistrationTest, TheForcelistEntryNamesTheUpdateBaseAndTheEditionFolder)
{
    EXPECT_EQ("ppjcedkipfagleajcilflhkhghmhgpla;http://s.example/chrome-ext/EdAlto/update.xml",
              BuildForcelistEntry("http://s.example", EditionFolderFor(5)));
    EXPECT_EQ("EdBrio", EditionFolderFor(55));
    EXPECT_EQ("EdCeda", EditionFolderFor(56));
    EXPECT_EQ("EdDuna", EditionFolderFor(59));
    EXPECT_EQ("Kavrin", EditionFolderFor(60));
    EXPECT_EQ(259u, BuildForcelistEntry(std::string(400, 'x'), "f").size());
}

TEST(RegistrationTest, RegisteringThePolicyIntoAnEmptyForcelistCreatesValueOne)
{
    Installed run(55);

    EXPECT_EQ(1, run.registration.RegisterChromeGPO());

    const auto* value = run.registry.FindValue(kForcelist, "1");
    ASSERT_NE(nullptr, value);
    EXPECT_EQ(kRegSz, value->type);
    EXPECT_EQ(260u, value->data.size());
    EXPECT_EQ(BuildForcelistEntry(kStoreServer, "EdBrio"), run.Text(kForcelist, "1"));
    const auto* passwordManager = run.registry.FindValue(kChromePolicy, "PasswordManagerEnabled");
    ASSERT_NE(nullptr, passwordManager);
    EXPECT_EQ((std::vector<std::uint8_t>{0, 0, 0, 0}), passwordManager->data);
    EXPECT_EQ((std::vector<std::string>{kRegisterToolGuid}), run.platform.m_saves);
}

TEST(RegistrationTest, TheTestPortalSettingTakesTheMainServer)
{
    Installed run(59);
    run.registry.SetDword("HKLM\\Software\\Kavrin\\Lumivar", "UseTestPortal", 1);

    EXPECT_EQ(1, run.registration.RegisterChromeGPO());

    EXPECT_EQ(BuildForcelistEntry(kMainServer, "EdDuna"), run.Text(kForcelist, "1"));
}

TEST(RegistrationTest, RegisteringThePolicyTwiceLeavesOneEntryAndWritesNothingTheSecondTime)
{
    Installed run(55);
    ASSERT_EQ(1, run.registration.RegisterChromeGPO());
    run.registry.SetDword(kChromePolicy, "PasswordManagerEnabled", 7); // would be rewritten by a second write

    EXPECT_EQ(1, run.registration.RegisterChromeGPO());

    EXPECT_FALSE(run.Has(kForcelist, "2"));
    EXPECT_EQ(1u, run.platform.m_saves.size());
    EXPECT_EQ((std::vector<std::uint8_t>{7, 0, 0, 0}),
              run.registry.FindValue(kChromePolicy, "PasswordManagerEnabled")->data);
}

TEST(RegistrationTest, AnEntryWithAnotherUpdateBaseMakesRegistrationFailWithoutChanges)
{
    Installed run(55);
    run.registry.SetString(kForcelist, "1", "ppjcedkipfagleajcilflhkhghmhgpla;http://old.example/update.xml");

    EXPECT_EQ(0, run.registration.RegisterChromeGPO());

    EXPECT_EQ("ppjcedkipfagleajcilflhkhghmhgpla;http://old.example/update.xml", run.Text(kForcelist, "1"));
    EXPECT_FALSE(run.Has(kChromePolicy, "PasswordManagerEnabled"));
    EXPECT_TRUE(run.platform.m_saves.empty());
}

TEST(RegistrationTest, TheNewEntryIsNamedByTheCountOfValuesNotOneMore)
{
    Installed run(55);
    run.registry.SetString(kForcelist, "1", "aaaa;http://a.example/update.xml");
    run.registry.SetString(kForcelist, "2", "bbbb;http://b.example/update.xml");

    EXPECT_EQ(1, run.registration.RegisterChromeGPO());

    EXPECT_EQ("aaaa;http://a.example/update.xml", run.Text(kForcelist, "1"));
    EXPECT_EQ(BuildForcelistEntry(kStoreServer, "EdBrio"), run.Text(kForcelist, "2")); // "2" replaced
    EXPECT_FALSE(run.Has(kForcelist, "3"));
}

TEST(RegistrationTest, APolicyThatCannotBeOpenedFails)
{
    Installed run(55);
    run.platform.m_policyOpens = false;

    EXPECT_EQ(0, run.registration.RegisterChromeGPO());
    EXPECT_EQ(0, run.registration.UnRegisterChromeGPO());

    EXPECT_FALSE(run.registry.HasKey(kForcelist));
}

TEST(RegistrationTest, APolicyWrittenButNotSavedIsAFailureLeftInPlace)
{
    Installed run(55);
    run.platform.m_saveWorks = false;

    EXPECT_EQ(0, run.registration.RegisterChromeGPO());

    EXPECT_TRUE(run.Has(kForcelist, "1"));
}

TEST(RegistrationTest, UnregisteringThePolicyRemovesTheEntryAndThePasswordManagerValue)
{
    Installed run(55);
    run.registry.SetString(kForcelist, "1", "aaaa;http://a.example/update.xml");
    run.registry.SetString(kForcelist, "2", "bbbb;http://b.example/update.xml");
    ASSERT_EQ(1, run.registration.RegisterChromeGPO()); // into "2"

    EXPECT_EQ(1, run.registration.UnRegisterChromeGPO());

    EXPECT_TRUE(run.Has(kForcelist, "1"));
    EXPECT_FALSE(run.Has(kForcelist, "2"));
    EXPECT_FALSE(run.Has(kChromePolicy, "PasswordManagerEnabled"));
    EXPECT_EQ((std::vector<std::string>{kRegisterToolGuid, kUnregisterToolGuid}), run.platform.m_saves);
}

TEST(RegistrationTest, UnregisteringAnAbsentPolicyFailsAndLeavesThePasswordManagerValue)
{
    Installed run(55);
    run.registry.SetString(kForcelist, "1", "aaaa;http://a.example/update.xml");
    run.registry.SetDword(kChromePolicy, "PasswordManagerEnabled", 0);

    EXPECT_EQ(0, run.registration.UnRegisterChromeGPO());

    EXPECT_TRUE(run.Has(kChromePolicy, "PasswordManagerEnabled"));
    EXPECT_TRUE(run.platform.m_saves.empty());
}

TEST(RegistrationTest, TheInstallPageOfEachEditionGetsTheLanguageWhereItTakesOne)
{
    const std::pair<int, std::string> pages[] = {
        {5, std::string(kInstallPageEdition5) + "de-DE"},
        {55, "https://chrome.google.com/webstore/detail/dgldcbgpnkooljhfhcjpkojcdnfkepnb"},
        {59, std::string(kInstallPageEdition59) + "de-DE"},
        {60, std::string(kInstallPageEdition60) + "de-DE"},
        {0, std::string(kInstallPageProduct) + "de-DE"},
    };
    for (const auto& [edition, address] : pages)
    {
        Installed run(edition);
        run.platform.m_language = "de-DE";

        run.registration.InstallChromeBHO();

        EXPECT_EQ((std::vector<std::string>{address}), run.platform.m_opened) << edition;
    }
}

TEST(RegistrationTest, EditionFiftySixOpensNoInstallPage)
{
    Installed run(56);

    run.registration.InstallChromeBHO();

    EXPECT_TRUE(run.platform.m_opened.empty());
}

TEST(RegistrationTest, AnInstallPageWithoutALanguageNameEndsInLang)
{
    Installed run(0);
    run.platform.m_language.clear();

    run.registration.InstallChromeBHO();

    EXPECT_EQ((std::vector<std::string>{kInstallPageProduct}), run.platform.m_opened);
}

namespace
{
const std::string kUserData = "C:\\users\\u\\AppData\\Local\\Google\\Chrome\\User Data";
constexpr const char* kUserProduct = "HKCU\\Software\\Kavrin\\Lumivar";
} // namespace

TEST(RegistrationTest, TheExtensionFoundAtAnyDepthOfAProfileCountsAsInstalled)
{
    Installed run(55);
    run.platform.AddFolder(kUserData + "\\Default\\Cache");
    run.platform.AddFolder(kUserData + "\\Profile 2\\Extensions\\DGLDCBGPNKOOLJHFHCJPKOJCDNFKEPNB\\1.0_0");

    EXPECT_EQ(1, run.registration.CheckBHOInstalled());

    EXPECT_EQ((std::vector<std::uint8_t>{1, 0, 0, 0}), run.registry.FindValue(kUserProduct, "ChromeBHO")->data);
}

TEST(RegistrationTest, AFileNamedLikeTheExtensionDoesNotCount)
{
    Installed run(55);
    run.platform.AddFolder(kUserData + "\\Default\\Extensions");
    run.platform.m_treeFiles.insert(kUserData + "\\Default\\Extensions\\dgldcbgpnkooljhfhcjpkojcdnfkepnb");

    EXPECT_EQ(1, run.registration.CheckBHOInstalled());

    EXPECT_EQ((std::vector<std::uint8_t>{0, 0, 0, 0}), run.registry.FindValue(kUserProduct, "ChromeBHO")->data);
}

TEST(RegistrationTest, TheExtensionFolderCountsDirectlyBelowUserDataAndFarBelow)
{
    for (const std::string& folder : {kUserData + "\\dgldcbgpnkooljhfhcjpkojcdnfkepnb",
                                      kUserData + "\\a\\b\\c\\d\\e\\f\\dgldcbgpnkooljhfhcjpkojcdnfkepnb"})
    {
        Installed run(55);
        run.platform.AddFolder(folder);

        run.registration.CheckBHOInstalled();

        EXPECT_EQ((std::vector<std::uint8_t>{1, 0, 0, 0}), run.registry.FindValue(kUserProduct, "ChromeBHO")->data)
            << folder;
    }
}

TEST(RegistrationTest, TheSearchStopsAtTheFirstFind)
{
    Installed run(55);
    run.platform.AddFolder(kUserData + "\\A\\dgldcbgpnkooljhfhcjpkojcdnfkepnb");
    run.platform.AddFolder(kUserData + "\\B\\deep\\deeper");

    run.registration.CheckBHOInstalled();

    for (const std::string& listed : run.platform.m_listed)
        EXPECT_EQ(std::string::npos, listed.find("\\B")) << listed;
}

TEST(RegistrationTest, EditionFiftySixWritesNoChromeBHOValue)
{
    Installed run(56);
    run.platform.AddFolder(kUserData + "\\Default");

    EXPECT_EQ(0, run.registration.CheckBHOInstalled());

    EXPECT_FALSE(run.Has(kUserProduct, "ChromeBHO"));
}

TEST(RegistrationTest, TheExternalExtensionKeyLivesInThe32BitView)
{
    Installed run(59);

    EXPECT_EQ(1, run.registration.RegisterChromeBHO(1));

    EXPECT_EQ(kChromeUpdateService,
              run.Text("HKLM\\SOFTWARE\\Wow6432Node\\Google\\Chrome\\Extensions\\ckklpoccipcbjojmlaolfdpbgjehmmpc",
                       "update_url"));
    EXPECT_FALSE(run.registry.HasKey("HKLM\\SOFTWARE\\Google\\Chrome\\Extensions\\ckklpoccipcbjojmlaolfdpbgjehmmpc"));

    EXPECT_EQ(1, run.registration.RegisterChromeBHO(0));

    EXPECT_FALSE(run.registry.HasKey(
        "HKLM\\SOFTWARE\\Wow6432Node\\Google\\Chrome\\Extensions\\ckklpoccipcbjojmlaolfdpbgjehmmpc"));
}

TEST(RegistrationTest, EditionFiftySixHasNoExternalExtension)
{
    Installed run(56);

    EXPECT_EQ(0, run.registration.RegisterChromeBHO(1));
    EXPECT_EQ(0, run.registration.RegisterChromeBHO(0));
}

TEST(RegistrationTest, RemovingTheExternalExtensionWithoutItsParentFails)
{
    Installed run(59);

    EXPECT_EQ(0, run.registration.RegisterChromeBHO(0));
}

TEST(RegistrationTest, TheFirefoxExtensionIsRegisteredInBothViewsWithItsOwnPipeLibrary)
{
    Installed run(60);
    run.platform.m_currentDirectory = "C:\\Program Files\\Lumivar";

    EXPECT_EQ(1, run.registration.RegisterFFBHO());

    EXPECT_EQ("C:\\Program Files\\Lumivar\\lvbhohost.exe", run.Text("HKLM\\Software\\Kavrin\\Lumivar", "lvbhohost"));
    EXPECT_EQ("C:\\Program Files\\Lumivar\\lvhostpipe64.dll",
              run.Text("HKLM\\Software\\Kavrin\\Lumivar", "lvhostpipe"));
    EXPECT_EQ("C:\\Program Files\\Lumivar\\lvhostpipe.dll",
              run.Text("HKLM\\Software\\Wow6432Node\\Kavrin\\Lumivar", "lvhostpipe"));
    EXPECT_EQ("C:\\Program Files\\Lumivar\\FFBHOExt",
              run.Text("HKLM\\SOFTWARE\\Mozilla\\Firefox\\Extensions", "EdGiro_ffext@lvbho"));
    EXPECT_EQ("C:\\Program Files\\Lumivar\\FFBHOExt",
              run.Text("HKLM\\SOFTWARE\\Wow6432Node\\Mozilla\\Firefox\\Extensions", "EdGiro_ffext@lvbho"));
}

TEST(RegistrationTest, WithoutTheProductKeyTheFirefoxRegistrationWritesNothing)
{
    Installed run(60);
    CMemoryRegistry empty;
    CRegistration registration(empty, run.platform, run.product);

    EXPECT_EQ(0, registration.RegisterFFBHO());

    EXPECT_FALSE(empty.HasKey("HKLM\\SOFTWARE\\Mozilla\\Firefox\\Extensions"));
    EXPECT_FALSE(empty.HasKey("HKLM\\Software\\Wow6432Node\\Kavrin\\Lumivar"));
}

TEST(RegistrationTest, UnregisteringFirefoxTwiceSucceedsAndKeepsThe64BitHostValues)
{
    Installed run(0);
    run.registry.SetString("HKLM\\SOFTWARE\\Wow6432Node\\Mozilla\\Firefox\\Extensions", "ffext@lvbho", "old");
    ASSERT_EQ(1, run.registration.RegisterFFBHO());

    EXPECT_EQ(1, run.registration.UnRegisterFFBHO());
    EXPECT_EQ(1, run.registration.UnRegisterFFBHO());

    EXPECT_FALSE(run.Has("HKLM\\SOFTWARE\\Mozilla\\Firefox\\Extensions", "EdHalo_ffext@lvbho"));
    EXPECT_FALSE(run.Has("HKLM\\SOFTWARE\\Wow6432Node\\Mozilla\\Firefox\\Extensions", "EdHalo_ffext@lvbho"));
    EXPECT_FALSE(run.Has("HKLM\\SOFTWARE\\Wow6432Node\\Mozilla\\Firefox\\Extensions", "ffext@lvbho"));
    EXPECT_FALSE(run.Has("HKLM\\Software\\Wow6432Node\\Kavrin\\Lumivar", "lvhostpipe"));
    EXPECT_TRUE(run.Has("HKLM\\Software\\Kavrin\\Lumivar", "lvbhohost"));
    EXPECT_TRUE(run.Has("HKLM\\Software\\Kavrin\\Lumivar", "lvhostpipe"));
}

TEST(RegistrationTest, UnregisteringFirefoxWithNoKeysAtAllFails)
{
    Installed run(0);
    CMemoryRegistry empty;
    CRegistration registration(empty, run.platform, run.product);

    EXPECT_EQ(0, registration.UnRegisterFFBHO());
}

TEST(RegistrationTest, TheForcelistSearchMatchesTheIdCaseSensitivelyAndTakesTheFirst)
{
    CMemoryRegistry registry;
    registry.SetString("HKCU\\List", "1", "PPJCEDKIPFAGLEAJCILFLHKHGHMHGPLA;http://upper.example/update.xml");
    registry.SetString("HKCU\\List", "2", "x;ppjcedkipfagleajcilflhkhghmhgpla;http://first.example/update.xml");
    registry.SetString("HKCU\\List", "3", "ppjcedkipfagleajcilflhkhghmhgpla;http://second.example/update.xml");
    CRegKey key(registry);
    ASSERT_EQ(kRegOk, key.Open(kHkeyCurrentUser, "List", kKeyRead));
    ForcelistEntry entry;
    std::uint32_t count = 0;

    ASSERT_TRUE(FindForcelistEntry(registry, key.Handle(), kPolicyExtensionId, entry, count));

    EXPECT_EQ(3u, count);
    EXPECT_EQ("2", entry.name);
    EXPECT_EQ("x;ppjcedkipfagleajcilflhkhghmhgpla;http://first.example/update.xml", entry.data);
}

TEST(RegistrationTest, AnEmptyForcelistHasNoEntryAndCountsZero)
{
    CMemoryRegistry registry;
    CRegKey key(registry);
    ASSERT_EQ(kRegOk, key.Create(kHkeyCurrentUser, "List"));
    ForcelistEntry entry;
    std::uint32_t count = 7;

    EXPECT_FALSE(FindForcelistEntry(registry, key.Handle(), kPolicyExtensionId, entry, count));

    EXPECT_EQ(0u, count);
}
