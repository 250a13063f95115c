#include "tools/regdoctor/RegDoctor.h"

#include "commands/CommandHandler.h"
#include "commands/SkipList.h"
#include "config/DebugLog.h"
#include "config/RegKey.h"
#include "corelink/SharedData.h"
#include "host/MainHandler.h"
#include "messaging/AsciiText.h"
#include "registration/Deployment.h"
#include "registration/Editions.h"
#include "registration/Registration.h"
#include "tools/regdoctor/ManifestCheck.h"
#include "tools/regdoctor/RegValues.h"

#include <string>
#include <utility>
#include <vector>

namespace
{
constexpr std::uint32_t k32 = kKeyWow64_32Key;
constexpr std::uint32_t k64 = kKeyWow64_64Key;
// Browsers read manifest paths of any length; this is far beyond any real one.
constexpr std::uint32_t kPathBufferSize = 32768;
// The host reads the debug switch and the skip-list entries into buffers of this size.
constexpr std::uint32_t kHostBufferSize = 260;

constexpr const char* kEdgePolicyKey = "Software\\Policies\\Microsoft\\Edge";
constexpr const char* kUserLevelHostsPolicy = "NativeMessagingUserLevelHosts";

// The log writer's sink while the doctor borrows the log's switch reading: nothing is written anywhere.
class CSilentLogSink : public ILogSink
{
public:
    std::string ExecutableName() override { return "LvRegDoctor.exe"; }
    void LocalTime(std::string& hhmmss, unsigned& milliseconds) override
    {
        hhmmss = "00:00:00";
        milliseconds = 0;
    }
    std::uint32_t ProcessId() override { return 0; }
    std::uint32_t ThreadId() override { return 0; }
    void DebugOutput(const char*) override {}
    void CreateFolder(const std::string&) override {}
    void AppendToFile(const std::string&, const std::string&) override {}
};

// {"hive", "view", "key", "exists"}.
Json::Value KeyHeader(RegHandle root, std::uint32_t view, const std::string& subKey, bool exists)
{
    Json::Value json(Json::objectValue);
    json["hive"] = HiveName(root);
    json["view"] = ViewBits(view);
    json["key"] = Utf8(KeyPath(root, subKey));
    json["exists"] = exists;
    return json;
}

// The key's header and, when it exists, its "values". `key` is left open for the caller's further reads.
Json::Value ListKey(IRegistry& registry, CRegKey& key, RegHandle root, std::uint32_t view, const std::string& subKey)
{
    const bool exists = key.Open(root, subKey.c_str(), kKeyRead | view) == kRegOk;
    Json::Value json = KeyHeader(root, view, subKey, exists);
    Json::Value values(Json::arrayValue);
    if (exists)
    {
        for (const RegValueData& value : ReadAllValues(registry, key.Handle()))
            values.append(ValueToJson(value));
    }
    json["values"] = values;
    return json;
}

Json::Value ReadStringValue(CRegKey& key, const char* name, std::string* text = nullptr)
{
    std::string value;
    if (key.Handle() == 0 || key.QueryStringValue(name, value, kPathBufferSize) != kRegOk)
        return Json::Value();
    if (text)
        *text = value;
    return Utf8(value);
}

Json::Value ReadDwordValue(CRegKey& key, const char* name)
{
    std::uint32_t value = 0;
    if (key.Handle() == 0 || key.QueryDWORDValue(name, value) != kRegOk)
        return Json::Value();
    return static_cast<Json::UInt>(value);
}

const char* RequestName(std::uint32_t code)
{
    switch (code)
    {
    case kRequestIsKnown:
        return "isKnown";
    case kRequestStore:
        return "store";
    case kRequestIdle:
        return "idle";
    case kRequestCancel:
        return "cancel";
    case kRequestLookUp:
        return "lookUp";
    case kRequestNoPromptQuery:
        return "noPromptQuery";
    case kRequestNoPromptOn:
        return "noPromptOn";
    default:
        return nullptr;
    }
}

const char* ResultName(std::uint32_t result)
{
    switch (result)
    {
    case kResultPending:
        return "pending";
    case kResultFillScript:
        return "fillScript";
    case kResultNoPrompt:
        return "noPrompt";
    case kResultVaultSelect:
        return "vaultSelect";
    default:
        return nullptr;
    }
}

Json::Value FlagNames(std::uint32_t flags)
{
    static const std::pair<std::uint32_t, const char*> kFlags[] = {
        {kFlagAnswerYes, "answerYes"},
        {kFlagNotEnrolled, "notEnrolled"},
        {kFlagValidating, "validating"},
        {kFlagCancellable, "cancellable"},
    };
    Json::Value names(Json::arrayValue);
    for (const auto& [bit, name] : kFlags)
    {
        if (flags & bit)
            names.append(name);
    }
    return names;
}

Json::Value NameOrNull(const char* name)
{
    return name ? Json::Value(name) : Json::Value();
}
} // namespace

