#include "tools/regdoctor/RegDoctor.h"

#include "config/MemoryRegistry.h"
#include "registration/Editions.h"
#include "registration/Manifests.h"
#include "registration/Registration.h"
#include "tests/fakes/FakeCoreProbe.h"
#include "tests/fakes/FakeDoctorFiles.h"
#include "tests/fakes/FakeRegistrationPlatform.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace
{
const std::string kInstall = "C:\\Program Files\\Lumivar\\";
const std::string kProgram = kInstall + "lvbhohost.exe";
const std::string kChromeManifest = kInstall + kChromeManifestFile;
const std::string kFirefoxManifest = kInstall + kFirefoxManifestFile;
const std::string kProduct = "HKLM\\Software\\Kavrin\\Lumivar";
const std::string kEdition55Origin = "chrome-extension://dgldcbgpnkooljhfhcjpkojcdnfkepnb/";

// The native messaging keys as the in-memory registry stores them; the 32-bit view of HKLM\Software lies under
// Wow6432Node, HKCU has one view.
std::string HostKey(const std::string& hive, const std::string& parent, const char* hostName, bool view32 = false)
{
    std::string path = hive + "\\" + parent + "\\" + hostName;
    if (view32)
        path.insert(hive.size() + 1 + 8, "\\Wow6432Node"); // after "SOFTWARE"
    return path;
}

// Passes everything on to an in-memory registry, and remembers every change asked for and every access mask keys
// were opened with.
class CWatchedRegistry : public CMemoryRegistry
{
public:
    RegResult OpenKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key) override
    {
        m_openAccess.push_back(access);
        return CMemoryRegistry::OpenKey(parent, subKey, access, key);
    }
    RegResult CreateKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,
                        std::uint32_t* disposition) override
    {
        m_changes.push_back(std::string("create ") + subKey);
        return CMemoryRegistry::CreateKey(parent, subKey, access, key, disposition);
    }
    RegResult SetValue(RegHandle key, const char* name, std::uint32_t type, const std::uint8_t* data,
                       std::uint32_t size) override
    {
        m_changes.push_back(std::string("set ") + name);
        return CMemoryRegistry::SetValue(key, name, type, data, size);
    }
    RegResult DeleteValue(RegHandle key, const char* name) override
    {
        m_changes.push_back(std::string("delete value ") + name);
        return CMemoryRegistry::DeleteValue(key, name);
    }
    RegResult DeleteKey(RegHandle parent, const char* subKey, std::uint32_t viewFlags) override
    {
        m_changes.push_back(std::string("delete key ") + subKey);
        return CMemoryRegistry::DeleteKey(parent, subKey, viewFlags);
    }

    std::vector<std::string> m_changes;
    std::vector<std::uint32_t> m_openAccess;
};

struct Machine
{
    explicit Machine(int edition = 55)
    {
        registry.SetString(kProduct, "InstallDir", kInstall);
        registry.SetDword(kProduct, "OEM", static_cast<std::uint32_t>(edition));
        files.AddFile(kProgram, "MZ");
    }

    Json::Value Host(Browser browser)
    {
        CRegDoctor doctor(registry, files, core);
        return doctor.ExamineNativeMessaging(browser);
    }
    Json::Value Examine()
    {
        CRegDoctor doctor(registry, files, core);
        return doctor.Examine();
    }
    // A registration under `key` naming a manifest of Chrome's kind at `manifest`, with the right contents.
    void RegisterChrome(const std::string& key, const std::string& manifest)
    {
        registry.SetString(key, "", manifest);
        files.AddFile(manifest, BuildChromeManifest("dgldcbgpnkooljhfhcjpkojcdnfkepnb"));
    }

    CWatchedRegistry registry;
    CFakeDoctorFiles files;
    CFakeCoreProbe core;
};

// The registration that wins, or null.
Json::Value Winner(const Json::Value& host)
{
    for (const Json::Value& registration : host["registrations"])
    {
        if (registration["wins"].asBool())
            return registration;
    }
    return Json::Value();
}

Json::Value Array(std::initializer_list<const char*> items)
{
    Json::Value array(Json::arrayValue);
    for (const char* item : items)
        array.append(item);
    return array;
}

