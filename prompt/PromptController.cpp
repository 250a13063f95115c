#include "prompt/PromptController.h"

#include "autofill/DomainExtractor.h"
#include "corelink/AsyncMessages.h"
#include "messaging/AsciiText.h"
#include "messaging/JsonCppWrapper.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace
{
constexpr const char* kFirefoxWindowClass = "MozillaWindowClass";
constexpr const char* kFirefoxImage = "firefox.exe";
constexpr const char* kCoreImage = "LvEngine.exe";
constexpr std::uint32_t kMinimiseSettleMs = 150;

// |a - b| without overflow, whatever the extension sends.
std::int64_t Distance(std::int32_t a, std::int32_t b)
{
    return std::llabs(static_cast<std::int64_t>(a) - b);
}

bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}
} // namespace

std::int32_t MulDiv32(std::int32_t a, std::int32_t b, std::int32_t c)
{
    if (c == 0)
        return -1;
    const std::int64_t product = static_cast<std::int64_t>(a) * b;
    std::int64_t quotient = product / c;
    const std::int64_t remainder = product % c;
    if (2 * std::llabs(remainder) >= std::llabs(static_cast<std::int64_t>(c)))
        quotient += ((product < 0) != (c < 0)) ? -1 : 1;
    if (quotient > std::numeric_limits<std::int32_t>::max() || quotient < std::numeric_limits<std::int32_t>::min())
        return -1;
    return static_cast<std::int32_t>(quotient);
}

std::int32_t PromptZoomFor(std::int32_t dpi, std::int32_t width)
{
    const std::int32_t scale = MulDiv32(100, dpi, 96);
    const std::int32_t base = (width / 96 - 4) * 10;
    return base + MulDiv32(10, scale, base);
}

CPromptController::CPromptController(const Services& services, WindowId ownWindow, std::int32_t zoom,
                                     std::int32_t desktopWidth)
    : m_handler(services.handler), m_writer(services.writer), m_json(services.json), m_prompt(services.prompt),
      m_pin(services.pin), m_desktop(services.desktop), m_ownWindow(ownWindow), m_zoom(zoom),
      m_desktopWidth(desktopWidth)
{
}

void CPromptController::SetPromptRect(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h)
{
    m_x = x;
    m_y = y;
    m_w = w;
    m_h = h;
}

std::intptr_t CPromptController::CreateDialogs()
{
    LVBHO_CHECK_THREAD(m_uiThread);
    for (IPromptDialog* dialog : {static_cast<IPromptDialog*>(&m_prompt), static_cast<IPromptDialog*>(&m_pin)})
    {
        if (!dialog->Exists() && dialog->Show(m_ownWindow, "1", m_x, m_y, 0, 0, ""))
            dialog->Hide();
    }
    return 1;
}

void CPromptController::HidePrompt(bool notify)
{
    LVBHO_CHECK_THREAD(m_uiThread);
    bool missing = false;
    for (IPromptDialog* dialog : {static_cast<IPromptDialog*>(&m_prompt), static_cast<IPromptDialog*>(&m_pin)})
    {
        if (!dialog->Exists())
        {
            missing = true;
            continue;
        }
        dialog->Hide();
        dialog->OnHide();
        // Back under the prompt window, so that it no longer sits inside the browser's window.
        dialog->SetParent(m_ownWindow);
    }
    if (notify && missing)
        CreateDialogs();
}

WindowId CPromptController::FindBrowserWindow(const std::string& className)
{
    std::string wanted = className;
    if (wanted.empty())
    {
        if (!m_handler.IsFirefox())
            return m_desktop.Foreground();
        wanted = kFirefoxWindowClass;
    }
    const WindowId foreground = m_desktop.Foreground();
    return foreground != 0 && m_desktop.ClassName(foreground) == wanted ? foreground : 0;
}

std::intptr_t CPromptController::ShowPrompt()
{
    LVBHO_CHECK_THREAD(m_uiThread);
    const WindowId browser = FindBrowserWindow("");
    if (browser == 0)
    {
        m_handler.CancelIfBusy(0);
        return 1;
    }
    IJsonMessage& request = m_handler.Request();
    const int pageNumber = request.GetInt("pagenum");
    m_promptId = request.GetInt("id");
    std::string domain;
    request.GetString(domain, "domain");
    std::string url;
    request.GetString(url, "url");
    if (domain.empty())
        static_cast<void>(ExtractDomain(url, domain));
    domain = ToUpperAscii(domain);
    const std::string page = std::to_string(pageNumber);

    m_prompt.SetZoom(m_zoom);
    m_prompt.Show(browser, page, m_x, m_y, m_w, m_h, domain);
    if (pageNumber == 1 || pageNumber == 4 || pageNumber == 5)
    {
        m_json.SetString("tabid", m_tabId.c_str());
        BuildValidateAsyncMsg(m_json, "", -1, "", -1);
        SetSizeMembers(1);
        WriteReply();
    }
    return 1;
}

