#include "commands/CommandHandler.h"

#include "autofill/DomainExtractor.h"
#include "commands/SkipList.h"
#include "config/ProductSettings.h"
#include "config/RegKey.h"
#include "corelink/MutexLock.h"
#include "messaging/AsciiText.h"
#include "messaging/Responses.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace
{
constexpr std::uint32_t kDefaultWaitMs = 500;
constexpr std::uint32_t kTraceLevel = 52;
// Reading the skip list and the discovery values: read access, in the 64-bit view for the list.

} // namespace

CLVBHOCommandHandler::CLVBHOCommandHandler(IJsonMessage& request, const HandlerServices& services)
    : m_request(request), m_platform(services.platform), m_link(services.link), m_registry(services.registry),
      m_keys(services.keys), m_log(services.log), m_immersive(services.immersive), m_validateCode(kRequestLookUp)
{
    LoadSkipList();
}

bool CLVBHOCommandHandler::HasMembers(std::initializer_list<const char*> names)
{
    return std::all_of(names.begin(), names.end(), [this](const char* name) { return m_request.HasMember(name); });
}

std::string CLVBHOCommandHandler::ReadString(const char* name, const char* fallback)
{
    std::string value = fallback;
    if (m_request.HasMember(name))
        m_request.GetString(value, name);
    return value;
}

std::uint32_t CLVBHOCommandHandler::CancelIfBusy(std::int32_t wait)
{
    if ((m_link.GetSharedFlags() & kFlagCancellable) == 0)
        return kStatusFail;
    static_cast<void>(m_link.SignalEvent(kRequestCancel, wait));
    return kStatusPending;
}

void CLVBHOCommandHandler::WaitForCompletion(std::uint32_t timeoutMs)
{
    if (timeoutMs == 0 || timeoutMs == 0xFFFFFFFF)
        timeoutMs = kDefaultWaitMs;
    m_platform.WaitOnEvent(timeoutMs);
}

std::uint32_t CLVBHOCommandHandler::SendRequest(const std::string& siteKey, std::uint32_t code, int& answer,
                                                const std::string& user)
{
    answer = 0;
    if (m_link.Block() == nullptr)
        return kStatusFail;
    {
        CMutexLock lock(m_link);
        BHOSharedData* block = m_link.Block();
        SetField(block->requestUser, user);
        SetField(block->requestKey, siteKey);
        block->hostWindow = m_platform.HostWindow();
    }
    if (m_link.SignalEvent(code, 1) == 0)
        return kStatusFail;
    answer = (m_link.GetSharedFlags() & kFlagAnswerYes) != 0 ? 1 : 0;
    return kStatusSuccess;
}

void CLVBHOCommandHandler::SetValidating(bool on)
{
    CMutexLock lock(m_link);
    if (BHOSharedData* block = m_link.Block())
        block->flags = on ? (block->flags | kFlagValidating) : 0;
}

bool CLVBHOCommandHandler::IsValidating()
{
    return (m_link.GetSharedFlags() & kFlagValidating) != 0;
}

int CLVBHOCommandHandler::ValidateUser()
{
    SetValidating(true);
    const int granted = m_link.ValidateUser() != 0 ? 1 : 0;
    SetValidating(false);
    return granted;
}

std::uint32_t CLVBHOCommandHandler::StoreLoginData()
{
    LVBHO_CHECK_THREAD(m_commandThread);
    if (!HasMembers({"DocumentTitle", "WebUrl", "unamefield", "webPageUserId", "passfieldname", "webPagepassword"}))
        return kStatusArgumentMissing;
    const std::string title = ReadString("DocumentTitle");
    const std::string url = ReadString("WebUrl");
    const std::string userField = ReadString("unamefield");
    const std::string user = ReadString("webPageUserId");
    const std::string passField = ReadString("passfieldname");
    const std::string password = ReadString("webPagepassword");
    const int enrollUser = m_request.HasMember("enrolluser") ? m_request.GetInt("enrolluser") : 0;
    if (m_request.ConversionFailed())
        return kStatusArgumentMissing;

    std::string siteKey;
    if (!MakeSiteKey(url, passField, siteKey))
        return kStatusFail;

    if ((m_link.GetSharedFlags() & kFlagNotEnrolled) == 0)
    {
        m_reply.SetInt("isenrolled", 1);
    }
    else
    {
        // The answer always says whether the user is enrolled now, also when the command then fails.
        const int enrolled = enrollUser != 0 ? ValidateUser() : 0;
        m_reply.SetInt("isenrolled", enrolled);
        if (!enrolled)
            return kStatusFail;
    }

    WriteLoginScript(m_tables, m_link, siteKey, title, url, userField, user, passField, password);
    int known = 0;
    if (SendRequest(siteKey, kRequestIsKnown, known, user) != kStatusSuccess)
        return kStatusFail;
    if (known == 1)
        return kStatusSuccess;
    return m_link.SignalEvent(kRequestStore, 1) != 0 ? kStatusSuccess : kStatusFail;
}