std::vector<std::string> Places(const Json::Value& host)
{
    std::vector<std::string> places;
    for (const Json::Value& registration : host["registrations"])
        places.push_back(registration["key"].asString() + " " + std::to_string(registration["view"].asInt()));
    return places;
}
} // namespace

TEST(RegDoctorTest, ChromeLooksInHkcuThenHklmAndInEachThe32BitViewFirst)
{
    Machine machine;

    const Json::Value host = machine.Host(Browser::Chrome);

    const std::string key = std::string(kChromeHostsKey) + "\\" + kChromeHostName;
    EXPECT_EQ((std::vector<std::string>{"HKCU\\" + key + " 32", "HKCU\\" + key + " 64", "HKLM\\" + key + " 32",
                                        "HKLM\\" + key + " 64"}),
              Places(host));
    EXPECT_EQ("not registered", host["status"].asString());
    EXPECT_TRUE(host["winner"].isNull());
}

TEST(RegDoctorTest, EdgeTriesItsOwnKeyThenChromiumsThenChromesInEachView)
{
    Machine machine;

    const Json::Value host = machine.Host(Browser::Edge);

    const std::string edge = std::string(kEdgeHostsKey) + "\\" + kChromeHostName;
    const std::string chromium = std::string(kChromiumHostsKey) + "\\" + kChromeHostName;
    const std::string chrome = std::string(kChromeHostsKey) + "\\" + kChromeHostName;
    std::vector<std::string> expected;
    for (const char* place : {"HKCU\\ 32", "HKCU\\ 64", "HKLM\\ 32", "HKLM\\ 64"})
    {
        const std::string hive(place, 5);
        const std::string view(place + 5);
        for (const std::string& key : {edge, chromium, chrome})
            expected.push_back(hive + key + view);
    }
    EXPECT_EQ(expected, Places(host));
}

TEST(RegDoctorTest, FirefoxReadsHkcuThenHklm32ThenHklm64AndShowsHkcu32Last)
{
    Machine machine;

    const Json::Value host = machine.Host(Browser::Firefox);

    const std::string key = std::string(kFirefoxHostsKey) + "\\" + kFirefoxHostName;
    EXPECT_EQ((std::vector<std::string>{"HKCU\\" + key + " 64", "HKLM\\" + key + " 32", "HKLM\\" + key + " 64",
                                        "HKCU\\" + key + " 32"}),
              Places(host));
    EXPECT_FALSE(host["registrations"][3]["lookedUp"].asBool());
    EXPECT_TRUE(host["registrations"][3]["order"].isNull());
}

TEST(RegDoctorTest, TheHostsOwnRegistrationWinsForChromeInTheLast64BitPlace)
{
    Machine machine;
    machine.RegisterChrome(HostKey("HKLM", kChromeHostsKey, kChromeHostName), kChromeManifest);

    const Json::Value host = machine.Host(Browser::Chrome);

    EXPECT_EQ("ok", host["status"].asString());
    EXPECT_EQ(4, host["winner"].asInt());
    EXPECT_EQ(kChromeManifest, Winner(host)["manifestPath"].asString());
    EXPECT_TRUE(Winner(host)["manifest"]["valid"].asBool());
    EXPECT_EQ(kProgram, Winner(host)["manifest"]["program"].asString());
}

TEST(RegDoctorTest, ChromeTakesHkcuBeforeHklm)
{
    Machine machine;
    machine.RegisterChrome(HostKey("HKLM", kChromeHostsKey, kChromeHostName), kChromeManifest);
    machine.RegisterChrome(HostKey("HKCU", kChromeHostsKey, kChromeHostName), "C:\\Users\\u\\host.json");

    const Json::Value host = machine.Host(Browser::Chrome);

    EXPECT_EQ(1, host["winner"].asInt());
    EXPECT_EQ("C:\\Users\\u\\host.json", Winner(host)["manifestPath"].asString());
    EXPECT_FALSE(host["registrations"][3]["wins"].asBool());
}

TEST(RegDoctorTest, ChromeTakesThe32BitViewBeforeThe64BitView)
{
    Machine machine;
    machine.RegisterChrome(HostKey("HKLM", kChromeHostsKey, kChromeHostName), kChromeManifest);
    machine.RegisterChrome(HostKey("HKLM", kChromeHostsKey, kChromeHostName, true), "C:\\Old\\host.json");

    const Json::Value host = machine.Host(Browser::Chrome);

    EXPECT_EQ(3, host["winner"].asInt());
    EXPECT_EQ(32, Winner(host)["view"].asInt());
    EXPECT_EQ("C:\\Old\\host.json", Winner(host)["manifestPath"].asString());
}

