#include "tools/regdoctor/DoctorCommand.h"

#include "config/MemoryRegistry.h"
#include "registration/Manifests.h"
#include "tests/fakes/FakeCoreProbe.h"
#include "tests/fakes/FakeDoctorFiles.h"

#include <gtest/gtest.h>

#include <json/json.h>

#include <sstream>

namespace
{
struct DoctorRun
{
    DoctorRun()
    {
        registry.SetString("HKLM\\Software\\Kavrin\\Lumivar", "InstallDir", "C:\\Program Files\\Lumivar\\");
        registry.SetDword("HKLM\\Software\\Kavrin\\Lumivar", "OEM", 55);
        registry.SetString("HKLM\\SOFTWARE\\Google\\Chrome\\NativeMessagingHosts\\com.google.chrome.lvbhohost", "",
                           "C:\\Program Files\\Lumivar\\com.google.chrome.lvbhohost-win.json");
        files.AddFile("C:\\Program Files\\Lumivar\\com.google.chrome.lvbhohost-win.json",
                      BuildChromeManifest("dgldcbgpnkooljhfhcjpkojcdnfkepnb"));
        files.AddFile("C:\\Program Files\\Lumivar\\lvbhohost.exe", "MZ");
    }
    int operator()(const std::vector<std::string>& args) { return RunDoctor(args, registry, files, core, out, err); }

    CMemoryRegistry registry;
    CFakeDoctorFiles files;
    CFakeCoreProbe core;
    std::ostringstream out;
    std::ostringstream err;
};

Json::Value Parse(const std::string& text)
{
    Json::CharReaderBuilder builder;
    Json::Value root;
    std::string error;
    std::istringstream stream(text);
    EXPECT_TRUE(Json::parseFromStream(builder, stream, &root, &error)) << error;
    return root;
}
} // namespace

TEST(DoctorCommandTest, WithoutArgumentsTheReportIsText)
{
    DoctorRun run;

    EXPECT_EQ(kExitReported, run({}));

    const std::string text = run.out.str();
    EXPECT_EQ(0u, text.find("Lumivar registration doctor"));
    EXPECT_NE(std::string::npos,
              text.find("4. HKLM\\SOFTWARE\\Google\\Chrome\\NativeMessagingHosts\\com.google.chrome.lvbhohost "
                        "(64-bit view): C:\\Program Files\\Lumivar\\com.google.chrome.lvbhohost-win.json  <- wins"));
    EXPECT_NE(std::string::npos, text.find("result: ok, registration 4 wins and is valid"));
    EXPECT_NE(std::string::npos, text.find("Firefox native messaging: not registered"));
    EXPECT_EQ("", run.err.str());
}

TEST(DoctorCommandTest, JsonGivesTheReportsShape)
{
    DoctorRun run;

    EXPECT_EQ(kExitReported, run({"--json"}));

    const Json::Value report = Parse(run.out.str());
    ASSERT_TRUE(report.isObject());
    EXPECT_EQ((std::vector<std::string>{"chromeExtension", "chromePolicy", "core", "debugSwitch", "firefoxExtension",
                                        "nativeMessaging", "product", "skipLists"}),
              report.getMemberNames());
    EXPECT_EQ((std::vector<std::string>{"chrome", "edge", "firefox"}), report["nativeMessaging"].getMemberNames());
    const Json::Value& chrome = report["nativeMessaging"]["chrome"];
    EXPECT_EQ(
        (std::vector<std::string>{"browser", "hostName", "registrations", "status", "userLevelHostsAllowed", "winner"}),
        chrome.getMemberNames());
    EXPECT_EQ(4u, chrome["registrations"].size());
    EXPECT_EQ((std::vector<std::string>{"exists", "hive", "key", "lookedUp", "manifest", "manifestPath", "note",
                                        "order", "view", "wins"}),
              chrome["registrations"][3].getMemberNames());
    EXPECT_TRUE(chrome["registrations"][3]["manifest"]["valid"].isBool());
    EXPECT_TRUE(chrome["winner"].isInt());
    EXPECT_TRUE(report["core"]["running"].isBool());
}

TEST(DoctorCommandTest, HelpPrintsTheUsageAndNoReport)
{
    DoctorRun run;

    EXPECT_EQ(kExitReported, run({"--help"}));

    EXPECT_EQ(0u, run.out.str().find(kDoctorUsage));
    EXPECT_EQ(std::string::npos, run.out.str().find("Summary"));
}

TEST(DoctorCommandTest, AnUnknownArgumentEndsWithTwoAndTheUsageOnStandardError)
{
    DoctorRun run;

    EXPECT_EQ(kExitBadArguments, run({"--fix"}));

    EXPECT_EQ("", run.out.str());
    EXPECT_EQ(std::string("LvRegDoctor: unknown argument: --fix\n") + kDoctorUsage + "\n", run.err.str());
}

TEST(DoctorCommandTest, ARepeatedArgumentIsRefused)
{
    DoctorOptions options;
    std::string error;

    EXPECT_FALSE(ParseDoctorArgs({"--json", "--json"}, options, error));

    EXPECT_EQ("repeated argument: --json", error);
}

TEST(DoctorCommandTest, TheWindowsHelpSwitchIsUnderstood)
{
    DoctorOptions options;
    std::string error;

    EXPECT_TRUE(ParseDoctorArgs({"/?"}, options, error));

    EXPECT_TRUE(options.help);
    EXPECT_FALSE(options.json);
}
