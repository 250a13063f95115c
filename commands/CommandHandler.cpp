#include "commands/CommandHandler.h"

#include "config/ProductSettings.h"
#include "config/RegKey.h"
#include "messaging/Responses.h"

namespace
{
constexpr std::uint32_t kDefaultWaitMs = 500;
constexpr std::uint32_t kTraceLevel = 52;
} // namespace

CLVBHOCommandHandler::CLVBHOCommandHandler(IJsonMessage& request, IHandlerPlatform& platform, CCoreLink& link,
                                           IRegistry& registry, const CDebugLog& log)
    : m_request(request), m_platform(platform), m_link(link), m_registry(registry), m_log(log),
      m_browserName("chrome")
{
}

bool CLVBHOCommandHandler::HasMembers(std::initializer_list<const char*> names)
{
    for (const char* name : names)
        if (!m_request.HasMember(name))
            return false;
    return true;
}

std::uint32_t CLVBHOCommandHandler::NotAvailable(const char* command)
{
    if (m_log.Enabled(kTraceLevel))
        m_log.Write("CLVBHOCommandHandler::%s - not available in this build", command);
    return kStatusFail;
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

std::uint32_t CLVBHOCommandHandler::StoreLoginData()
{
    if (!HasMembers({"DocumentTitle", "WebUrl", "unamefield", "webPageUserId", "passfieldname", "webPagepassword"}))
        return kStatusArgumentMissing;
    return NotAvailable("StoreLoginData");
}

std::uint32_t CLVBHOCommandHandler::CheckAndValidate()
{
    if (!HasMembers({"DocumentTitle", "WebUrl", "unamefield", "passfieldname"}))
        return kStatusArgumentMissing;
    return NotAvailable("CheckAndValidate");
}

std::uint32_t CLVBHOCommandHandler::RememberPwdWithoutPrompt()
{
    return NotAvailable("RememberPwdWithoutPrompt");
}

std::uint32_t CLVBHOCommandHandler::IsPageRemembered()
{
    if (!HasMembers({"passfieldname", "WebUrl"}))
        return kStatusArgumentMissing;
    return NotAvailable("IsPageRemembered");
}

std::uint32_t CLVBHOCommandHandler::SetRememberPwdWithoutPrompt()
{
    return NotAvailable("SetRememberPwdWithoutPrompt");
}

std::uint32_t CLVBHOCommandHandler::SetPluginParam()
{
    if (!HasMembers({"strdevid", "param"}))
        return kStatusArgumentMissing;
    return NotAvailable("SetPluginParam");
}

std::uint32_t CLVBHOCommandHandler::CancelOperation()
{
    HidePrompt();
    const std::uint32_t status = CancelIfBusy(1);
    if (status != kStatusPending)
        return status;
    WaitForCompletion(kDefaultWaitMs);
    return kStatusSuccess;
}

bool CLVBHOCommandHandler::CheckSkipList()
{
    if (!HasMembers({"domain"}))
        return false;
    NotAvailable("CheckSkipList");
    return false;
}

std::uint32_t CLVBHOCommandHandler::ShowPrompt()
{
    if (!m_platform.HasPromptWindow())
        return kStatusFail;
    return NotAvailable("ShowPrompt");
}

std::uint32_t CLVBHOCommandHandler::SetPromptPos()
{
    if (!m_platform.HasPromptWindow())
        return kStatusFail;
    return NotAvailable("SetPromptPos");
}

std::uint32_t CLVBHOCommandHandler::HidePrompt()
{
    if (!m_platform.HasPromptWindow())
        return kStatusFail;
    m_platform.SendToWindow(kMsgHidePrompt, 1, 0);
    return kStatusSuccess;
}

std::uint32_t CLVBHOCommandHandler::PlayKeys()
{
    if (!HasMembers({"vk", "sleep"}))
        return kStatusArgumentMissing;
    return NotAvailable("keyevent");
}

void CLVBHOCommandHandler::StartNonChromeBrowser()
{
    m_platform.RunOnUiThread(kMsgCreatePromptWnd);
}

void CLVBHOCommandHandler::ExtensionInstalled()
{
    CRegKey key(m_registry);
    if (key.Create(kHkeyCurrentUser, kProductKey, kKeyReadWrite) == kRegOk)
        static_cast<void>(key.SetDWORDValue("ChromeBHO", 1));
    m_link.PostExtensionInstalled();
}