CRegDoctor::CRegDoctor(IRegistry& registry, IDoctorFiles& files, ICoreProbe& core)
    : m_registry(registry), m_files(files), m_core(core)
{
}

void CRegDoctor::LoadProduct()
{
    if (m_productLoaded)
        return;
    m_productLoaded = true;
    CProductSettings settings(m_registry);
    m_installed = settings.Load(m_product);
}

Json::Value CRegDoctor::Examine()
{
    Json::Value report(Json::objectValue);
    report["product"] = ExamineProduct();
    Json::Value& hosts = report["nativeMessaging"] = Json::Value(Json::objectValue);
    hosts["chrome"] = ExamineNativeMessaging(Browser::Chrome);
    hosts["edge"] = ExamineNativeMessaging(Browser::Edge);
    hosts["firefox"] = ExamineNativeMessaging(Browser::Firefox);
    report["chromePolicy"] = ExamineChromePolicy();
    report["chromeExtension"] = ExamineChromeExtension();
    report["firefoxExtension"] = ExamineFirefoxExtension();
    report["debugSwitch"] = ExamineDebugSwitch();
    report["skipLists"] = ExamineSkipLists();
    report["core"] = ExamineCore();
    return report;
}

Json::Value CRegDoctor::ExamineProduct()
{
    LoadProduct();
    Json::Value report(Json::objectValue);
    report["installed"] = m_installed;
    report["installDir"] = m_installed ? Json::Value(Utf8(m_product.installDir)) : Json::Value();
    report["edition"] = m_installed ? Json::Value(m_product.oem) : Json::Value();
    Json::Value keys(Json::arrayValue);
    // The host reads the machine key in its own (64-bit) view; the 32-bit view holds the 32-bit pipe library.
    const std::pair<RegHandle, std::uint32_t> places[] = {
        {kHkeyLocalMachine, k64}, {kHkeyLocalMachine, k32}, {kHkeyCurrentUser, k64}};
    for (const auto& [root, view] : places)
    {
        CRegKey key(m_registry);
        keys.append(ListKey(m_registry, key, root, view, kProductKey));
    }
    report["keys"] = keys;
    return report;
}

bool CRegDoctor::UserLevelHostsAllowed(Browser browser)
{
    const char* policyKey = browser == Browser::Edge ? kEdgePolicyKey : kChromePolicyKey;
    for (const RegHandle root : {kHkeyLocalMachine, kHkeyCurrentUser})
    {
        CRegKey key(m_registry);
        std::uint32_t allowed = 1;
        if (key.Open(root, policyKey, kKeyRead | k64) == kRegOk &&
            key.QueryDWORDValue(kUserLevelHostsPolicy, allowed) == kRegOk)
            return allowed != 0;
    }
    return true;
}

