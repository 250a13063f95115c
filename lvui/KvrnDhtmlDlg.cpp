#include "include/LvUi.h"

#include "DialogSurface.h"

CKvrnDhtmlDlg::CKvrnDhtmlDlg() = default;

// The derived dialog's surface has destroyed the window by now.
CKvrnDhtmlDlg::~CKvrnDhtmlDlg() = default;

HWND CKvrnDhtmlDlg::GetSafeHwnd() const
{
    return m_hWnd;
}

BOOL CKvrnDhtmlDlg::IsWindow() const
{
    return m_hWnd && ::IsWindow(m_hWnd);
}

BOOL CKvrnDhtmlDlg::IsWindowVisible() const
{
    return m_hWnd && ::IsWindowVisible(m_hWnd);
}

BOOL CKvrnDhtmlDlg::ShowWindow(int show)
{
    return m_hWnd ? ::ShowWindow(m_hWnd, show) : FALSE;
}

BOOL CKvrnDhtmlDlg::GetWindowRect(RECT* rect) const
{
    return (m_hWnd && rect) ? ::GetWindowRect(m_hWnd, rect) : FALSE;
}

HWND CKvrnDhtmlDlg::GetParent() const
{
    return m_hWnd ? ::GetParent(m_hWnd) : nullptr;
}

HWND CKvrnDhtmlDlg::SetParent(HWND parent)
{
    return m_hWnd ? ::SetParent(m_hWnd, parent) : nullptr;
}

HWND CKvrnDhtmlDlg::SetFocus()
{
    return m_hWnd ? ::SetFocus(m_hWnd) : nullptr;
}

void CKvrnDhtmlDlg::OnHidePrompt()
{
    if (m_hWnd)
        ::SendMessageA(m_hWnd, lvui::CDialogSurface::kHidePromptMessage, 0, 0);
}

BOOL CKvrnDhtmlDlg::DestroyWindow()
{
    // WM_NCDESTROY clears m_hWnd through the surface.
    return m_hWnd ? ::DestroyWindow(m_hWnd) : FALSE;
}
