#pragma once
// What the prompt asks of the command handler. The prompt runs on the UI thread while the main thread runs the
// commands, so each of these is safe to call there: the values that cross threads (the browser, the core's window)
// are atomics, the request is read only while the main thread waits for a sent prompt message, and the rest goes
// to the core, whose block has its own mutex.

#include "messaging/JsonMessage.h"

#include <cstdint>
#include <string>

class IPromptHandler
{
public:
    virtual ~IPromptHandler() = default;

    // Whether "Identify" named Firefox: only Firefox gets focus reports and a class-checked browser window.
    virtual bool IsFirefox() const = 0;
    // The core's window as a pending validation left it: where the typed code and the PIN go.
    virtual std::uint64_t CoreWindow() const = 0;
    // The request being answered; only while the main thread waits for the prompt message it sent.
    virtual IJsonMessage& Request() = 0;
    virtual std::uint32_t CancelIfBusy(std::int32_t wait) = 0;
    // Asks the core to validate the user: 1 granted, 0 denied or no answer.
    virtual int ValidateUser() = 0;
    virtual void SetDoNotShowDiscovery() = 0;
    // A site the user told the prompt never to save for (its upper-cased URL).
    virtual void AddNeverRememberUrl(const std::string& url) = 0;
};
