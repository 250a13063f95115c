#pragma once
// What the prompt's logic needs from the window system: the two dialogs of the dialog library, the desktop (the
// foreground window, class names, parents), and the way back to the core. Portable: the Windows side binds them to
// LVUI.dll and user32, tests to fakes.

#include "corelink/ICoreObjects.h"
#include "corelink/SharedData.h"

#include <cstdint>
#include <string>

struct PromptRect
{
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;
    std::int32_t Height() const { return bottom - top; }
};

// One dialog of the library, as the prompt window uses it.
class IPromptDialog
{
public:
    virtual ~IPromptDialog() = default;
    virtual bool Exists() = 0;    // its window exists
    virtual bool IsVisible() = 0; // its window is visible
    // ShowBHOPromptUI with the prompt window as owner and the child style: non-zero on success.
    virtual bool Show(WindowId parent, const std::string& page, std::int32_t x, std::int32_t y, std::int32_t w,
                      std::int32_t h, const std::string& text) = 0;
    virtual void Hide() = 0;   // ShowWindow(0)
    virtual void OnHide() = 0; // the library's own step when the host hides a dialog
    virtual WindowId Parent() = 0;
    virtual void SetParent(WindowId parent) = 0;
    virtual void SetZoom(std::int32_t zoom) = 0;
    virtual PromptRect WindowRect() = 0;
    virtual void Focus() = 0;
};

class IPromptPageDialog : public IPromptDialog
{
public:
    virtual std::string ActivePage() = 0;
    virtual std::string DialogUrl() = 0;
    // SetMessage, then "MSG_UPDATE_MSG" posted to the dialog.
    virtual void ShowMessage(std::uint32_t code, const std::string& text) = 0;
    virtual std::int32_t CurrentHeight() = 0;
    virtual std::int32_t OriginalWidth() = 0;
    // The text typed on page "2"; empties it.
    virtual std::string TakeTypedText() = 0;
};

class IPinDialog : public IPromptDialog
{
public:
    virtual void UpdateBadPin() = 0;
    // The PIN typed; empties it.
    virtual std::string TakePin() = 0;
};

class IPromptDesktop
{
public:
    virtual ~IPromptDesktop() = default;
    virtual WindowId Foreground() = 0;
    // GetClassNameA with a 260-byte buffer; "" for a window that is gone.
    virtual std::string ClassName(WindowId window) = 0;
    virtual WindowId Parent(WindowId window) = 0;
    virtual bool IsIconic(WindowId window) = 0;
    // The window-process query: the image path of the window's process and the window's class; false when the
    // process cannot be opened.
    virtual bool WindowProcess(WindowId window, std::string& imagePath, std::string& className) = 0;
    virtual void Sleep(std::uint32_t ms) = 0;
    // WM_COPYDATA to `target` (dwData 1, cbData 788) with `from` as wParam, sent synchronously but bounded (a hung
    // core is given up on).
    virtual void SendCopyData(WindowId target, WindowId from, const BHOCopyData& record) = 0;
};
