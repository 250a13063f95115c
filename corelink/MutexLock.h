#pragma once
// Holds the block mutex for a scope. Like the lock it replaces, it takes the mutex only while the core runs: with
// no core process there is nobody to race with, and waiting on the mutex could hang on an abandoned owner.

#include "corelink/ICoreLink.h"

class CMutexLock
{
public:
    explicit CMutexLock(ICoreLink& link) : m_link(&link) { Lock(); }
    CMutexLock(const CMutexLock&) = delete;
    CMutexLock& operator=(const CMutexLock&) = delete;
    ~CMutexLock()
    {
        UnLock();
        m_link = nullptr;
    }

    void Lock()
    {
        if (m_link && !m_bLocked)
            m_bLocked = m_link->LockBlock();
    }
    void UnLock()
    {
        if (m_link && m_bLocked)
        {
            m_link->UnlockBlock();
            m_bLocked = false;
        }
    }
    bool IsLocked() const noexcept { return m_bLocked; }

private:
    ICoreLink* m_link;
    bool m_bLocked = false;
};
