#pragma once
// CLVBHOCommandHandler carries out the commands. It is made on the UI thread, which owns its windows, and its
// commands are called on the main thread, one at a time. It reaches the core through the shared block.

#include "autofill/LoginScript.h"
#include "commands/ICommandHandler.h"
#include "commands/IHandlerPlatform.h"
#include "config/DebugLog.h"
#include "config/IRegistry.h"
#include "corelink/CoreLink.h"
#include "messaging/JsonCppWrapper.h"

#include <cstdint>
#include <string>
#include <vector>

class CLVBHOCommandHandler : public ICommandHandler
{
public:
    CLVBHOCommandHandler(IJsonMessage& request, IHandlerPlatform& platform, CCoreLink& link, IRegistry& registry,
                         const CDebugLog& log);

    IJsonMessage& Request() override { return m_request; }
    IJsonMessage& Reply() override { return m_reply; }

    std::uint32_t CancelIfBusy(std::int32_t wait) override;
    void WaitForCompletion(std::uint32_t timeoutMs) override;

    std::uint32_t StoreLoginData() override;
    std::uint32_t CheckAndValidate() override;
    std::uint32_t RememberPwdWithoutPrompt() override;
    std::uint32_t IsPageRemembered() override;
    std::uint32_t SetRememberPwdWithoutPrompt() override;
    std::uint32_t SetPluginParam() override;
    std::uint32_t CancelOperation() override;
    bool CheckSkipList() override;
    std::uint32_t ShowPrompt() override;
    std::uint32_t SetPromptPos() override;
    std::uint32_t HidePrompt() override;
    std::uint32_t PlayKeys() override;

    void SetBrowserName(const std::string& name) override { m_browserName = name; }
    void SetBrowserCode(int code) override { m_browserCode = code; }
    void StartNonChromeBrowser() override;
    void ExtensionInstalled() override;

    const std::string& BrowserName() const noexcept { return m_browserName; }
    int BrowserCode() const noexcept { return m_browserCode; }
    LoginScriptTables& ScriptTables() noexcept { return m_tables; }
    CCoreLink& CoreLink() noexcept { return m_link; }
    IHandlerPlatform& Platform() noexcept { return m_platform; }

private:
    // Checks that every member is present; the commands answer 4 before any work otherwise.
    bool HasMembers(std::initializer_list<const char*> names);
    std::uint32_t NotAvailable(const char* command);

    IJsonMessage& m_request;
    IHandlerPlatform& m_platform;
    CCoreLink& m_link;
    IRegistry& m_registry;
    const CDebugLog& m_log;

    std::uint32_t m_validateCode = kRequestLookUp;
    JsonCPPWrapper m_reply;
    std::uint64_t m_coreContext = 0;
    std::string m_browserName;
    int m_browserCode = 0;
    LoginScriptTables m_tables;
    std::vector<std::string> m_skipList;
};
