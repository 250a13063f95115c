#include "include/LvUi.h"

#include "Catalogue.h"
#include "DialogRegistry.h"
#include "DialogSurface.h"
#include "Theme.h"

int ShowBHOPromptUI(CLVUIDhtmlDlg* dialog, HWND parent, HWND owner, DWORD style, const char* page, int x, int y, int w,
                    int h, const char* text)
{
    if (!dialog || !parent || !page)
        return 0;
    try
    {
        lvui::CDialogSurface* surface = lvui::CDialogRegistry::SurfaceOf(dialog);
        return surface ? surface->Show(parent, owner, style, page, x, y, w, h, text) : 0;
    }
    catch (...)
    {
        // The host is not ours to unwind into; a dialog that cannot be shown is a failed call.
        return 0;
    }
}

BOOL LvUiPreTranslateMessage(MSG* msg)
{
    // Only the keyboard: every other message keeps its way through the host's own dispatch.
    if (!msg || !msg->hwnd || msg->message < WM_KEYFIRST || msg->message > WM_KEYLAST)
        return FALSE;
    // The innermost dialog around the window the key is for; a dialog may itself sit in a dialog's window.
    for (HWND window = msg->hwnd; window;)
    {
        if (lvui::CDialogRegistry::IsDialogWindow(window))
            return ::IsDialogMessageA(window, msg);
        if (!(::GetWindowLongPtrA(window, GWL_STYLE) & WS_CHILD))
            break;
        window = ::GetParent(window);
    }
    return FALSE;
}

void LvUiSetLanguage(LANGID language)
{
    lvui::SetActiveLanguage(language);
}

void LvUiSetHighContrast(int mode)
{
    lvui::ForceHighContrast(mode);
}
