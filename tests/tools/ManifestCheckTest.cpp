#include "tools/regdoctor/ManifestCheck.h"

#include "registration/Manifests.h"
#include "tests/fakes/FakeDoctorFiles.h"

#include <gtest/gtest.h>

namespace
{
const std::string kManifest = "C:\\Program Files\\Lumivar\\com.mozilla.firefox.lvbhohost-win.json";
const std::string kProgram = "C:\\Program Files\\Lumivar\\lvbhohost.exe";

ManifestRules FirefoxRules()
{
    ManifestRules rules;
    rules.hostName = kFirefoxHostName;
    rules.allowedMember = "allowed_extensions";
    rules.expectedAllowed = "EdHalo_ffext@lvbho";
    return rules;
}

struct Checked
{
    explicit Checked(const std::string& text, const std::string& manifest = kManifest)
    {
        files.AddFile(kProgram, "MZ");
        files.AddFile(manifest, text);
        report = CheckManifest(files, manifest, FirefoxRules());
    }
    CFakeDoctorFiles files;
    Json::Value report;
};
} // namespace

TEST(ManifestCheckTest, TheHostsOwnFirefoxManifestIsValid)
{
    const Checked checked(BuildFirefoxManifest("EdHalo_ffext@lvbho"));

    EXPECT_TRUE(checked.report["valid"].asBool());
    EXPECT_TRUE(checked.report["allowsEdition"].asBool());
    EXPECT_EQ(kProgram, checked.report["program"].asString());
    EXPECT_EQ(0u, checked.report["problems"].size());
    EXPECT_EQ(0u, checked.report["notes"].size());
}

TEST(ManifestCheckTest, EveryMemberIsThereWhateverTheChecksReached)
{
    CFakeDoctorFiles files;

    const Json::Value report = CheckManifest(files, kManifest, FirefoxRules());

    for (const char* member :
         {"path", "absolute", "exists", "parses", "name", "nameMatches", "type", "typeIsStdio", "program",
          "programExists", "allowed", "allowedPresent", "allowsEdition", "valid", "problems", "notes"})
        EXPECT_TRUE(report.isMember(member)) << member;
    EXPECT_TRUE(report["name"].isNull());
}

TEST(ManifestCheckTest, AByteOrderMarkIsSkippedAsTheBrowsersDo)
{
    const Checked checked("\xEF\xBB\xBF" + BuildFirefoxManifest("EdHalo_ffext@lvbho"));

    EXPECT_TRUE(checked.report["valid"].asBool());
}

TEST(ManifestCheckTest, TextAfterTheObjectDoesNotParse)
{
    const Checked checked(BuildFirefoxManifest("EdHalo_ffext@lvbho") + "x");

    EXPECT_FALSE(checked.report["parses"].asBool());
}

TEST(ManifestCheckTest, AnArrayAtTheTopDoesNotParse)
{
    const Checked checked("[1]");

    EXPECT_FALSE(checked.report["parses"].asBool());
}

TEST(ManifestCheckTest, DeepNestingIsRefusedWithoutAnException)
{
    const Checked checked(std::string(5000, '[') + std::string(5000, ']'));

    EXPECT_FALSE(checked.report["parses"].asBool());
}

TEST(ManifestCheckTest, AnAbsoluteProgramPathIsTakenAsItIs)
{
    const Checked checked("{\"name\":\"com.mozilla.firefox.lvbhohost\",\"path\":\"D:\\\\Host\\\\h.exe\","
                          "\"type\":\"stdio\",\"allowed_extensions\":[\"x@y\"]}");

    EXPECT_EQ("D:\\Host\\h.exe", checked.report["program"].asString());
    EXPECT_FALSE(checked.report["programExists"].asBool());
}

TEST(ManifestCheckTest, AMissingPathTypeAndAllowedListAreEachAProblem)
{
    const Checked checked("{\"name\":\"com.mozilla.firefox.lvbhohost\"}");

    EXPECT_TRUE(checked.report["nameMatches"].asBool());
    EXPECT_FALSE(checked.report["valid"].asBool());
    ASSERT_EQ(3u, checked.report["problems"].size());
    EXPECT_EQ("\"type\" is not \"stdio\"", checked.report["problems"][0].asString());
    EXPECT_EQ("\"path\" is missing", checked.report["problems"][1].asString());
    EXPECT_EQ("\"allowed_extensions\" is missing or empty", checked.report["problems"][2].asString());
}

TEST(ManifestCheckTest, AManifestLargerThanTheLimitIsNotRead)
{
    const Checked checked(std::string(kMaxManifestBytes + 1, ' '));

    EXPECT_TRUE(checked.report["exists"].asBool());
    EXPECT_FALSE(checked.report["parses"].asBool());
    EXPECT_EQ("the manifest file cannot be read, or is larger than 1 MiB", checked.report["problems"][0].asString());
}

TEST(ManifestCheckTest, ARelativeManifestPathIsAProblem)
{
    const Checked checked(BuildFirefoxManifest("EdHalo_ffext@lvbho"), "host.json");

    EXPECT_FALSE(checked.report["absolute"].asBool());
    EXPECT_FALSE(checked.report["valid"].asBool());
}

TEST(ManifestCheckTest, WindowsPathsAreAbsoluteWithADriveOrTwoSlashes)
{
    EXPECT_TRUE(IsAbsoluteWindowsPath("C:\\x"));
    EXPECT_TRUE(IsAbsoluteWindowsPath("c:/x"));
    EXPECT_TRUE(IsAbsoluteWindowsPath("\\\\server\\share\\x"));
    EXPECT_FALSE(IsAbsoluteWindowsPath("C:x"));
    EXPECT_FALSE(IsAbsoluteWindowsPath("\\x"));
    EXPECT_FALSE(IsAbsoluteWindowsPath("x.exe"));
    EXPECT_FALSE(IsAbsoluteWindowsPath(""));
}

TEST(ManifestCheckTest, ARelativeProgramPathIsResolvedAgainstTheManifestsFolder)
{
    EXPECT_EQ("C:\\A\\lvbhohost.exe", ResolveProgramPath("C:\\A\\m.json", "lvbhohost.exe"));
    EXPECT_EQ("C:\\A\\bin\\h.exe", ResolveProgramPath("C:\\A\\m.json", "bin\\h.exe"));
    EXPECT_EQ("C:/A\\h.exe", ResolveProgramPath("C:/A/m.json", "h.exe"));
    EXPECT_EQ("E:\\h.exe", ResolveProgramPath("C:\\A\\m.json", "E:\\h.exe"));
}
