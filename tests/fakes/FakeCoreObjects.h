#pragma once
// The kernel objects of the core link, in memory: event states, a mutex depth, a process list, and scripted waits.
// Every call is recorded in order.

#include "corelink/ICoreObjects.h"

#include <cstring>
#include <functional>
#include <string>
#include <vector>

class CFakeCoreObjects : public ICoreObjects
{
public:
    CFakeCoreObjects()
    {
        std::memset(&m_block, 0, sizeof m_block);
        for (const CoreEventName& named : kCoreEvents)
            m_set[static_cast<int>(named.event)] = named.initiallySet;
    }

    BHOSharedData* Block() override { return m_mapped ? &m_block : nullptr; }
    bool HasEvent(CoreEvent event) override
    {
        static_cast<void>(event);
        return m_hasEvents;
    }
    void SetEvent(CoreEvent event) override
    {
        m_calls.push_back("Set " + Name(event));
        m_set[static_cast<int>(event)] = true;
    }
    void ResetEvent(CoreEvent event) override
    {
        m_calls.push_back("Reset " + Name(event));
        m_set[static_cast<int>(event)] = false;
    }
    std::int32_t WaitPumping(CoreEvent event, std::uint32_t timeoutMs) override
    {
        m_calls.push_back("WaitPumping " + Name(event) + " " + std::to_string(timeoutMs));
        if (m_onWait)
            m_onWait(*this);
        return m_set[static_cast<int>(event)] ? 1 : 0;
    }
    bool Wait(CoreEvent event, std::uint32_t timeoutMs) override
    {
        m_calls.push_back("Wait " + Name(event) + " " + std::to_string(timeoutMs));
        if (m_onWait)
            m_onWait(*this);
        return m_set[static_cast<int>(event)];
    }
    WaitOutcome WaitEither(CoreEvent first, CoreEvent second) override
    {
        m_calls.push_back("WaitEither " + Name(first) + " " + Name(second));
        if (m_set[static_cast<int>(first)])
            return WaitOutcome::First;
        if (m_set[static_cast<int>(second)])
            return WaitOutcome::Second;
        return WaitOutcome::Failed;
    }
    void LockMutex() override
    {
        m_calls.push_back("Lock");
        ++m_mutexDepth;
    }
    void ReleaseMutex() override
    {
        m_calls.push_back("Release");
        --m_mutexDepth;
    }
    std::uint32_t FindProcessByName(const char* name) override
    {
        for (const auto& [id, exeName] : m_processes)
            if (exeName == name)
                return id;
        return 0;
    }
    bool IsCoreRunning() override
    {
        ++m_runningAsked;
        return FindProcessByName(kCoreProcessName) != 0 || FindProcessByName(kGuardProcessName) != 0;
    }
    WindowId FindCoreWindow() override { return m_coreWindow; }
    void AllowSetForeground(std::uint32_t processId) override
    {
        m_calls.push_back("AllowSetForeground " + std::to_string(processId));
    }
    void PostRegistered(WindowId window, const char* messageName, std::uintptr_t wParam, std::intptr_t lParam) override
    {
        m_calls.push_back("Post " + std::to_string(window) + " " + messageName + " " + std::to_string(wParam) + " " +
                          std::to_string(lParam));
    }

    bool IsSet(CoreEvent event) const { return m_set[static_cast<int>(event)]; }
    void RunCore() { m_processes = {{77, kCoreProcessName}}; }

    static std::string Name(CoreEvent event)
    {
        static const char* const names[kCoreEventCount] = {"A", "B",      "C",       "D",          "Complete",
                                                           "E", "Denied", "Granted", "Acknowledge"};
        return names[static_cast<int>(event)];
    }

    BHOSharedData m_block;
    bool m_mapped = true;
    bool m_hasEvents = true;
    bool m_set[kCoreEventCount] = {};
    int m_mutexDepth = 0;
    std::vector<std::pair<std::uint32_t, std::string>> m_processes;
    WindowId m_coreWindow = 0;
    int m_runningAsked = 0; // how often IsCoreRunning was asked
    // Runs inside every wait: plays the core's part.
    std::function<void(CFakeCoreObjects&)> m_onWait;
    std::vector<std::string> m_calls;
};