Json::Value CRegDoctor::ExamineNativeMessaging(Browser browser)
{
    LoadProduct();
    const char* hostName = HostNameFor(browser);
    ManifestRules rules;
    rules.hostName = hostName;
    if (browser == Browser::Firefox)
    {
        rules.allowedMember = "allowed_extensions";
        if (m_installed)
            rules.expectedAllowed = FirefoxExtensionIdFor(m_product.oem);
    }
    else
    {
        rules.allowedMember = "allowed_origins";
        std::string id;
        if (m_installed && ChromeExtensionIdFor(m_product.oem, id))
            rules.expectedAllowed = "chrome-extension://" + id + "/";
    }
    // Firefox has no policy that keeps it out of HKCU.
    const bool userLevel = browser == Browser::Firefox || UserLevelHostsAllowed(browser);

    Json::Value report(Json::objectValue);
    report["browser"] = BrowserName(browser);
    report["hostName"] = hostName;
    report["userLevelHostsAllowed"] = userLevel;
    Json::Value registrations(Json::arrayValue);
    Json::Value winner;
    bool winnerValid = false;
    int order = 0;
    for (const HostLocation& at : LookupOrder(browser))
    {
        const std::string subKey = std::string(at.parentKey) + "\\" + hostName;
        CRegKey key(m_registry);
        const bool exists = key.Open(at.root, subKey.c_str(), kKeyRead | at.view) == kRegOk;
        Json::Value registration = KeyHeader(at.root, at.view, subKey, exists);
        registration["order"] = at.lookedUp ? Json::Value(++order) : Json::Value();
        registration["lookedUp"] = at.lookedUp;
        registration["manifestPath"] = Json::Value();
        registration["note"] = Json::Value();
        registration["wins"] = false;
        std::string manifestPath;
        if (exists)
        {
            const RegResult read = key.QueryStringValue("", manifestPath, kPathBufferSize);
            if (read == kRegFileNotFound)
                registration["note"] = "the key has no default value";
            else if (read == kRegInvalidData)
                registration["note"] = "the default value is not a string";
            else if (read != kRegOk)
                registration["note"] = "the default value cannot be read (error " + std::to_string(read) + ")";
            else if (manifestPath.empty())
                registration["note"] = "the default value is empty";
        }
        const bool namesManifest = exists && registration["note"].isNull();
        if (namesManifest)
        {
            registration["manifestPath"] = Utf8(manifestPath);
            registration["manifest"] = CheckManifest(m_files, manifestPath, rules);
        }
        if (!at.lookedUp)
        {
            if (exists)
                registration["note"] = std::string(BrowserName(browser)) + " does not look here";
        }
        else if (at.root == kHkeyCurrentUser && !userLevel)
        {
            if (exists)
                registration["note"] = "skipped: the NativeMessagingUserLevelHosts policy turns user-level hosts off";
        }
        else if (namesManifest && winner.isNull())
        {
            registration["wins"] = true;
            winner = registration["order"];
            winnerValid = registration["manifest"]["valid"].asBool();
        }
        registrations.append(registration);
    }
    report["registrations"] = registrations;
    report["winner"] = winner;
    report["status"] = winner.isNull() ? "not registered" : winnerValid ? "ok" : "broken";
    return report;
}

Json::Value CRegDoctor::ExamineChromePolicy()
{
    LoadProduct();
    Json::Value report(Json::objectValue);
    report["extensionId"] = kPolicyExtensionId;
    const std::string expected = m_installed ? ExpectedForcelistEntry(m_registry, m_product) : std::string();
    report["expectedEntry"] = expected.empty() ? Json::Value() : Json::Value(expected);

    // Group Policy applies the machine policy under HKLM; a user policy may sit under HKCU.
    Json::Value forcelists(Json::arrayValue);
    Json::Value passwordManager(Json::arrayValue);
    bool machineEntryMatches = false;
    Json::Value machinePasswordManager;
    for (const RegHandle root : {kHkeyLocalMachine, kHkeyCurrentUser})
    {
        CRegKey forcelist(m_registry);
        Json::Value list = ListKey(m_registry, forcelist, root, k64, kForcelistKey);
        ForcelistEntry entry;
        std::uint32_t count = 0;
        const bool found = forcelist.Handle() != 0 &&
                           FindForcelistEntry(m_registry, forcelist.Handle(), kPolicyExtensionId, entry, count);
        list["entry"] = Json::Value();
        if (found)
        {
            list["entry"]["name"] = Utf8(entry.name);
            list["entry"]["data"] = Utf8(entry.data);
        }
        list["entryMatches"] = found && !expected.empty() && entry.data == expected;
        if (root == kHkeyLocalMachine)
            machineEntryMatches = list["entryMatches"].asBool();
        forcelists.append(list);

        CRegKey chrome(m_registry);
        const bool exists = chrome.Open(root, kChromePolicyKey, kKeyRead | k64) == kRegOk;
        Json::Value setting = KeyHeader(root, k64, kChromePolicyKey, exists);
        setting["value"] = ReadDwordValue(chrome, kPasswordManagerEnabledValue);
        if (root == kHkeyLocalMachine)
            machinePasswordManager = setting["value"];
        passwordManager.append(setting);
    }
    report["forcelist"] = forcelists;
    report["passwordManagerEnabled"] = passwordManager;
    report["registered"] =
        machineEntryMatches && machinePasswordManager.isUInt() && machinePasswordManager.asUInt() == 0;
    return report;
}