void CPromptController::SetSizeMembers(std::int32_t promptHeight)
{
    const std::int32_t original = m_prompt.OriginalWidth();
    // The larger as unsigned numbers, as the width always has been compared.
    const auto wider = std::max(static_cast<std::uint32_t>(original), static_cast<std::uint32_t>(m_desktopWidth));
    m_json.SetInt("promptheight", promptHeight);
    m_json.SetInt("orgpromptwidth", original);
    m_json.SetInt("promptwidth", static_cast<int>(wider));
}

std::intptr_t CPromptController::SetPromptPos()
{
    LVBHO_CHECK_THREAD(m_uiThread);
    IJsonMessage& request = m_handler.Request();
    const std::int32_t x = request.GetInt("x");
    const std::int32_t y = request.GetInt("y");
    const std::int32_t w = request.GetInt("w");
    const std::int32_t h = request.GetInt("h");
    // The "zoom" the extension sends is not used: the window's own zoom stands in for it, so the zoom never
    // differs from the stored one and stays as it is.

    const std::string page = m_prompt.ActivePage();
    const std::string url = m_prompt.DialogUrl();
    const std::int32_t promptHeight = m_prompt.WindowRect().Height();
    const bool unchanged = x == m_x && y == m_y && Distance(w, m_w) < 50 && Distance(h, m_h) < 50;
    for (IPromptDialog* dialog : {static_cast<IPromptDialog*>(&m_prompt), static_cast<IPromptDialog*>(&m_pin)})
    {
        if (unchanged || !dialog->Exists() || !dialog->IsVisible())
            continue;
        dialog->SetZoom(m_zoom);
        if (dialog == &m_prompt)
            dialog->Show(dialog->Parent(), page, x, y, w, h, url);
        else
            dialog->Show(dialog->Parent(), page, x, y + promptHeight, w, h - promptHeight, url);
    }
    SetPromptRect(x, y, w, h);
    return 1;
}

std::intptr_t CPromptController::SetTabInfo()
{
    LVBHO_CHECK_THREAD(m_uiThread);
    m_tabId.clear();
    m_handler.Request().GetString(m_tabId, "tabid");
    return 1;
}

std::intptr_t CPromptController::ProcessPromptUi(Sender sender, std::int32_t action)
{
    LVBHO_CHECK_THREAD(m_uiThread);
    if (sender == Sender::PromptDialog)
    {
        const std::string page = m_prompt.ActivePage();
        if (page == "1" || page == "5")
        {
            HidePrompt(false);
            m_json.SetString("command", "ShowPrompt");
            m_json.SetInt("id", m_promptId);
            m_promptId = -1;
            int save = 0;
            int alwaysRemember = 0;
            if (action == 1)
                save = 1;
            else if (action == 11)
                save = alwaysRemember = 1;
            else if (action == 3)
            {
                const std::string url = ToUpperAscii(TrimWhiteSpace(m_prompt.DialogUrl()));
                if (!url.empty())
                    m_handler.AddNeverRememberUrl(url);
            }
            m_json.SetInt("save", save);
            m_json.SetInt("alwaysremember", alwaysRemember);
            WriteReply();
        }
        else if (page == "2")
            SendAnswerToCore(kDeviceVerifyCodeText, m_prompt.TakeTypedText());
        else if (page == "4")
        {
            HidePrompt(false);
            m_json.SetString("command", "ShowPrompt");
            m_json.SetInt("id", m_promptId);
            m_promptId = -1;
            int save = 0;
            if (action == 1)
            {
                // The extension learns first that a save is under way, then the user is asked to validate.
                JsonCPPWrapper notice;
                notice.SetString("tabid", m_tabId.c_str());
                BuildValidateAsyncMsg(notice, "", 6, "", -1);
                std::string text;
                m_writer.WriteResponse(notice.ToString(text));
                save = m_handler.ValidateUser();
            }
            else if (action == 3)
                m_handler.SetDoNotShowDiscovery();
            m_json.SetInt("save", save);
            m_json.SetInt("alwaysremember", 0);
            WriteReply();
        }
    }
    else if (sender == Sender::PinDialog)
    {
        const std::string pin = m_pin.TakePin();
        if (action == 1)
            SendAnswerToCore(kDeviceVerifyPinText, pin);
        else
            m_handler.CancelIfBusy(0);
    }
    return 1;
}

