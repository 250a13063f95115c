#include "corelink/CoreLink.h"

#include "corelink/MutexLock.h"

#include <cstdarg>
#include <cstring>
#include <string>

namespace
{
// Detailed traces of the core link.
constexpr std::uint32_t kTraceLevel = 52;
} // namespace

void CCoreLink::Trace(const char* format, ...) const
{
    if (!m_log.Enabled(kTraceLevel))
        return;
    std::va_list args;
    va_start(args, format);
    const std::string text = FormatLogText(format, args);
    va_end(args);
    m_log.Write("%s", text.c_str());
}

bool CCoreLink::IsCoreRunning()
{
    return m_objects.IsCoreRunning();
}

bool CCoreLink::LockBlock()
{
    if (!IsCoreRunning())
        return false;
    Trace("CMutexLock:: Lock Enter");
    m_objects.LockMutex();
    Trace("CMutexLock:: Locked Exit");
    return true;
}

void CCoreLink::UnlockBlock()
{
    Trace("CMutexLock:: UnLock Enter - %d", 1);
    m_objects.ReleaseMutex();
    Trace("CMutexLock:: UnLocked");
}

std::int32_t CCoreLink::WaitForCompleteEvent()
{
    Trace("WaitForCompleteEvent:: Enter");
    if (!m_objects.HasEvent(CoreEvent::Complete))
    {
        Trace("WaitForCompleteEvent:: gBHOCompleteEvent is FALSE, so return");
        return 0;
    }
    if (!IsCoreRunning())
    {
        Trace("WaitForCompleteEvent:: Running Process is not valid, so return");
        return 0;
    }
    if (m_objects.WaitPumping(CoreEvent::Complete, kInfiniteWait) == 1)
    {
        Trace("WaitForCompleteEvent:: Exit");
        return 1;
    }
    Trace("WaitForCompleteEvent:: Time out, Release the caller , so return");
    // Written without the mutex, so that a failed wait can never block on it; the next caller is released too.
    if (BHOSharedData* block = m_objects.Block())
    {
        StoreHandshake(*block, HandshakeWord::Result, kResultPending);
        StoreHandshake(*block, HandshakeWord::RequestCode, kRequestCancel);
    }
    m_objects.SetEvent(CoreEvent::Complete);
    return 0;
}

std::int32_t CCoreLink::SignalEvent(std::uint32_t code, std::int32_t wait)
{
    Trace("LVBHO_SignalEvent 1:: %d", static_cast<int>(code));
    BHOSharedData* block = m_objects.Block();
    if (!block)
        return 0;

    if (LoadHandshake(*block, HandshakeWord::RequestCode) == kRequestCancel && code == kRequestCancel)
    {
        // A second cancel while one is open: wait for the first to finish and leave the block idle.
        Trace("LVBHO_SignalEvent 2:: %d", static_cast<int>(code));
        if (WaitForCompleteEvent() == 0)
            return 0;
        StoreHandshake(*block, HandshakeWord::Result, kResultPending);
        StoreHandshake(*block, HandshakeWord::RequestCode, kRequestIdle);
        return 1;
    }

    if (code == kRequestCancel)
    {
        // A cancel must pass a request the core is still working on: no wait, no mutex.
        StoreHandshake(*block, HandshakeWord::RequestCode, kRequestCancel);
    }
    else
    {
        Trace("LVBHO_SignalEvent 3:: %d", static_cast<int>(code));
        if (WaitForCompleteEvent() == 0)
            return 0;
        CMutexLock lock(*this);
        StoreHandshake(*block, HandshakeWord::Result, kResultPending);
        StoreHandshake(*block, HandshakeWord::RequestCode, code);
    }
    Trace("LVBHO_SignalEvent 3.1 reset complete:: %d", static_cast<int>(code));

    CoreEvent requestEvent = CoreEvent::RequestA;
    if (RequestEventFor(code, requestEvent))
    {
        m_objects.ResetEvent(CoreEvent::Complete);
        m_objects.SetEvent(requestEvent);
    }

    if (wait == 0)
        return 1;
    Trace("LVBHO_SignalEvent 3:: %d", static_cast<int>(code));
    return WaitForCompleteEvent() == 1 ? 1 : 0;
}

std::int32_t CCoreLink::GetSharedResult()
{
    BHOSharedData* block = m_objects.Block();
    if (!block)
        return static_cast<std::int32_t>(kResultPending);
    CMutexLock lock(*this);
    return static_cast<std::int32_t>(LoadHandshake(*block, HandshakeWord::Result));
}

std::uint32_t CCoreLink::GetSharedFlags()
{
    BHOSharedData* block = m_objects.Block();
    if (!block)
        return 0;
    CMutexLock lock(*this);
    return block->flags;
}

void CCoreLink::ResetSharedData()
{
    BHOSharedData* block = m_objects.Block();
    if (!block)
        return;
    CMutexLock lock(*this);
    ResetBlockFields(*block);
}

std::int32_t CCoreLink::ValidateUser()
{
    m_objects.ResetEvent(CoreEvent::ValidationDenied);
    m_objects.ResetEvent(CoreEvent::ValidationAcknowledge);
    m_objects.ResetEvent(CoreEvent::ValidationGranted);

    const WindowId coreWindow = m_objects.FindCoreWindow();
    if (coreWindow == 0)
        return 0;
    if (const std::uint32_t processId = m_objects.FindProcessByName(kCoreProcessName))
        m_objects.AllowSetForeground(processId);
    m_objects.PostRegistered(coreWindow, kMsgDoValidateUser, 1, 0);

    if (!m_objects.Wait(CoreEvent::ValidationAcknowledge, kValidationAckTimeoutMs))
        return 0;
    // A failed wait counts as granted, as the core's own clients have always treated it.
    return m_objects.WaitEither(CoreEvent::ValidationDenied, CoreEvent::ValidationGranted) == WaitOutcome::First ? 0
                                                                                                                 : 1;
}

void CCoreLink::PostExtensionInstalled()
{
    const std::uint32_t processId = m_objects.FindProcessByName(kCoreProcessName);
    if (processId == 0)
        return;
    m_objects.AllowSetForeground(processId);
    if (const WindowId coreWindow = m_objects.FindCoreWindow())
        m_objects.PostRegistered(coreWindow, kMsgExtensionInstalled, 0, 0);
}