Json::Value CRegDoctor::ExamineChromeExtension()
{
    LoadProduct();
    Json::Value report(Json::objectValue);
    std::string id;
    const bool hasId = m_installed && ChromeExtensionIdFor(m_product.oem, id);
    report["extensionId"] = hasId ? Json::Value(id) : Json::Value();
    Json::Value keys(Json::arrayValue);
    bool registered = false;
    if (hasId)
    {
        // The host writes the 32-bit view of HKLM, which is where Chrome reads external extensions.
        const std::pair<RegHandle, std::uint32_t> places[] = {
            {kHkeyLocalMachine, k32}, {kHkeyLocalMachine, k64}, {kHkeyCurrentUser, k64}};
        for (const auto& [root, view] : places)
        {
            const std::string subKey = kChromeExtensionsKey + id;
            CRegKey key(m_registry);
            const bool exists = key.Open(root, subKey.c_str(), kKeyRead | view) == kRegOk;
            Json::Value entry = KeyHeader(root, view, subKey, exists);
            std::string updateUrl;
            entry["updateUrl"] = ReadStringValue(key, kUpdateUrlValue, &updateUrl);
            entry["updateUrlMatches"] = updateUrl == kChromeUpdateService;
            if (root == kHkeyLocalMachine && view == k32)
                registered = entry["updateUrlMatches"].asBool();
            keys.append(entry);
        }
    }
    report["keys"] = keys;
    report["registered"] = registered;

    CRegKey user(m_registry);
    const bool exists = user.Open(kHkeyCurrentUser, kProductKey, kKeyRead | k64) == kRegOk;
    Json::Value found = KeyHeader(kHkeyCurrentUser, k64, kProductKey, exists);
    found["name"] = kChromeExtensionFoundValue;
    found["value"] = ReadDwordValue(user, kChromeExtensionFoundValue);
    report["found"] = found;
    return report;
}

Json::Value CRegDoctor::ExamineFirefoxExtension()
{
    LoadProduct();
    Json::Value report(Json::objectValue);
    const std::string id = m_installed ? FirefoxExtensionIdFor(m_product.oem) : std::string();
    report["extensionId"] = id.empty() ? Json::Value() : Json::Value(id);
    report["legacyId"] = kLegacyFirefoxExtensionId;
    Json::Value keys(Json::arrayValue);
    bool registered = !id.empty();
    for (const std::uint32_t view : {k64, k32})
    {
        CRegKey key(m_registry);
        Json::Value list = ListKey(m_registry, key, kHkeyLocalMachine, view, kFirefoxExtensionsKey);
        std::string folder;
        list["folder"] = id.empty() ? Json::Value() : ReadStringValue(key, id.c_str(), &folder);
        list["folderExists"] = !folder.empty() && m_files.IsFolder(folder);
        list["legacyPresent"] = key.Handle() != 0 && m_registry.QueryValue(key.Handle(), kLegacyFirefoxExtensionId,
                                                                           nullptr, nullptr, nullptr) == kRegOk;
        registered = registered && !folder.empty();
        keys.append(list);
    }
    report["keys"] = keys;
    report["registered"] = registered;

    // RegisterFFBHO also records the host and, in each view, the pipe library of that view's bitness.
    CRegKey product64(m_registry);
    const bool exists64 = product64.Open(kHkeyLocalMachine, kProductKey, kKeyRead | k64) == kRegOk;
    Json::Value hostPath = KeyHeader(kHkeyLocalMachine, k64, kProductKey, exists64);
    std::string text;
    hostPath["name"] = kHostPathValue;
    hostPath["value"] = ReadStringValue(product64, kHostPathValue, &text);
    hostPath["fileExists"] = !text.empty() && m_files.IsFile(text);
    report["hostPath"] = hostPath;
    Json::Value pipes(Json::arrayValue);
    for (const std::uint32_t view : {k64, k32})
    {
        CRegKey product(m_registry);
        const bool exists = product.Open(kHkeyLocalMachine, kProductKey, kKeyRead | view) == kRegOk;
        Json::Value pipe = KeyHeader(kHkeyLocalMachine, view, kProductKey, exists);
        text.clear();
        pipe["name"] = kPipeLibraryValue;
        pipe["value"] = ReadStringValue(product, kPipeLibraryValue, &text);
        pipe["fileExists"] = !text.empty() && m_files.IsFile(text);
        pipes.append(pipe);
    }
    report["pipeLibrary"] = pipes;
    return report;
}

