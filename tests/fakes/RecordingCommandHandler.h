#pragma once
// A command handler that records which operations the dispatcher called and answers with scripted statuses.

#include "commands/ICommandHandler.h"
#include "messaging/JsonCppWrapper.h"

#include <map>
#include <string>
#include <vector>

class CRecordingCommandHandler : public ICommandHandler
{
public:
    explicit CRecordingCommandHandler(IJsonMessage& request) : m_request(request) {}

    IJsonMessage& Request() override { return m_request; }
    IJsonMessage& Reply() override { return m_reply; }

    std::uint32_t CancelIfBusy(std::int32_t wait) override
    {
        return Record("CancelIfBusy(" + std::to_string(wait) + ")", m_cancelStatus);
    }
    void WaitForCompletion(std::uint32_t timeoutMs) override { Record("Wait(" + std::to_string(timeoutMs) + ")"); }
    std::uint32_t StoreLoginData() override { return Record("StoreLoginData"); }
    std::uint32_t CheckAndValidate() override { return Record("CheckAndValidate"); }
    std::uint32_t RememberPwdWithoutPrompt() override { return Record("RememberPwdWithoutPrompt"); }
    std::uint32_t IsPageRemembered() override { return Record("IsPageRemembered"); }
    std::uint32_t SetRememberPwdWithoutPrompt() override { return Record("SetRememberPwdWithoutPrompt"); }
    std::uint32_t SetPluginParam() override { return Record("SetPluginParam"); }
    std::uint32_t CancelOperation() override { return Record("CancelOperation"); }
    std::uint32_t CheckSkipList() override { return Record("CheckSkipList"); }
    std::uint32_t ShowPrompt() override { return Record("ShowPrompt"); }
    std::uint32_t SetPromptPos() override { return Record("SetPromptPos"); }
    std::uint32_t HidePrompt() override { return Record("HidePrompt", m_hideStatus); }
    std::uint32_t PlayKeys() override { return Record("PlayKeys"); }
    void SetBrowserName(const std::string& name) override { Record("SetBrowserName(" + name + ")"); }
    void SetBrowserCode(int code) override { Record("SetBrowserCode(" + std::to_string(code) + ")"); }
    void StartNonChromeBrowser() override { Record("StartNonChromeBrowser"); }
    void ExtensionInstalled() override { Record("ExtensionInstalled"); }

    // Status each operation answers, by name; 0 unless set.
    std::map<std::string, std::uint32_t> m_statuses;
    std::uint32_t m_cancelStatus = 3; // the core is idle
    std::uint32_t m_hideStatus = 3;   // there is no prompt window
    std::vector<std::string> m_calls;

private:
    std::uint32_t Record(const std::string& call, std::uint32_t fallback = 0)
    {
        m_calls.push_back(call);
        const auto found = m_statuses.find(call);
        return found != m_statuses.end() ? found->second : fallback;
    }

    IJsonMessage& m_request;
    JsonCPPWrapper m_reply;
};
