#pragma once
// The core's side of the kernel objects: the shared block, the nine events and the block mutex. Whichever process
// comes first creates them; the other opens them. Main thread only.

#include "corelink/SharedData.h"
#include "framework/Unique.h"

#include <windows.h>

#include <string>

class CSimObjects
{
public:
    // Creates or opens every object; when this call created the mapping, initialises the block as the host does.
    // On failure `error` names the call and its Win32 code; objects made so far are closed with `*this`.
    [[nodiscard]] bool Open(std::string& error);

    bool CreatedBlock() const noexcept { return m_createdBlock; }
    BHOSharedData& Block() const noexcept { return *static_cast<BHOSharedData*>(m_view.Get()); }
    HANDLE Event(CoreEvent event) const noexcept { return m_events[static_cast<int>(event)].Get(); }

    // Takes the block mutex, waiting at most `timeoutMs`. An abandoned mutex is ours as well (its owner died).
    [[nodiscard]] bool LockBlock(DWORD timeoutMs);
    void UnlockBlock();

private:
    // Declared before the view, so that the view is unmapped first.
    CHandle m_mapping;
    CMappedView m_view;
    CHandle m_events[kCoreEventCount];
    CHandle m_mutex;
    bool m_createdBlock = false;
};

// Holds the block mutex for a scope. A stand-in must not hang on a host that keeps the mutex: after the time-out
// the scope goes on without it, and IsLocked() tells.
class CSimBlockLock
{
public:
    explicit CSimBlockLock(CSimObjects& objects, DWORD timeoutMs = 10000)
        : m_objects(objects), m_locked(objects.LockBlock(timeoutMs))
    {
    }
    CSimBlockLock(const CSimBlockLock&) = delete;
    CSimBlockLock& operator=(const CSimBlockLock&) = delete;
    ~CSimBlockLock()
    {
        if (m_locked)
            m_objects.UnlockBlock();
    }
    bool IsLocked() const noexcept { return m_locked; }

private:
    CSimObjects& m_objects;
    bool m_locked;
};
