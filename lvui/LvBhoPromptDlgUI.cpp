#include "include/LvUi.h"

#include "DialogSurface.h"
#include "Theme.h"

struct CLvBhoPromptDlgUI::Impl
{
    Impl(CLVUIDhtmlDlg& dialog, HWND& handle) : surface(dialog, handle, LvUiPromptDialog) {}
    lvui::CDialogSurface surface;
};

// `parent` is the framework's parent window, which these dialogs never use: ShowBHOPromptUI names the parent.
CLvBhoPromptDlgUI::CLvBhoPromptDlgUI(void* /*parent*/) : m_impl(new Impl(*this, m_hWnd)) {}

CLvBhoPromptDlgUI::~CLvBhoPromptDlgUI()
{
    delete m_impl;
}

LvUiDialogKind CLvBhoPromptDlgUI::Kind() const
{
    return LvUiPromptDialog;
}

const char* CLvBhoPromptDlgUI::GetActivePage() const
{
    return m_impl->surface.ActivePage();
}

const char* CLvBhoPromptDlgUI::GetDlgURL() const
{
    return m_impl->surface.Text();
}

void CLvBhoPromptDlgUI::SetMessage(DWORD code, const char* text)
{
    m_impl->surface.SetMessage(code, text);
}

int CLvBhoPromptDlgUI::GetCurrentHeight() const
{
    return m_impl->surface.CurrentHeight();
}

int CLvBhoPromptDlgUI::GetOriginalWidth() const
{
    return lvui::metric::kWidth;
}

int CLvBhoPromptDlgUI::TakeTypedText(char* buffer, int size)
{
    return m_impl->surface.TakeFieldText(buffer, size);
}