void CPromptController::SendAnswerToCore(const char* deviceId, const std::string& text)
{
    BHOCopyData record{};
    SetField(record.strDevId, deviceId);
    SetField(record.text2, text);
    m_desktop.SendCopyData(static_cast<WindowId>(m_handler.CoreWindow()), m_ownWindow, record);
}

bool CPromptController::ShowVerificationResult(const BHOCopyData& record)
{
    LVBHO_CHECK_THREAD(m_uiThread);
    const auto status = static_cast<std::int32_t>(record.status);
    const std::string message = FieldText(record.message);
    if (status == -1)
    {
        const WindowId browser = FindBrowserWindow("");
        m_prompt.SetZoom(m_zoom);
        m_pin.SetZoom(m_zoom);
        if (browser == 0)
        {
            m_handler.CancelIfBusy(0);
            return false;
        }
        if (record.devId == kDeviceVerifyCode)
        {
            if (m_prompt.Show(browser, "2", m_x, m_y, m_w, m_h, ""))
                m_prompt.ShowMessage(record.devId, "");
        }
        else if (record.devId == kDeviceVerifyWaiting || record.devId == kDeviceVerifyPin)
        {
            if (m_prompt.Show(browser, "3", m_x, m_y, m_w, m_h, ""))
                m_prompt.ShowMessage(record.devId, message);
            if (record.devId == kDeviceVerifyPin)
            {
                const std::int32_t promptHeight = m_prompt.WindowRect().Height();
                if (m_pin.Show(browser, "3", m_x, m_y + promptHeight, m_w, m_h - promptHeight, ""))
                    m_pin.Focus();
            }
        }
        m_json.SetString("tabid", m_tabId.c_str());
        SetSizeMembers(m_prompt.CurrentHeight());
        return true;
    }
    if (status == 0 || status == 6)
    {
        HidePrompt(false);
        m_json.SetString("tabid", m_tabId.c_str());
        return true;
    }
    m_prompt.ShowMessage(record.devId, message);
    if (record.devId == kDeviceVerifyPin)
        m_pin.UpdateBadPin();
    return false;
}

void CPromptController::OnWinEvent(std::uint32_t event, WindowId window)
{
    LVBHO_CHECK_THREAD(m_uiThread);
    if (!m_handler.IsFirefox())
        return;
    if (event == kEventDesktopSwitch)
    {
        HidePrompt(true);
        m_handler.CancelIfBusy(0);
    }
    else if (event == kEventObjectFocus)
        FocusCheck(window, kFirefoxImage, kFirefoxWindowClass);
}

void CPromptController::FocusCheck(WindowId window, const std::string& browserImage, const std::string& browserClass)
{
    m_json.SetString("command", "focuschangeevent");
    const std::string coreImage = ToLowerAscii(kCoreImage);
    std::string imagePath;
    std::string className;
    if (!m_desktop.WindowProcess(window, imagePath, className))
    {
        m_json.Clear();
        return;
    }
    const std::string image = ToLowerAscii(browserImage);
    const std::string wantedClass = ToLowerAscii(browserClass);
    imagePath = ToLowerAscii(imagePath);
    className = ToLowerAscii(className);
    if (Contains(imagePath, coreImage))
    {
        // Focus moving to the password manager itself is no change for the extension.
        m_json.Clear();
        return;
    }
    if (Contains(imagePath, image))
    {
        int focused = 0;
        WindowId browser = 0;
        if (className == wantedClass)
        {
            focused = 1;
            browser = window;
        }
        else
        {
            for (WindowId ancestor = m_desktop.Parent(window); ancestor != 0; ancestor = m_desktop.Parent(ancestor))
            {
                if (ToLowerAscii(m_desktop.ClassName(ancestor)) == wantedClass)
                {
                    focused = 1;
                    browser = ancestor;
                    break;
                }
            }
        }
        m_lastBrowserWindow = browser;
        m_desktop.Sleep(kMinimiseSettleMs); // a minimise in progress settles first
        const int minimize = m_desktop.IsIconic(m_lastBrowserWindow) ? 1 : 0;
        m_json.SetInt("focused", focused);
        m_json.SetInt("minimize", minimize);
        WriteReply();
        return;
    }
    if (m_lastBrowserWindow == 0)
    {
        m_json.Clear();
        return;
    }
    const int minimize = m_desktop.IsIconic(m_lastBrowserWindow) ? 1 : 0;
    m_lastBrowserWindow = 0;
    m_json.SetInt("focused", 0);
    m_json.SetInt("minimize", minimize);
    WriteReply();
}

void CPromptController::WriteReply()
{
    std::string text;
    m_writer.WriteResponse(m_json.ToString(text));
    m_json.Clear();
}
