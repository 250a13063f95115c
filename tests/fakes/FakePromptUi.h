#pragma once
// The prompt's dialogs and desktop as recorded calls: each dialog keeps a window that exists or not, a visible flag,
// its parent and zoom, and lists every Show; the desktop has a settable foreground window and window tree.

#include "prompt/IPromptUi.h"

#include <map>
#include <string>
#include <vector>

struct ShowCall
{
    WindowId parent;
    std::string page;
    std::int32_t x, y, w, h;
    std::string text;
    std::int32_t zoom;
};

template <typename Base>
class CFakeDialogBase : public Base
{
public:
    bool Exists() override { return m_exists; }
    bool IsVisible() override { return m_exists && m_visible; }
    bool Show(WindowId parent, const std::string& page, std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h,
              const std::string& text) override
    {
        m_shows.push_back({parent, page, x, y, w, h, text, m_zoom});
        if (!m_showSucceeds)
            return false;
        m_exists = true;
        m_parent = parent;
        m_page = page;
        m_text = text;
        m_visible = !(w == 0 && h == 0);
        m_rect = {x, y, x + (w ? w : 360), y + m_height};
        return true;
    }
    void Hide() override
    {
        m_visible = false;
        m_calls.push_back("Hide");
    }
    void OnHide() override { m_calls.push_back("OnHide"); }
    WindowId Parent() override { return m_parent; }
    void SetParent(WindowId parent) override
    {
        m_parent = parent;
        m_calls.push_back("SetParent " + std::to_string(parent));
    }
    void SetZoom(std::int32_t zoom) override { m_zoom = zoom; }
    PromptRect WindowRect() override { return m_rect; }
    void Focus() override { m_calls.push_back("Focus"); }

    bool m_exists = false;
    bool m_visible = false;
    bool m_showSucceeds = true;
    WindowId m_parent = 0;
    std::int32_t m_zoom = 100;
    std::int32_t m_height = 180;
    std::string m_page;
    std::string m_text;
    PromptRect m_rect;
    std::vector<ShowCall> m_shows;
    std::vector<std::string> m_calls;
};

class CFakePromptDialog : public CFakeDialogBase<IPromptPageDialog>
{
public:
    std::string ActivePage() override { return m_page; }
    std::string DialogUrl() override { return m_text; }
    void ShowMessage(std::uint32_t code, const std::string& text) override
    {
        m_messages.push_back(std::to_string(code) + " " + text);
    }
    std::int32_t CurrentHeight() override { return m_rect.Height(); }
    std::int32_t OriginalWidth() override { return m_originalWidth; }
    std::string TakeTypedText() override
    {
        std::string text;
        text.swap(m_typed);
        return text;
    }

    std::int32_t m_originalWidth = 360;
    std::string m_typed;
    std::vector<std::string> m_messages;
};

class CFakePinDialog : public CFakeDialogBase<IPinDialog>
{
public:
    void UpdateBadPin() override { m_calls.push_back("UpdateBadPin"); }
    std::string TakePin() override
    {
        std::string pin;
        pin.swap(m_pin);
        return pin;
    }

    std::string m_pin;
};

class CFakePromptDesktop : public IPromptDesktop
{
public:
    struct Window
    {
        std::string className;
        std::string imagePath;
        WindowId parent = 0;
        bool iconic = false;
    };
    struct CopyDataCall
    {
        WindowId target;
        WindowId from;
        BHOCopyData record;
    };

    WindowId Foreground() override { return m_foreground; }
    std::string ClassName(WindowId window) override
    {
        const auto found = m_windows.find(window);
        return found == m_windows.end() ? std::string() : found->second.className;
    }
    WindowId Parent(WindowId window) override
    {
        const auto found = m_windows.find(window);
        return found == m_windows.end() ? 0 : found->second.parent;
    }
    bool IsIconic(WindowId window) override
    {
        const auto found = m_windows.find(window);
        return found != m_windows.end() && found->second.iconic;
    }
    bool WindowProcess(WindowId window, std::string& imagePath, std::string& className) override
    {
        const auto found = m_windows.find(window);
        if (found == m_windows.end())
            return false;
        imagePath = found->second.imagePath;
        className = found->second.className;
        return true;
    }
    void Sleep(std::uint32_t ms) override { m_sleeps.push_back(ms); }
    void SendCopyData(WindowId target, WindowId from, const BHOCopyData& record) override
    {
        m_copyData.push_back({target, from, record});
    }

    WindowId m_foreground = 0;
    std::map<WindowId, Window> m_windows;
    std::vector<std::uint32_t> m_sleeps;
    std::vector<CopyDataCall> m_copyData;
};
