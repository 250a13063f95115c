#include "include/LvUi.h"

#include "DialogSurface.h"

struct CGpaAuthDlgUI::Impl
{
    Impl(CLVUIDhtmlDlg& dialog, HWND& handle) : surface(dialog, handle, LvUiPinDialog) {}
    lvui::CDialogSurface surface;
};

// `parent` is the framework's parent window, which these dialogs never use: ShowBHOPromptUI names the parent.
CGpaAuthDlgUI::CGpaAuthDlgUI(void* /*parent*/) : m_impl(new Impl(*this, m_hWnd)) {}

CGpaAuthDlgUI::~CGpaAuthDlgUI()
{
    delete m_impl;
}

LvUiDialogKind CGpaAuthDlgUI::Kind() const
{
    return LvUiPinDialog;
}

void CGpaAuthDlgUI::UpdateBadPin()
{
    m_impl->surface.SetBadPin();
}

BOOL CGpaAuthDlgUI::IsBadPin() const
{
    return m_impl->surface.IsBadPin();
}

int CGpaAuthDlgUI::TakePin(char* buffer, int size)
{
    return m_impl->surface.TakeFieldText(buffer, size);
}
