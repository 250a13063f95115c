#pragma once
// The link to the core over an in-memory block: scripted answers, and a record of what was asked.

#include "corelink/ICoreLink.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <vector>

struct SignalCall
{
    std::uint32_t code;
    std::int32_t wait;
};

class CFakeCoreLink : public ICoreLink
{
public:
    BHOSharedData* Block() override { return m_mapped ? &m_block : nullptr; }

    // Like the real lock, it takes nothing while the core is not running.
    bool LockBlock() override
    {
        ++m_lockCount;
        if (!m_coreRunning)
            return false;
        ++m_lockDepth;
        return true;
    }
    void UnlockBlock() override
    {
        ++m_unlockCount;
        --m_lockDepth;
    }

    std::int32_t SignalEvent(std::uint32_t code, std::int32_t wait) override
    {
        m_signals.push_back({code, wait});
        if (m_onSignal)
            m_onSignal(*this, code);
        return m_signalResult;
    }
    std::int32_t WaitForCompleteEvent() override
    {
        ++m_waitCount;
        return m_waitResult;
    }
    std::int32_t GetSharedResult() override { return static_cast<std::int32_t>(m_block.result); }
    std::uint32_t GetSharedFlags() override { return m_block.flags; }

    // Initialises the block as the host does; field3 is left alone.
    void ResetSharedData() override
    {
        ++m_resetCount;
        if (m_lockDepth > 0)
            m_resetUnderLock = true;
        if (!m_mapped)
            return;
        ResetBlockFields(m_block);
    }

    std::int32_t ValidateUser() override
    {
        ++m_validateCount;
        m_flagsDuringValidation = m_block.flags;
        return m_validateResult;
    }
    void PostExtensionInstalled() override { ++m_installedCount; }

    BHOSharedData m_block{};
    bool m_mapped = true;      // false: Block() returns null
    bool m_coreRunning = true; // false: LockBlock() takes nothing and returns false

    std::vector<SignalCall> m_signals;
    // Plays the core's part when a request is signalled: writes its answer into the block.
    std::function<void(CFakeCoreLink&, std::uint32_t)> m_onSignal;
    std::uint32_t m_flagsDuringValidation = 0;
    int m_installedCount = 0;
    std::int32_t m_signalResult = 1;
    int m_waitCount = 0;
    std::int32_t m_waitResult = 1;
    int m_validateCount = 0;
    std::int32_t m_validateResult = 1;

    int m_lockCount = 0; // LockBlock calls, taken or not
    int m_unlockCount = 0;
    int m_lockDepth = 0; // locks now held
    int m_resetCount = 0;
    bool m_resetUnderLock = false; // a ResetSharedData call came while the lock was held
};
