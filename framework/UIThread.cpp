#include "framework/UIThread.h"

#include <process.h>

bool CUIThread::CreateSuspended()
{
    unsigned threadId = 0;
    const auto handle = reinterpret_cast<HANDLE>(
        ::_beginthreadex(nullptr, 0, &CUIThread::ThreadMain, this, CREATE_SUSPENDED, &threadId));
    if (!handle)
        return false;
    m_thread.Attach(handle);
    m_threadId = threadId;
    return true;
}

void CUIThread::Resume() noexcept
{
    if (m_thread.IsValid())
        ::ResumeThread(m_thread.Get());
}

bool CUIThread::PostQuit() noexcept
{
    return ::PostThreadMessageA(m_threadId, WM_QUIT, 0, 0) != FALSE;
}

unsigned __stdcall CUIThread::ThreadMain(void* self) noexcept
{
    return static_cast<unsigned>(static_cast<CUIThread*>(self)->Run());
}

int CUIThread::Run() noexcept
{
    try
    {
        if (InitInstance())
        {
            MSG message;
            while (::GetMessageA(&message, nullptr, 0, 0) > 0)
            {
                if (PreTranslateMessage(message))
                    continue;
                if (message.hwnd == nullptr && OnThreadMessage(message))
                    continue;
                ::TranslateMessage(&message);
                ::DispatchMessageA(&message);
            }
        }
        return ExitInstance();
    }
    catch (...)
    {
        // A thread procedure must not let an exception escape; what InitInstance made is still undone.
    }
    try
    {
        ExitInstance();
    }
    catch (...)
    {
    }
    return 1;
}
