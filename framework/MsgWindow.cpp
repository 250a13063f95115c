#include "framework/MsgWindow.h"

CMsgWindow::~CMsgWindow()
{
    // The derived object is gone by now: the last messages of the window go to the default procedure. Derived
    // classes that want to see them destroy the window in their own destructor.
    if (m_hwnd)
    {
        ::SetWindowLongPtrA(m_hwnd, GWLP_USERDATA, 0);
        ::DestroyWindow(m_hwnd);
        m_hwnd = nullptr;
    }
}

bool CMsgWindow::CreateHidden(const char* className, const char* title)
{
    HINSTANCE instance = ::GetModuleHandleA(nullptr);
    WNDCLASSA windowClass{};
    windowClass.lpfnWndProc = &ObjectWindowProc<CMsgWindow>::Proc;
    windowClass.hInstance = instance;
    windowClass.lpszClassName = className;
    if (!::RegisterClassA(&windowClass) && ::GetLastError() != ERROR_CLASS_ALREADY_EXISTS)
        return false;

    HWND hwnd = ::CreateWindowExA(0, className, title, 0, 0, 0, 0, 0, nullptr, nullptr, instance, this);
    if (!hwnd)
        hwnd = ::CreateWindowExA(0, className, title, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, instance, this);
    return hwnd != nullptr;
}

void CMsgWindow::Destroy() noexcept
{
    // WM_NCDESTROY forgets the handle; a failed call (from another thread) leaves the window and its object paired.
    if (m_hwnd)
        ::DestroyWindow(m_hwnd);
}
