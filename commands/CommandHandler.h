#pragma once
// CLVBHOCommandHandler carries out the commands. It is made on the UI thread, which owns its windows, and its
// commands are called on the main thread, one at a time (checked in debug builds). The prompt, on the UI thread,
// reaches it only through IPromptHandler. It reaches the core through the shared block: it writes the request,
// rings the core, waits (serving messages) and reads the core's answer.

#include "autofill/KeystrokePlayer.h"
#include "autofill/LoginScript.h"
#include "commands/ICommandHandler.h"
#include "commands/IHandlerPlatform.h"
#include "commands/IPromptHandler.h"
#include "config/DebugLog.h"
#include "config/IRegistry.h"
#include "corelink/ICoreLink.h"
#include "corelink/ThreadChecker.h"
#include "messaging/JsonCppWrapper.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

// What the handler works with; all of it outlives the handler.
struct HandlerServices
{
    IHandlerPlatform& platform;
    ICoreLink& link;
    IRegistry& registry;
    IKeySender& keys;
    const CDebugLog& log;
    // Whether Chrome runs immersive ("ismetro"): an unenrolled user is then not asked to validate.
    bool immersive = false;
};

class CLVBHOCommandHandler : public ICommandHandler, public IPromptHandler
{
public:
    // Loads the skip list.
    CLVBHOCommandHandler(IJsonMessage& request, const HandlerServices& services);

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
    std::uint32_t CheckSkipList() override;
    std::uint32_t ShowPrompt() override;
    std::uint32_t SetPromptPos() override;
    std::uint32_t HidePrompt() override;
    std::uint32_t PlayKeys() override;

    void SetBrowserName(const std::string& name) override
    {
        LVBHO_CHECK_THREAD(m_commandThread);
        m_browserName = name;
        m_firefox.store(name == "firefox");
    }
    void SetBrowserCode(int code) override { m_browserCode = code; }
    void StartNonChromeBrowser() override;
    void ExtensionInstalled() override;

    // Writes the request's user, site key and the handler's window into the block, rings `code` and waits; then
    // `answer` is the core's yes/no bit. 0, or 3 when the block is not mapped or the core did not complete.
    std::uint32_t SendRequest(const std::string& siteKey, std::uint32_t code, int& answer, const std::string& user);
    // Bit 3 of the block's flags while a user validation runs; off writes 0 to the whole word.
    void SetValidating(bool on);
    bool IsValidating();
    // Asks the core to validate the user: 1 granted, 0 denied or no answer.
    int ValidateUser() override;
    bool IsDiscoveryOn();
    void SetDoNotShowDiscovery() override;
    void LoadSkipList();
    // Sites the user told the prompt never to save for (upper-cased URLs), kept for the life of the process. Only
    // the UI thread keeps them.
    void AddNeverRememberUrl(const std::string& url) override { m_neverRememberUrls.push_back(url); }
    const std::vector<std::string>& NeverRememberUrls() const noexcept { return m_neverRememberUrls; }

    // The name "Identify" gave: the main thread's, and the UI thread's only under a message the main thread sent
    // (its window title). Elsewhere the UI thread asks IsFirefox().
    const std::string& BrowserName() const noexcept { return m_browserName; }
    bool IsFirefox() const override { return m_firefox.load(); }
    int BrowserCode() const noexcept { return m_browserCode; }
    // The core's window, as the block's first field held it when the core last left a validation pending: kept by
    // CheckAndValidate on the main thread, read by the prompt on the UI thread.
    std::uint64_t CoreWindow() const override { return m_coreContext.load(); }
    void KeepCoreWindow(std::uint64_t window) noexcept { m_coreContext.store(window); }
    const std::vector<std::string>& SkipList() const noexcept { return m_skipList; }
    LoginScriptTables& ScriptTables() noexcept { return m_tables; }
    ICoreLink& CoreLink() noexcept { return m_link; }
    IHandlerPlatform& Platform() noexcept { return m_platform; }

private:
    // Checks that every member is present; the commands answer 4 before any work otherwise.
    bool HasMembers(std::initializer_list<const char*> names);
    std::string ReadString(const char* name, const char* fallback = "");

    IJsonMessage& m_request;
    IHandlerPlatform& m_platform;
    ICoreLink& m_link;
    IRegistry& m_registry;
    IKeySender& m_keys;
    const CDebugLog& m_log;
    bool m_immersive;

    std::uint32_t m_validateCode;
    JsonCPPWrapper m_reply;
    std::atomic<std::uint64_t> m_coreContext{0};
    std::string m_browserName = "chrome";
    std::atomic<bool> m_firefox{false};
    // The thread the commands run on: the main thread, which the handler meets at its first command.
    CThreadChecker m_commandThread;
    int m_browserCode = 0;
    LoginScriptTables m_tables;
    std::vector<std::string> m_skipList;
    std::vector<std::string> m_neverRememberUrls;
};