std::uint32_t CLVBHOCommandHandler::CheckAndValidate()
{
    LVBHO_CHECK_THREAD(m_commandThread);
    if (!HasMembers({"DocumentTitle", "WebUrl", "unamefield", "passfieldname"}))
        return kStatusArgumentMissing;
    const std::string url = ReadString("WebUrl");
    const std::string passField = ReadString("passfieldname");
    const std::string user = ReadString("webPageUserId");
    if (m_request.ConversionFailed())
        return kStatusArgumentMissing;

    if (IsValidating())
        return kStatusFail;
    m_link.ResetSharedData();
    std::string siteKey;
    if (!MakeSiteKey(url, passField, siteKey))
        return kStatusFail;

    if (m_platform.HasPromptWindow())
        m_platform.SendToWindow(kMsgSetTabInfo, 0, 0);

    int answer = 0;
    if (SendRequest(siteKey, m_validateCode, answer, user) != kStatusSuccess)
        return kStatusFail;
    const std::int32_t result = m_link.GetSharedResult();
    const std::uint32_t flags = m_link.GetSharedFlags();
    if (m_log.Enabled(kTraceLevel))
        m_log.Write("CLVBHOCommandHandler::CheckAndValidate - %d", result);

    if (result == static_cast<std::int32_t>(kResultFillScript))
        return LoginScriptToJson(m_tables, m_link, &m_reply) != 0 ? kStatusSuccess : kStatusFail;

    if ((flags & kFlagCancellable) == 0)
        return kStatusFail;
    // The core left the validation pending; the extension asks again later, or answers with SetPluginParam.
    {
        CMutexLock lock(m_link);
        if (const BHOSharedData* block = m_link.Block())
            KeepCoreWindow(block->hostContext);
    }
    return result == static_cast<std::int32_t>(kResultVaultSelect) ? kStatusVaultSelect : kStatusPending;
}

std::uint32_t CLVBHOCommandHandler::IsPageRemembered()
{
    LVBHO_CHECK_THREAD(m_commandThread);
    if (!HasMembers({"passfieldname", "WebUrl"}))
        return kStatusArgumentMissing;
    const std::string passField = ReadString("passfieldname");
    const std::string url = ReadString("WebUrl");
    const int enrollUser = m_request.HasMember("enrolluser") ? m_request.GetInt("enrolluser") : 1;
    const std::string user = ReadString("webpageUserId"); // this command's own spelling, lower-case p
    if (m_request.ConversionFailed())
        return kStatusArgumentMissing;

    if (IsValidating())
        return kStatusFail;
    std::string siteKey;
    if (!MakeSiteKey(url, passField, siteKey))
        return kStatusFail;

    // With no user field, the display name stays empty.
    WriteLoginScript(m_tables, m_link, siteKey, "", url, "", user, passField, "");
    int remembered = 0;
    if (SendRequest(siteKey, kRequestIsKnown, remembered, user) != kStatusSuccess)
        return kStatusFail;

    int enrolled = (m_link.GetSharedFlags() & kFlagNotEnrolled) == 0 ? 1 : 0;
    if (!enrolled)
    {
        if (m_immersive)
            return kStatusFail;
        if (enrollUser != 0)
            enrolled = ValidateUser();
    }

    m_reply.SetInt("isremembered", remembered);
    m_reply.SetInt("isenrolled", enrolled);
    m_reply.SetInt("isdiscoveryon", IsDiscoveryOn() ? 1 : 0);
    if (enrolled && RememberPwdWithoutPrompt() != kStatusSuccess)
        return kStatusFail;
    return kStatusSuccess;
}

std::uint32_t CLVBHOCommandHandler::RememberPwdWithoutPrompt()
{
    LVBHO_CHECK_THREAD(m_commandThread);
    if (m_link.SignalEvent(kRequestNoPromptQuery, 1) == 0)
        return kStatusFail;
    std::uint32_t result = kResultPending;
    {
        CMutexLock lock(m_link);
        if (const BHOSharedData* block = m_link.Block())
            result = LoadHandshake(*block, HandshakeWord::Result);
    }
    m_reply.SetInt("noprompt", result == kResultNoPrompt ? 1 : 0);
    return kStatusSuccess;
}

std::uint32_t CLVBHOCommandHandler::SetRememberPwdWithoutPrompt()
{
    LVBHO_CHECK_THREAD(m_commandThread);
    return m_link.SignalEvent(kRequestNoPromptOn, 1) != 0 ? kStatusSuccess : kStatusFail;
}