TEST(RegDoctorTest, EdgeFallsBackToChromesKeyWhereTheHostRegisters)
{
    Machine machine;
    machine.RegisterChrome(HostKey("HKLM", kChromeHostsKey, kChromeHostName), kChromeManifest);

    const Json::Value host = machine.Host(Browser::Edge);

    EXPECT_EQ("ok", host["status"].asString());
    EXPECT_EQ(12, host["winner"].asInt());
}

TEST(RegDoctorTest, EdgeTakesItsOwnKeyBeforeChromesInTheSameView)
{
    Machine machine;
    machine.RegisterChrome(HostKey("HKLM", kChromeHostsKey, kChromeHostName), kChromeManifest);
    machine.RegisterChrome(HostKey("HKLM", kEdgeHostsKey, kChromeHostName), "C:\\Edge\\host.json");

    const Json::Value host = machine.Host(Browser::Edge);

    EXPECT_EQ(10, host["winner"].asInt());
    EXPECT_EQ("C:\\Edge\\host.json", Winner(host)["manifestPath"].asString());
}

TEST(RegDoctorTest, FirefoxTakesHklm32BeforeHklm64)
{
    Machine machine;
    machine.registry.SetString(HostKey("HKLM", kFirefoxHostsKey, kFirefoxHostName), "", kFirefoxManifest);
    machine.registry.SetString(HostKey("HKLM", kFirefoxHostsKey, kFirefoxHostName, true), "", "C:\\Old\\ff.json");

    const Json::Value host = machine.Host(Browser::Firefox);

    EXPECT_EQ(2, host["winner"].asInt());
    EXPECT_EQ("C:\\Old\\ff.json", Winner(host)["manifestPath"].asString());
}

TEST(RegDoctorTest, AKeyWithoutADefaultValueDoesNotWin)
{
    Machine machine;
    machine.RegisterChrome(HostKey("HKLM", kChromeHostsKey, kChromeHostName), kChromeManifest);
    machine.registry.SetString(HostKey("HKCU", kChromeHostsKey, kChromeHostName), "other", "x");

    const Json::Value host = machine.Host(Browser::Chrome);

    EXPECT_EQ(4, host["winner"].asInt());
    EXPECT_TRUE(host["registrations"][0]["exists"].asBool());
    EXPECT_EQ("the key has no default value", host["registrations"][0]["note"].asString());
}

TEST(RegDoctorTest, ADefaultValueThatIsNotAStringDoesNotWin)
{
    Machine machine;
    machine.RegisterChrome(HostKey("HKLM", kChromeHostsKey, kChromeHostName), kChromeManifest);
    machine.registry.SetDword(HostKey("HKCU", kChromeHostsKey, kChromeHostName), "", 1);

    const Json::Value host = machine.Host(Browser::Chrome);

    EXPECT_EQ(4, host["winner"].asInt());
    EXPECT_EQ("the default value is not a string", host["registrations"][0]["note"].asString());
}

TEST(RegDoctorTest, AMissingManifestMakesTheWinnerBroken)
{
    Machine machine;
    machine.registry.SetString(HostKey("HKLM", kChromeHostsKey, kChromeHostName), "", kChromeManifest);

    const Json::Value host = machine.Host(Browser::Chrome);

    EXPECT_EQ("broken", host["status"].asString());
    const Json::Value manifest = Winner(host)["manifest"];
    EXPECT_FALSE(manifest["exists"].asBool());
    EXPECT_FALSE(manifest["valid"].asBool());
    EXPECT_EQ("the manifest file does not exist", manifest["problems"][0].asString());
}