Json::Value CRegDoctor::ExamineDebugSwitch()
{
    Json::Value report(Json::objectValue);
    report["logName"] = kHostLogName;
    // As the host reads it: the machine key in the host's own (64-bit) view, the value into 260 bytes.
    CRegKey key(m_registry);
    const bool exists = key.Open(kHkeyLocalMachine, kProductKey, kKeyRead | k64) == kRegOk;
    report["key"] = KeyPath(kHkeyLocalMachine, kProductKey);
    report["name"] = kDebugSwitchValue;
    std::string value;
    report["value"] = exists && key.QueryStringValue(kDebugSwitchValue, value, kHostBufferSize) == kRegOk
                          ? Json::Value(Utf8(value))
                          : Json::Value();
    // The log's own reading of the switch decides "on" and the level.
    CSilentLogSink sink;
    CDebugLog log(sink);
    static_cast<void>(log.Open(m_registry, kHostLogName));
    report["on"] = log.IsOn();
    report["level"] = log.IsOn() ? Json::Value(static_cast<Json::UInt>(log.Level())) : Json::Value();
    report["logFile"] = log.IsOn() ? Json::Value(Utf8(log.FilePath())) : Json::Value();
    return report;
}

Json::Value CRegDoctor::ExamineSkipLists()
{
    Json::Value report(Json::objectValue);
    Json::Value keys(Json::arrayValue);
    Json::Value entries(Json::arrayValue);
    for (const RegHandle root : {kHkeyLocalMachine, kHkeyCurrentUser})
    {
        CRegKey key(m_registry);
        Json::Value list = ListKey(m_registry, key, root, k64, kSkipListKey);
        Json::Value listEntries(Json::arrayValue);
        Json::Value unread(Json::arrayValue);
        std::uint32_t count = 0;
        if (key.Handle() != 0 && m_registry.QueryValueCount(key.Handle(), count) != kRegOk)
            count = 0;
        // The entries as the host reads them; values it never asks for are listed as unread.
        for (const std::string& entry : ReadSkipList(m_registry, root))
        {
            listEntries.append(Utf8(entry));
            entries.append(Utf8(entry));
        }
        for (const Json::Value& value : list["values"])
        {
            const std::string name = value["name"].asString();
            const bool read = !name.empty() && name.find_first_not_of("0123456789") == std::string::npos &&
                              name[0] != '0' && name.size() <= 10 && std::stoull(name) <= count;
            if (!read)
                unread.append(name);
        }
        list["entries"] = listEntries;
        list["unread"] = unread;
        keys.append(list);
    }
    report["keys"] = keys;
    report["entries"] = entries;
    return report;
}

Json::Value CRegDoctor::ExamineCore()
{
    Json::Value report(Json::objectValue);
    report["processName"] = kCoreProcessName;
    const std::uint32_t processId = m_core.FindCore();
    report["running"] = processId != 0;
    report["processId"] = processId != 0 ? Json::Value(static_cast<Json::UInt>(processId)) : Json::Value();
    Json::Value block(Json::objectValue);
    block["name"] = kSharedBlockName;
    SharedBlockWords words;
    const bool present = m_core.ReadSharedBlock(words);
    block["present"] = present;
    if (present)
    {
        block["requestCode"] = static_cast<Json::UInt>(words.requestCode);
        block["request"] = NameOrNull(RequestName(words.requestCode));
        block["result"] = static_cast<Json::UInt>(words.result);
        block["resultName"] = NameOrNull(ResultName(words.result));
        block["flags"] = static_cast<Json::UInt>(words.flags);
        block["flagNames"] = FlagNames(words.flags);
    }
    report["sharedBlock"] = block;
    return report;
}
