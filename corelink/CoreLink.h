#pragma once
// The request handshake with the core over the shared block: post a request code, wait for the core to complete it,
// read its answer. The block's small fields are touched under the block mutex, except where the cancel and failure
// paths write `requestCode` and `result` without it, as the core expects.

#include "config/DebugLog.h"
#include "corelink/ICoreLink.h"
#include "corelink/ICoreObjects.h"

#include <cstdint>

// The completion wait has no time-out, deliberately: a core that dies in the middle of a request leaves the
// waiting thread waiting (it keeps serving its messages). A core that is not running is noticed by the process
// scan before any wait begins.
inline constexpr std::uint32_t kInfiniteWait = 0xFFFFFFFF;
// How long the core may take to acknowledge a validation request.
inline constexpr std::uint32_t kValidationAckTimeoutMs = 3000;

class CCoreLink : public ICoreLink
{
public:
    CCoreLink(ICoreObjects& objects, const CDebugLog& log) : m_objects(objects), m_log(log) {}

    BHOSharedData* Block() override { return m_objects.Block(); }
    bool LockBlock() override;
    void UnlockBlock() override;
    [[nodiscard]] std::int32_t SignalEvent(std::uint32_t code, std::int32_t wait) override;
    [[nodiscard]] std::int32_t WaitForCompleteEvent() override;
    std::int32_t GetSharedResult() override;
    std::uint32_t GetSharedFlags() override;
    void ResetSharedData() override;
    [[nodiscard]] std::int32_t ValidateUser() override;

    void PostExtensionInstalled() override;

    // Whether the core or its guard runs; locks and waits are skipped otherwise.
    bool IsCoreRunning();

private:
    void Trace(const char* format, ...) const
#if defined(__GNUC__)
        __attribute__((format(printf, 2, 3)))
#endif
        ;

    ICoreObjects& m_objects;
    const CDebugLog& m_log;
};