TEST(RegDoctorTest, AnUnparsableManifestMakesTheWinnerBroken)
{
    Machine machine;
    machine.registry.SetString(HostKey("HKLM", kChromeHostsKey, kChromeHostName), "", kChromeManifest);
    machine.files.AddFile(kChromeManifest, "{\"name\":\"com.google.chrome.lvbhohost\",");

    const Json::Value host = machine.Host(Browser::Chrome);

    EXPECT_EQ("broken", host["status"].asString());
    const Json::Value manifest = Winner(host)["manifest"];
    EXPECT_TRUE(manifest["exists"].asBool());
    EXPECT_FALSE(manifest["parses"].asBool());
    EXPECT_EQ(0u, manifest["problems"][0].asString().find("the manifest does not parse as a JSON object"));
}

TEST(RegDoctorTest, AManifestNamingAnotherHostMakesTheWinnerBroken)
{
    Machine machine;
    machine.registry.SetString(HostKey("HKLM", kChromeHostsKey, kChromeHostName), "", kChromeManifest);
    machine.files.AddFile(kChromeManifest, BuildFirefoxManifest("EdHalo_ffext@lvbho"));

    const Json::Value manifest = Winner(machine.Host(Browser::Chrome))["manifest"];

    EXPECT_TRUE(manifest["parses"].asBool());
    EXPECT_FALSE(manifest["nameMatches"].asBool());
    EXPECT_EQ(kFirefoxHostName, manifest["name"].asString());
    EXPECT_EQ("\"name\" is \"com.mozilla.firefox.lvbhohost\", not \"com.google.chrome.lvbhohost\"",
              manifest["problems"][0].asString());
    EXPECT_FALSE(manifest["allowedPresent"].asBool()); // it has "allowed_extensions", not "allowed_origins"
}

TEST(RegDoctorTest, AManifestPointingAtAMissingProgramMakesTheWinnerBroken)
{
    Machine machine;
    machine.RegisterChrome(HostKey("HKLM", kChromeHostsKey, kChromeHostName), "C:\\Elsewhere\\host.json");

    const Json::Value host = machine.Host(Browser::Chrome);

    EXPECT_EQ("broken", host["status"].asString());
    const Json::Value manifest = Winner(host)["manifest"];
    EXPECT_EQ("C:\\Elsewhere\\lvbhohost.exe", manifest["program"].asString());
    EXPECT_FALSE(manifest["programExists"].asBool());
    EXPECT_EQ("\"path\" names no existing program: C:\\Elsewhere\\lvbhohost.exe", manifest["problems"][0].asString());
}

TEST(RegDoctorTest, ABrokenWinnerHidesAValidRegistrationLaterInTheOrder)
{
    Machine machine;
    machine.RegisterChrome(HostKey("HKLM", kChromeHostsKey, kChromeHostName), kChromeManifest);
    machine.registry.SetString(HostKey("HKLM", kChromeHostsKey, kChromeHostName, true), "", "C:\\Gone\\host.json");

    const Json::Value host = machine.Host(Browser::Chrome);

    EXPECT_EQ("broken", host["status"].asString());
    EXPECT_EQ(3, host["winner"].asInt());
    EXPECT_TRUE(host["registrations"][3]["manifest"]["valid"].asBool());
}

TEST(RegDoctorTest, AManifestWithoutTheEditionsExtensionIsValidWithANote)
{
    Machine machine(5);
    machine.RegisterChrome(HostKey("HKLM", kChromeHostsKey, kChromeHostName), kChromeManifest);

    const Json::Value manifest = Winner(machine.Host(Browser::Chrome))["manifest"];

    EXPECT_TRUE(manifest["valid"].asBool());
    EXPECT_FALSE(manifest["allowsEdition"].asBool());
    EXPECT_EQ("\"allowed_origins\" does not list the installed edition's "
              "chrome-extension://kembcdlbgbcnnchcnbdhbmbhbejnedjf/",
              manifest["notes"][0].asString());
}

TEST(RegDoctorTest, TheUserLevelHostsPolicyKeepsChromeOutOfHkcu)
{
    Machine machine;
    machine.RegisterChrome(HostKey("HKLM", kChromeHostsKey, kChromeHostName), kChromeManifest);
    machine.RegisterChrome(HostKey("HKCU", kChromeHostsKey, kChromeHostName), "C:\\Users\\u\\host.json");
    machine.registry.SetDword("HKLM\\Software\\Policies\\Google\\Chrome", "NativeMessagingUserLevelHosts", 0);

    const Json::Value host = machine.Host(Browser::Chrome);

    EXPECT_FALSE(host["userLevelHostsAllowed"].asBool());
    EXPECT_EQ(4, host["winner"].asInt());
    EXPECT_EQ(0u, host["registrations"][0]["note"].asString().find("skipped"));
}

