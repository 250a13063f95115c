#include "corelink/BHOThreadWin.h"

#include "commands/IHandlerPlatform.h"
#include "corelink/MessagePumpWin.h"
#include "corelink/SecurityWin.h"
#include "prompt/BrowserTrackerWin.h"
#include "prompt/PromptWndWin.h"

#include "lvui/include/LvUi.h"

#include <imm.h>
#include <objbase.h>

#include <utility>

CBHOThread::CBHOThread(const CDebugLog& log, HandlerFactory makeHandler)
    : m_log(log), m_makeHandler(std::move(makeHandler))
{
    m_hReadyEvent.Attach(::CreateEventA(ProcessSecurityAttributes(), TRUE, FALSE, nullptr));
}

CBHOThread::~CBHOThread() = default;

bool CBHOThread::Start(IJsonMessage& request, CResponseWriter& writer)
{
    if (!m_hReadyEvent.IsValid() || !CreateSuspended())
        return false;
    // Resume only after the request and the writer are set: InitInstance uses both.
    m_pRequest = &request;
    m_pWriter = &writer;
    Resume();
    // Waiting for the ready event also waits for the thread's queue, which thread messages need.
    const HANDLE waitFor[2] = {m_hReadyEvent.Get(), Handle()};
    for (;;)
    {
        const DWORD outcome = ::MsgWaitForMultipleObjectsEx(2, waitFor, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        if (outcome == WAIT_OBJECT_0)
            return m_pHandler != nullptr;
        if (outcome != WAIT_OBJECT_0 + 2)
            return false; // the thread ended before it was ready, or the wait failed
        CMessagePumpWin pump(m_hReadyEvent.Get());
        while (pump.PeekAny())
            pump.FetchAndDispatch();
    }
}

void CBHOThread::Stop()
{
    if (!Handle())
        return;
    // The thread uses this object, the handler and the writer to its last instruction: never return before it
    // has ended.
    if (!PostQuit() || WaitPumpingInfiniteWin(Handle()) != 1)
        ::WaitForSingleObject(Handle(), INFINITE);
}

bool CBHOThread::InitInstance()
{
    m_comInitialised = SUCCEEDED(::CoInitialize(nullptr));
    ::SetThreadLocale(LOCALE_SYSTEM_DEFAULT);
    // Makes the thread's message queue exist before anyone posts to it.
    MSG message;
    ::PeekMessageA(&message, nullptr, WM_USER, WM_USER, PM_NOREMOVE);

    m_pPlatform = std::make_unique<CHandlerPlatformWin>(ThreadId(), *m_pWriter, m_log);
    m_pHandler = m_makeHandler(*m_pPlatform, *m_pRequest);
    // The window comes last, once the handler it forwards to exists.
    if (!m_pPlatform->ReplaceWindow(std::make_unique<CBHOWnd>(*m_pWriter), m_pHandler.get()))
    {
        const DWORD error = ::GetLastError();
        if (m_log.Enabled(3))
            m_log.Write("CBHOThread::InitInstance - message window not created %lu", static_cast<unsigned long>(error));
    }

    ::SetEvent(m_hReadyEvent.Get());
    return true;
}

int CBHOThread::ExitInstance()
{
    // Windows go before the handler they forward to, and both before COM; the focus hook forgets this thread.
    ForgetFocusHookOwner(this);
    if (m_pPlatform)
        m_pPlatform->DestroyWindow();
    m_pHandler.reset();
    m_pPlatform.reset();
    if (m_comInitialised)
        ::CoUninitialize();
    m_comInitialised = false;
    return 0;
}

bool CBHOThread::PreTranslateMessage(MSG& message)
{
    // Keys that an input method editor has taken are seen as their real virtual keys by the prompt window.
    if (message.message == WM_KEYDOWN && message.wParam == VK_PROCESSKEY)
        message.wParam = ::ImmGetVirtualKey(message.hwnd);
    // The dialogs' keyboard: Tab between their controls, Enter and Esc. Only once a prompt window was made: LVUI.dll
    // is loaded on its first use, and a session without a prompt (Chrome's) never needs it.
    return m_promptWindowMade && LvUiPreTranslateMessage(&message) != FALSE;
}

bool CBHOThread::OnThreadMessage(const MSG& message)
{
    if (message.message != kMsgCreatePromptWnd)
        return false;
    OnCreatePromptWnd(message.wParam, message.lParam);
    return true;
}

void CBHOThread::OnCreatePromptWnd(WPARAM, LPARAM lParam)
{
    // Always, whatever happens here: the main thread waits for this event without a time-out.
    struct SetOnExit
    {
        HANDLE event;
        ~SetOnExit() { ::SetEvent(event); }
    } done{reinterpret_cast<HANDLE>(lParam)};

    if (!m_pHandler || !m_pPlatform)
        return;
    m_promptWindowMade = true;
    // A fresh prompt window takes the place of the current window; the core answers to whichever is current.
    if (!m_pPlatform->ReplaceWindow(std::make_unique<CBHOPromptWnd>(*m_pWriter, this), m_pHandler.get()))
    {
        const DWORD error = ::GetLastError();
        if (m_log.Enabled(3))
            m_log.Write("CBHOThread::OnCreatePromptWnd - window not created %lu", static_cast<unsigned long>(error));
        // The core must still reach the host: a plain message window takes the place.
        static_cast<void>(m_pPlatform->ReplaceWindow(std::make_unique<CBHOWnd>(*m_pWriter), m_pHandler.get()));
    }
}
