#pragma once
// The command handler as the dispatcher sees it. The handler is made on the UI thread, which owns its windows; its
// operations are called on the main thread, one at a time. Each operation reads its arguments from the request,
// writes its members into the reply and returns a status code.

#include "messaging/JsonMessage.h"

#include <cstdint>
#include <string>

class ICommandHandler
{
public:
    virtual ~ICommandHandler() = default;

    virtual IJsonMessage& Request() = 0;
    virtual IJsonMessage& Reply() = 0;

    // 3 when no cancellable request is open; otherwise tells the core to cancel it and returns 5.
    virtual std::uint32_t CancelIfBusy(std::int32_t wait) = 0;
    // Waits on the handler's own event, serving messages; 0 and 0xFFFFFFFF stand for 500 ms.
    virtual void WaitForCompletion(std::uint32_t timeoutMs) = 0;

    virtual std::uint32_t StoreLoginData() = 0;
    virtual std::uint32_t CheckAndValidate() = 0;
    virtual std::uint32_t RememberPwdWithoutPrompt() = 0;
    virtual std::uint32_t IsPageRemembered() = 0;
    virtual std::uint32_t SetRememberPwdWithoutPrompt() = 0;
    virtual std::uint32_t SetPluginParam() = 0;
    // Hides the prompt, then cancels an open request and waits 500 ms for it: 0, or 3 when nothing was open.
    virtual std::uint32_t CancelOperation() = 0;
    // Writes "skipped"; 4 without "domain", 0 otherwise, whether the site is skipped or not.
    virtual std::uint32_t CheckSkipList() = 0;
    virtual std::uint32_t ShowPrompt() = 0;
    virtual std::uint32_t SetPromptPos() = 0;
    // 0, or 3 when there is no prompt window.
    virtual std::uint32_t HidePrompt() = 0;
    virtual std::uint32_t PlayKeys() = 0;

    // "Identify": the browser's name ("firefox", "chrome" or "unkown") and code, and the start-up work for a
    // browser other than Chrome.
    virtual void SetBrowserName(const std::string& name) = 0;
    virtual void SetBrowserCode(int code) = 0;
    virtual void StartNonChromeBrowser() = 0;
    // "Identify" with the purpose "Install": records the installation and tells the core.
    virtual void ExtensionInstalled() = 0;
};