std::uint32_t CLVBHOCommandHandler::SetPluginParam()
{
    LVBHO_CHECK_THREAD(m_commandThread);
    if (!HasMembers({"strdevid", "param"}))
        return kStatusArgumentMissing;
    const std::string deviceId = ReadString("strdevid");
    const std::string param = ReadString("param");
    if (m_request.ConversionFailed())
        return kStatusArgumentMissing;

    BHOCopyData record;
    std::memset(&record, 0, sizeof record);
    SetField(record.strDevId, deviceId);
    SetField(record.text2, param);
    // To the core window that CheckAndValidate kept; a stale handle makes the send fail silently.
    m_platform.SendCopyData(static_cast<WindowId>(CoreWindow()), record);
    return kStatusSuccess;
}

std::uint32_t CLVBHOCommandHandler::CancelOperation()
{
    LVBHO_CHECK_THREAD(m_commandThread);
    HidePrompt();
    const std::uint32_t status = CancelIfBusy(1);
    if (status != kStatusPending)
        return status;
    WaitForCompletion(kDefaultWaitMs);
    return kStatusSuccess;
}

std::uint32_t CLVBHOCommandHandler::CheckSkipList()
{
    LVBHO_CHECK_THREAD(m_commandThread);
    if (!HasMembers({"domain"}))
        return kStatusArgumentMissing;
    const std::string domain = ToUpperAscii(ReadString("domain"));
    if (m_request.ConversionFailed())
        return kStatusArgumentMissing;
    // Changes made while the host runs count from the next check on.
    LoadSkipList();
    const bool skipped = std::any_of(m_skipList.begin(), m_skipList.end(),
                                     [&](const std::string& entry) { return domain.find(entry) != std::string::npos; });
    m_reply.SetInt("skipped", skipped ? 1 : 0);
    return kStatusSuccess;
}

void CLVBHOCommandHandler::LoadSkipList()
{
    m_skipList = ReadSkipList(m_registry, kHkeyLocalMachine);
    for (std::string& entry : ReadSkipList(m_registry, kHkeyCurrentUser))
        m_skipList.push_back(std::move(entry));
}

bool CLVBHOCommandHandler::IsDiscoveryOn()
{
    CRegKey machine(m_registry);
    if (machine.Open(kHkeyLocalMachine, kProductKey, kKeyRead) == kRegOk)
    {
        std::uint32_t enabled = 1;
        static_cast<void>(machine.QueryDWORDValue("DiscoveryEnabled", enabled));
        if (enabled == 0)
            return false;
    }
    CRegKey user(m_registry);
    if (user.Open(kHkeyCurrentUser, kProductKey, kKeyRead) == kRegOk)
    {
        std::uint32_t doNotShow = 0;
        static_cast<void>(user.QueryDWORDValue("DoNotShowDiscovery", doNotShow));
        if (doNotShow != 0)
            return false;
    }
    return true;
}

void CLVBHOCommandHandler::SetDoNotShowDiscovery()
{
    CRegKey key(m_registry);
    if (key.Create(kHkeyCurrentUser, kProductKey, kKeyReadWrite) == kRegOk)
        static_cast<void>(key.SetDWORDValue("DoNotShowDiscovery", 1));
}

std::uint32_t CLVBHOCommandHandler::ShowPrompt()
{
    LVBHO_CHECK_THREAD(m_commandThread);
    if (!m_platform.HasPromptWindow())
        return kStatusFail;
    m_platform.SendToWindow(kMsgShowPrompt, 0, 0);
    return kStatusSuccess;
}

std::uint32_t CLVBHOCommandHandler::SetPromptPos()
{
    LVBHO_CHECK_THREAD(m_commandThread);
    if (!m_platform.HasPromptWindow())
        return kStatusFail;
    m_platform.SendToWindow(kMsgSetPromptPos, 0, 0);
    return kStatusSuccess;
}

std::uint32_t CLVBHOCommandHandler::HidePrompt()
{
    LVBHO_CHECK_THREAD(m_commandThread);
    if (!m_platform.HasPromptWindow())
        return kStatusFail;
    m_platform.SendToWindow(kMsgHidePrompt, 1, 0);
    return kStatusSuccess;
}

std::uint32_t CLVBHOCommandHandler::PlayKeys()
{
    LVBHO_CHECK_THREAD(m_commandThread);
    return KeyEvent(m_request, m_keys);
}

void CLVBHOCommandHandler::StartNonChromeBrowser()
{
    LVBHO_CHECK_THREAD(m_commandThread);
    m_platform.RunOnUiThread(kMsgCreatePromptWnd);
}

void CLVBHOCommandHandler::ExtensionInstalled()
{
    LVBHO_CHECK_THREAD(m_commandThread);
    CRegKey key(m_registry);
    if (key.Create(kHkeyCurrentUser, kProductKey, kKeyReadWrite) == kRegOk)
        static_cast<void>(key.SetDWORDValue(kChromeExtensionFoundValue, 1));
    m_link.PostExtensionInstalled();
}