TEST(RegDoctorTest, WhatTheRegistrationSwitchesWriteIsReportedAsRegisteredAndValid)
{
    CMemoryRegistry registry;
    registry.SetString(kProduct, "InstallDir", kInstall);
    registry.SetDword(kProduct, "OEM", 55);
    CFakeRegistrationPlatform platform(registry);
    ProductInfo product;
    product.installDir = kInstall;
    product.oem = 55;
    CRegistration registration(registry, platform, product);
    ASSERT_EQ(1, registration.RegisterNativeApp(""));
    ASSERT_EQ(1, registration.RegisterFFBHO());
    ASSERT_EQ(1, registration.RegisterChromeBHO(1));
    CFakeDoctorFiles files;
    for (const auto& [path, text] : platform.m_files)
        files.AddFile(path, text);
    files.AddFile(kProgram, "MZ");
    files.AddFolder(kInstall + "FFBHOExt");
    CFakeCoreProbe core;
    CRegDoctor doctor(registry, files, core);

    const Json::Value report = doctor.Examine();

    for (const char* browser : {"chrome", "edge", "firefox"})
        EXPECT_EQ("ok", report["nativeMessaging"][browser]["status"].asString()) << browser;
    EXPECT_TRUE(Winner(report["nativeMessaging"]["chrome"])["manifest"]["allowsEdition"].asBool());
    EXPECT_TRUE(Winner(report["nativeMessaging"]["firefox"])["manifest"]["allowsEdition"].asBool());
    EXPECT_TRUE(report["chromeExtension"]["registered"].asBool());
    EXPECT_TRUE(report["firefoxExtension"]["registered"].asBool());
    EXPECT_TRUE(report["firefoxExtension"]["keys"][0]["folderExists"].asBool());
    EXPECT_TRUE(report["firefoxExtension"]["hostPath"]["fileExists"].asBool());
}

TEST(RegDoctorTest, TheDoctorChangesNothingAndOpensEveryKeyForReadingInAGivenView)
{
    Machine machine;
    machine.RegisterChrome(HostKey("HKLM", kChromeHostsKey, kChromeHostName), kChromeManifest);
    machine.registry.SetString(kProduct, "lvDebugSupport", "LVBHOHost;3");
    machine.registry.SetString("HKCU\\SOFTWARE\\Kavrin\\Lumivar\\SkipListForLvBho", "1", "bank");
    machine.registry.m_changes.clear();
    CRegDoctor doctor(machine.registry, machine.files, machine.core);

    static_cast<void>(doctor.Examine());

    EXPECT_EQ(std::vector<std::string>{}, machine.registry.m_changes);
    EXPECT_EQ(0u, doctor.RefusedChanges());
    EXPECT_EQ(0u, machine.registry.OpenHandleCount());
    ASSERT_FALSE(machine.registry.m_openAccess.empty());
    for (const std::uint32_t access : machine.registry.m_openAccess)
        EXPECT_TRUE(access == (kKeyRead | kKeyWow64_64Key) || access == (kKeyRead | kKeyWow64_32Key)) << access;
    EXPECT_NE(nullptr, machine.registry.FindValue(kProduct, "lvDebugSupport"));
}

TEST(RegDoctorTest, TheProductSectionListsEachViewsValues)
{
    Machine machine;
    machine.registry.SetString("HKLM\\Software\\Wow6432Node\\Kavrin\\Lumivar", "lvhostpipe", "C:\\p.dll");

    const Json::Value product = machine.Examine()["product"];

    EXPECT_TRUE(product["installed"].asBool());
    EXPECT_EQ(55, product["edition"].asInt());
    EXPECT_EQ(kInstall, product["installDir"].asString());
    EXPECT_EQ("InstallDir", product["keys"][0]["values"][0]["name"].asString());
    EXPECT_EQ("REG_SZ", product["keys"][0]["values"][0]["type"].asString());
    EXPECT_EQ(55u, product["keys"][0]["values"][1]["data"].asUInt());
    EXPECT_EQ("lvhostpipe", product["keys"][1]["values"][0]["name"].asString());
    EXPECT_FALSE(product["keys"][2]["exists"].asBool());
}

