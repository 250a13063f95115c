#include "corelink/MessagePumpWin.h"

std::uint32_t CMessagePumpWin::WaitForObjectOrInput(std::uint32_t timeoutMs)
{
    return ::MsgWaitForMultipleObjectsEx(1, &m_object, timeoutMs, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
}

bool CMessagePumpWin::PeekAny()
{
    MSG message;
    return ::PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE) != FALSE;
}

void CMessagePumpWin::FetchAndDispatch()
{
    MSG message;
    if (!::PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE))
        return;
    // A window of a wide class gets its text messages the wide way.
    const bool unicode = ::IsWindowUnicode(message.hwnd) != FALSE;
    const BOOL fetched = unicode ? ::GetMessageW(&message, nullptr, 0, 0) : ::GetMessageA(&message, nullptr, 0, 0);
    // WM_QUIT (0) and errors (-1) are consumed, not dispatched and not re-posted.
    if (fetched <= 0)
        return;
    ::TranslateMessage(&message);
    if (unicode)
        ::DispatchMessageW(&message);
    else
        ::DispatchMessageA(&message);
}

bool CMessagePumpWin::IsSignalled()
{
    return ::WaitForSingleObject(m_object, 0) == WAIT_OBJECT_0;
}

std::int32_t WaitPumpingWin(HANDLE object, std::uint32_t timeoutMs, const CDebugLog& log)
{
    CMessagePumpWin pump(object);
    return LVBHOWaitWithMessageLoop(pump, log, timeoutMs);
}

std::int32_t WaitPumpingInfiniteWin(HANDLE object)
{
    CMessagePumpWin pump(object);
    return WaitWithMessageLoopInfinite(pump);
}
