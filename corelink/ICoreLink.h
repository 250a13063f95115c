#pragma once
// What the commands and the login script need from the link to the core: the shared block, its mutex, the
// request handshake and the user validation. CCoreLink implements it over the kernel objects; tests use a fake.

#include "corelink/SharedData.h"

#include <cstdint>

class ICoreLink
{
public:
    virtual ~ICoreLink() = default;

    // The mapped block, or null when it is not mapped. Touch it only under CMutexLock.
    virtual BHOSharedData* Block() = 0;
    // The block mutex. LockBlock takes no lock, and returns false, while neither core process runs.
    virtual bool LockBlock() = 0;
    virtual void UnlockBlock() = 0;

    // Posts request `code`; with `wait`, waits (pumping messages) until the core completes it.
    // 1 = posted (and completed), 0 = the previous or this request did not complete.
    [[nodiscard]] virtual std::int32_t SignalEvent(std::uint32_t code, std::int32_t wait) = 0;
    // 1 when the core signalled completion, 0 otherwise.
    [[nodiscard]] virtual std::int32_t WaitForCompleteEvent() = 0;
    virtual std::int32_t GetSharedResult() = 0;
    virtual std::uint32_t GetSharedFlags() = 0;
    // Initialises the block's fields (under the mutex).
    virtual void ResetSharedData() = 0;
    // Asks the core to validate the user: 1 granted, 0 denied or no answer.
    [[nodiscard]] virtual std::int32_t ValidateUser() = 0;
    // Tells a running core that the browser extension has been installed.
    virtual void PostExtensionInstalled() = 0;
};