TEST(RegDoctorTest, WithoutTheProductKeyTheProductIsNotInstalled)
{
    CMemoryRegistry registry;
    CFakeDoctorFiles files;
    CFakeCoreProbe core;
    CRegDoctor doctor(registry, files, core);

    const Json::Value report = doctor.Examine();

    EXPECT_FALSE(report["product"]["installed"].asBool());
    EXPECT_TRUE(report["product"]["edition"].isNull());
    EXPECT_TRUE(report["chromeExtension"]["extensionId"].isNull());
    EXPECT_TRUE(report["chromePolicy"]["expectedEntry"].isNull());
}

TEST(RegDoctorTest, TheChromePolicyEntryIsComparedWithTheOneTheHostWouldWrite)
{
    Machine machine;
    const std::string forcelist = "HKLM\\Software\\Policies\\Google\\Chrome\\ExtensionInstallForcelist";
    machine.registry.SetString(forcelist, "1", "other;http://other.example/update.xml");
    machine.registry.SetString(forcelist, "2", BuildForcelistEntry("http://store.lumivar.invalid", "EdBrio"));
    machine.registry.SetDword("HKLM\\Software\\Policies\\Google\\Chrome", "PasswordManagerEnabled", 0);

    const Json::Value policy = machine.Examine()["chromePolicy"];

    EXPECT_EQ(BuildForcelistEntry("http://store.lumivar.invalid", "EdBrio"), policy["expectedEntry"].asString());
    EXPECT_EQ("2", policy["forcelist"][0]["entry"]["name"].asString());
    EXPECT_TRUE(policy["forcelist"][0]["entryMatches"].asBool());
    EXPECT_EQ(2u, policy["forcelist"][0]["values"].size());
    EXPECT_EQ(0u, policy["passwordManagerEnabled"][0]["value"].asUInt());
    EXPECT_TRUE(policy["registered"].asBool());
}

TEST(RegDoctorTest, AForcelistEntryWithAnotherUpdateBaseIsNotAsExpected)
{
    Machine machine;
    machine.registry.SetDword(kProduct, "UseTestPortal", 1);
    machine.registry.SetString("HKLM\\Software\\Policies\\Google\\Chrome\\ExtensionInstallForcelist", "1",
                               BuildForcelistEntry("http://store.lumivar.invalid", "EdBrio"));

    const Json::Value policy = machine.Examine()["chromePolicy"];

    EXPECT_EQ(BuildForcelistEntry("http://www.lumivar.invalid", "EdBrio"), policy["expectedEntry"].asString());
    EXPECT_FALSE(policy["forcelist"][0]["entryMatches"].asBool());
    EXPECT_FALSE(policy["registered"].asBool());
}

TEST(RegDoctorTest, TheExternalExtensionKeyIsLookedForInTheEditionsName)
{
    Machine machine(59);
    machine.registry.SetString(
        "HKLM\\SOFTWARE\\Wow6432Node\\Google\\Chrome\\Extensions\\ckklpoccipcbjojmlaolfdpbgjehmmpc", "update_url",
        kChromeUpdateService);
    machine.registry.SetDword("HKCU\\Software\\Kavrin\\Lumivar", "ChromeBHO", 1);

    const Json::Value extension = machine.Examine()["chromeExtension"];

    EXPECT_EQ("ckklpoccipcbjojmlaolfdpbgjehmmpc", extension["extensionId"].asString());
    EXPECT_EQ(32, extension["keys"][0]["view"].asInt());
    EXPECT_TRUE(extension["keys"][0]["updateUrlMatches"].asBool());
    EXPECT_FALSE(extension["keys"][1]["exists"].asBool());
    EXPECT_TRUE(extension["registered"].asBool());
    EXPECT_EQ(1u, extension["found"]["value"].asUInt());
}

TEST(RegDoctorTest, EditionFiftySixHasNoChromeExtensionToLookFor)
{
    Machine machine(56);

    const Json::Value extension = machine.Examine()["chromeExtension"];

    EXPECT_TRUE(extension["extensionId"].isNull());
    EXPECT_EQ(0u, extension["keys"].size());
    EXPECT_FALSE(extension["registered"].asBool());
}

