#include "corelink/CoreObjectsWin.h"

#include "corelink/MessagePumpWin.h"
#include "corelink/SecurityWin.h"

int CCoreObjectsWin::InitSharedMemory(ICoreLink& link)
{
    CloseSharedMemory();
    SECURITY_ATTRIBUTES attributes{};
    SECURITY_DESCRIPTOR descriptor{};
    if (!InitNullDaclAttributes(attributes, descriptor))
        return 0;

    m_mapping.Attach(::CreateFileMappingA(INVALID_HANDLE_VALUE, &attributes, PAGE_READWRITE, 0, sizeof(BHOSharedData),
                                          kSharedBlockName));
    if (!m_mapping.IsValid())
        return 0;
    m_createdMapping = ::GetLastError() != ERROR_ALREADY_EXISTS;

    m_view.Attach(::MapViewOfFile(m_mapping.Get(), FILE_MAP_ALL_ACCESS, 0, 0, 0));
    if (!m_view.IsValid())
    {
        CloseSharedMemory();
        return 0;
    }

    // Default security: an event that exists already is simply opened.
    for (const CoreEventName& named : kCoreEvents)
    {
        CHandle& handle = m_events[static_cast<int>(named.event)];
        handle.Attach(::CreateEventA(nullptr, named.manualReset, named.initiallySet, named.name));
        if (!handle.IsValid())
        {
            CloseSharedMemory();
            return 0;
        }
    }
    // The mutex's result is not checked: without it, the block is used unlocked.
    CreateMutexObject();

    if (m_createdMapping)
    {
        SetLowIntegrityLabel(m_mapping.Get(), SE_KERNEL_OBJECT);
        for (const CHandle& handle : m_events)
            SetLowIntegrityLabel(handle.Get(), SE_KERNEL_OBJECT);
        // Only the process that made the block initialises it; later openers find it as it stands.
        link.ResetSharedData();
    }
    m_wakeUpMessage = ::RegisterWindowMessageA(kMsgCoreWakeUp);
    if (m_log.Enabled(52))
        m_log.Write("InitSharedMemory");
    return 1;
}

int CCoreObjectsWin::CreateMutexObject()
{
    SECURITY_ATTRIBUTES attributes{};
    SECURITY_DESCRIPTOR descriptor{};
    if (!InitNullDaclAttributes(attributes, descriptor))
        return 0;
    m_mutex.Attach(::CreateMutexA(&attributes, FALSE, kBlockMutexName));
    if (!m_mutex.IsValid())
        return 0;
    if (::GetLastError() != ERROR_ALREADY_EXISTS)
        SetLowIntegrityLabel(m_mutex.Get(), SE_KERNEL_OBJECT);
    return 1;
}

void CCoreObjectsWin::CloseSharedMemory() noexcept
{
    m_view.Close();
    m_mapping.Close();
    for (CoreEvent event : {CoreEvent::RequestC, CoreEvent::RequestA, CoreEvent::RequestB, CoreEvent::RequestD,
                            CoreEvent::Complete, CoreEvent::RequestE, CoreEvent::ValidationDenied,
                            CoreEvent::ValidationGranted, CoreEvent::ValidationAcknowledge})
        m_events[static_cast<int>(event)].Close();
    m_mutex.Close();
}

void CCoreObjectsWin::SetEvent(CoreEvent event)
{
    if (HANDLE handle = EventHandle(event))
        ::SetEvent(handle);
}

void CCoreObjectsWin::ResetEvent(CoreEvent event)
{
    if (HANDLE handle = EventHandle(event))
        ::ResetEvent(handle);
}

std::int32_t CCoreObjectsWin::WaitPumping(CoreEvent event, std::uint32_t timeoutMs)
{
    HANDLE handle = EventHandle(event);
    if (!handle)
        return 0;
    return WaitPumpingWin(handle, timeoutMs, m_log);
}

bool CCoreObjectsWin::Wait(CoreEvent event, std::uint32_t timeoutMs)
{
    HANDLE handle = EventHandle(event);
    return handle && ::WaitForSingleObject(handle, timeoutMs) == WAIT_OBJECT_0;
}

WaitOutcome CCoreObjectsWin::WaitEither(CoreEvent first, CoreEvent second)
{
    const HANDLE handles[2] = {EventHandle(first), EventHandle(second)};
    if (!handles[0] || !handles[1])
        return WaitOutcome::Failed;
    switch (::WaitForMultipleObjects(2, handles, FALSE, INFINITE))
    {
    case WAIT_OBJECT_0:
        return WaitOutcome::First;
    case WAIT_OBJECT_0 + 1:
        return WaitOutcome::Second;
    default:
        return WaitOutcome::Failed;
    }
}

void CCoreObjectsWin::LockMutex()
{
    // WAIT_ABANDONED still hands us the mutex: its last owner died holding it.
    if (m_mutex.IsValid())
        ::WaitForSingleObject(m_mutex.Get(), INFINITE);
}

void CCoreObjectsWin::ReleaseMutex()
{
    if (m_mutex.IsValid())
        ::ReleaseMutex(m_mutex.Get());
}

WindowId CCoreObjectsWin::FindCoreWindow()
{
    return reinterpret_cast<WindowId>(::FindWindowA(kCoreWindowClass, kCoreWindowTitle));
}

void CCoreObjectsWin::PostRegistered(WindowId window, const char* messageName, std::uintptr_t wParam,
                                     std::intptr_t lParam)
{
    ::PostMessageA(reinterpret_cast<HWND>(window), ::RegisterWindowMessageA(messageName), wParam, lParam);
}

bool CCoreObjectsWin::IsCoreRunning()
{
    std::lock_guard<std::mutex> lock(m_watchLock);
    return m_coreWatch.IsRunning();
}
