#pragma once
// The window procedure that ties a window to a C++ object: the object passed as CreateWindowEx's last argument is
// stored with the window at WM_NCCREATE, gets every message, and is told at WM_NCDESTROY that its window is gone.
// Header-only, so that LVUI.dll, which stands alone, shares it.
//
// `Owner` declares `friend struct ObjectWindowProc<Owner>;` and has:
//   void AttachWindow(HWND)    at WM_NCCREATE, before the object sees any message
//   bool OnMessage(UINT, WPARAM, LPARAM, LRESULT&)    true when handled and the result set
//   void DetachWindow(HWND)    after WM_NCDESTROY, the window's last message
// `Wide` is true for a window of a Unicode class (RegisterClassW): the messages it does not handle then go to
// DefWindowProcW, so that its texts stay UTF-16.

#include <windows.h>

template <typename Owner, bool Wide = false>
struct ObjectWindowProc
{
    static LRESULT CALLBACK Proc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) noexcept
    {
        if (message == WM_NCCREATE)
        {
            // lpCreateParams sits at the same place in CREATESTRUCTA and CREATESTRUCTW.
            auto* self = static_cast<Owner*>(reinterpret_cast<CREATESTRUCTA*>(lParam)->lpCreateParams);
            if (self)
            {
                ::SetWindowLongPtrA(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
                self->AttachWindow(hwnd);
            }
        }
        auto* self = reinterpret_cast<Owner*>(::GetWindowLongPtrA(hwnd, GWLP_USERDATA));
        LRESULT result = 0;
        bool handled = false;
        if (self)
        {
            try
            {
                handled = self->OnMessage(message, wParam, lParam, result);
            }
            catch (...)
            {
                // Nothing may unwind into the system's dispatch code; the message counts as unhandled.
                handled = false;
            }
        }
        if (!handled)
            result = Wide ? ::DefWindowProcW(hwnd, message, wParam, lParam)
                          : ::DefWindowProcA(hwnd, message, wParam, lParam);
        if (message == WM_NCDESTROY && self)
        {
            ::SetWindowLongPtrA(hwnd, GWLP_USERDATA, 0);
            self->DetachWindow(hwnd);
        }
        return result;
    }
};