TEST(RegDoctorTest, TheOldFirefoxIdStillListedIsPointedOut)
{
    Machine machine;
    machine.registry.SetString("HKLM\\SOFTWARE\\Wow6432Node\\Mozilla\\Firefox\\Extensions", "ffext@lvbho", "C:\\x");

    const Json::Value extension = machine.Examine()["firefoxExtension"];

    EXPECT_FALSE(extension["keys"][0]["legacyPresent"].asBool());
    EXPECT_TRUE(extension["keys"][1]["legacyPresent"].asBool());
    EXPECT_TRUE(extension["keys"][1]["folder"].isNull());
    EXPECT_FALSE(extension["registered"].asBool());
}

TEST(RegDoctorTest, TheDebugSwitchIsReadAsTheHostReadsIt)
{
    Machine machine;
    machine.registry.SetString(kProduct, "lvDebugSupport", "LvEngine;52,LVBHOHost;3");

    const Json::Value debug = machine.Examine()["debugSwitch"];

    EXPECT_EQ("LvEngine;52,LVBHOHost;3", debug["value"].asString());
    EXPECT_TRUE(debug["on"].asBool());
    EXPECT_EQ(52u, debug["level"].asUInt()); // the number after the value's first ";"
    EXPECT_EQ("C:\\TEMP\\LVBHOHost.txt", debug["logFile"].asString());
}

TEST(RegDoctorTest, WithoutTheDebugSwitchTheHostDoesNotLog)
{
    Machine machine;

    const Json::Value debug = machine.Examine()["debugSwitch"];

    EXPECT_TRUE(debug["value"].isNull());
    EXPECT_FALSE(debug["on"].asBool());
    EXPECT_TRUE(debug["logFile"].isNull());
}

TEST(RegDoctorTest, TheSkipListsAreReadByNumberAsTheHostReadsThem)
{
    Machine machine;
    const std::string user = "HKCU\\SOFTWARE\\Kavrin\\Lumivar\\SkipListForLvBho";
    machine.registry.SetString(user, "1", "bank");
    machine.registry.SetString(user, "3", "mail");
    machine.registry.SetString("HKLM\\SOFTWARE\\Kavrin\\Lumivar\\SkipListForLvBho", "1", "intranet");

    const Json::Value skipLists = machine.Examine()["skipLists"];

    EXPECT_EQ(Array({"INTRANET"}), skipLists["keys"][0]["entries"]);
    EXPECT_EQ(Array({"BANK"}), skipLists["keys"][1]["entries"]);
    EXPECT_EQ(Array({"3"}), skipLists["keys"][1]["unread"]);
    EXPECT_EQ(2u, skipLists["entries"].size());
    EXPECT_EQ("INTRANET", skipLists["entries"][0].asString());
}

TEST(RegDoctorTest, ARunningCoreAndItsBlockAreShownWithTheirNames)
{
    Machine machine;
    machine.core.m_processId = 0x1234;
    machine.core.m_blockPresent = true;
    machine.core.m_words = {8, 0xFFFFFFFF, 0x21};

    const Json::Value core = machine.Examine()["core"];

    EXPECT_TRUE(core["running"].asBool());
    EXPECT_EQ(0x1234u, core["processId"].asUInt());
    EXPECT_EQ(8u, core["sharedBlock"]["requestCode"].asUInt());
    EXPECT_EQ("lookUp", core["sharedBlock"]["request"].asString());
    EXPECT_EQ("pending", core["sharedBlock"]["resultName"].asString());
    EXPECT_EQ(0x21u, core["sharedBlock"]["flags"].asUInt());
    EXPECT_EQ("answerYes", core["sharedBlock"]["flagNames"][0].asString());
    EXPECT_EQ("cancellable", core["sharedBlock"]["flagNames"][1].asString());
}

TEST(RegDoctorTest, WithoutACoreNeitherProcessNorBlockIsShown)
{
    Machine machine;

    const Json::Value core = machine.Examine()["core"];

    EXPECT_FALSE(core["running"].asBool());
    EXPECT_TRUE(core["processId"].isNull());
    EXPECT_FALSE(core["sharedBlock"]["present"].asBool());
    EXPECT_FALSE(core["sharedBlock"].isMember("requestCode"));
}
