#include "DialogSurface.h"

#include "DialogPainter.h"
#include "DialogRegistry.h"
#include "Theme.h"

#include <algorithm>
#include <cstring>
#include <vector>

extern "C" IMAGE_DOS_HEADER __ImageBase; // this module's own base: the window class belongs to LVUI.dll

namespace lvui
{
namespace
{
constexpr const char* kWindowClass = "LvUiDialogWindow";
constexpr UINT_PTR kSpinnerTimer = 1;
constexpr UINT kSpinnerIntervalMs = 110;
constexpr int kFieldLimit = 256;
constexpr int kPinLimit = 64;

enum ControlId : int
{
    kTitleId = 100,
    kDomainId,
    kBodyId,
    kNoteId,
    kProgressId,
    kCodeId,
    kFieldId,
    kStatusId,
    kButtonBase = 200, // plus the action, for buttons that are neither the default nor the cancel one
};

HINSTANCE ModuleInstance()
{
    return reinterpret_cast<HINSTANCE>(&__ImageBase);
}

UINT ProcessPromptMessage()
{
    static const UINT message = ::RegisterWindowMessageA("MSG_WM_PROCESSPROMPTUI");
    return message;
}

UINT UpdateMessage()
{
    static const UINT message = ::RegisterWindowMessageA("MSG_UPDATE_MSG");
    return message;
}

// A secret's bytes are overwritten before the memory goes back to the heap.
void Wipe(std::string& text)
{
    if (!text.empty())
        ::SecureZeroMemory(&text[0], text.size());
    text.clear();
}

int TextHeight(HFONT font, const char* text, int width)
{
    CWindowDc screen(nullptr);
    CSelectObject selectFont(screen.Get(), font);
    RECT rect{0, 0, std::max(1, width), 0};
    ::DrawTextA(screen.Get(), (text && *text) ? text : " ", -1, &rect,
                DT_CALCRECT | DT_WORDBREAK | DT_EXPANDTABS | DT_NOPREFIX);
    return rect.bottom - rect.top;
}

int LineHeight(HFONT font)
{
    CWindowDc screen(nullptr);
    CSelectObject selectFont(screen.Get(), font);
    TEXTMETRICA metrics{};
    ::GetTextMetricsA(screen.Get(), &metrics);
    return metrics.tmHeight;
}

// `text` as it fits in `width`: a long domain loses its start, never its end, which names the site that gets the
// login ("...example.com.attacker.test", never "accounts.example.com...").
std::string FitKeepingTheEnd(HFONT font, const std::string& text, int width)
{
    CWindowDc screen(nullptr);
    CSelectObject selectFont(screen.Get(), font);
    auto fits = [&](const std::string& candidate) {
        SIZE size{};
        ::GetTextExtentPoint32A(screen.Get(), candidate.c_str(), static_cast<int>(candidate.size()), &size);
        return size.cx <= width;
    };
    if (fits(text))
        return text;
    for (size_t cut = 1; cut < text.size(); ++cut)
    {
        std::string candidate = "..." + text.substr(cut);
        if (fits(candidate))
            return candidate;
    }
    return "...";
}

void Place(HWND control, int x, int y, int width, int height)
{
    if (control)
        ::MoveWindow(control, x, y, std::max(0, width), std::max(0, height), TRUE);
}

// Registered once per process, the first time a dialog makes its window.
bool RegisterWindowClass(WNDPROC procedure)
{
    static const bool registered = [procedure] {
        WNDCLASSA windowClass{};
        windowClass.lpfnWndProc = procedure;
        windowClass.hInstance = ModuleInstance();
        windowClass.hCursor = ::LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_ARROW));
        windowClass.lpszClassName = kWindowClass;
        return ::RegisterClassA(&windowClass) != 0 || ::GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
    }();
    return registered;
}
} // namespace

CDialogSurface::CDialogSurface(CLVUIDhtmlDlg& dialog, HWND& handle, LvUiDialogKind kind)
    : m_dialog(dialog), m_handle(handle), m_kind(kind), m_cardBrush(::CreateSolidBrush(colour::kCard)),
      m_chipBrush(::CreateSolidBrush(colour::kChip)), m_errorBrush(::CreateSolidBrush(colour::kErrorBack))
{
    CDialogRegistry::AddDialog(&m_dialog, this);
}

CDialogSurface::~CDialogSurface()
{
    CDialogRegistry::RemoveDialog(&m_dialog);
    // !! LOAD BEARING !! The window goes first: its controls use the fonts and brushes, and its procedure this.
    if (m_handle)
        ::DestroyWindow(m_handle);
    if (m_handle)
    {
        // Another thread's window cannot be destroyed from here; at least it stops reaching this object.
        ::SetWindowLongPtrA(m_handle, GWLP_USERDATA, 0);
        CDialogRegistry::RemoveWindow(m_handle);
        m_handle = nullptr;
    }
    Wipe(m_fieldText);
}

int CDialogSurface::Show(HWND parent, HWND owner, DWORD style, const char* page, int x, int y, int w, int h,
                         const char* text)
{
    if (!parent || !page)
        return 0;
    const PageContent* content = ContentFor(m_kind, page);
    if (!content)
        return 0;

    const long zoom = m_dialog.GetZoom();
    const DWORD windowStyle = (style & ~WS_VISIBLE) | WS_CLIPCHILDREN;
    bool rebuild = false;
    if (!m_handle || !::IsWindow(m_handle))
    {
        if (!CreateSurfaceWindow(parent, windowStyle, x, y))
            return 0;
        rebuild = true;
    }
    else
    {
        const LONG_PTR current = ::GetWindowLongPtrA(m_handle, GWL_STYLE);
        constexpr LONG_PTR kKindBits = WS_CHILD | WS_POPUP;
        // The kind bits change before SetParent, as SetParent asks.
        if ((current & kKindBits) != static_cast<LONG_PTR>(windowStyle & kKindBits))
            ::SetWindowLongPtrA(m_handle, GWL_STYLE, (current & ~kKindBits) | (windowStyle & kKindBits));
        if ((windowStyle & WS_CHILD) && ::GetParent(m_handle) != parent)
            ::SetParent(m_handle, parent);
    }

    m_owner = owner;
    m_reported = false; // a new showing takes one answer
    m_page = page;
    m_text = text ? text : "";
    if (rebuild || content != m_content || !m_fonts || m_fonts->Zoom() != zoom)
    {
        DestroyControls();
        m_content = content;
        m_fonts = std::make_unique<CDialogFonts>(zoom);
        BuildControls();
    }

    m_width = w > 0 ? w : Scale(metric::kWidth, zoom);
    static_cast<void>(h); // the room offered: the dialog is always its page's own height
    const int height = Layout();
    ::SetWindowPos(m_handle, HWND_TOP, x, y, m_width, height, SWP_NOACTIVATE);
    ::InvalidateRect(m_handle, nullptr, FALSE);
    ::ShowWindow(m_handle, SW_SHOWNA);
    return 1;
}

void CDialogSurface::SetMessage(DWORD code, const char* text)
{
    m_pendingCode = code;
    m_pendingMessage = text ? text : "";
    m_hasPendingMessage = true;
}

int CDialogSurface::CurrentHeight() const
{
    RECT rect{};
    if (!m_handle || !::GetWindowRect(m_handle, &rect))
        return 0;
    return rect.bottom - rect.top;
}

int CDialogSurface::TakeFieldText(char* buffer, int size)
{
    if (!buffer || size <= 0)
        return 0;
    HWND field = Control(kFieldId);
    std::string text = field ? ReadField() : m_fieldText;
    if (field)
        ::SetWindowTextA(field, "");
    Wipe(m_fieldText);

    const int length = std::min(static_cast<int>(text.size()), size - 1);
    std::memcpy(buffer, text.data(), static_cast<size_t>(length));
    buffer[length] = '\0';
    Wipe(text);
    return length;
}

void CDialogSurface::SetBadPin()
{
    m_badPin = true;
    m_reported = false; // the user may try again
    Wipe(m_fieldText);
    HWND field = Control(kFieldId);
    if (!field)
        return;
    ::SetWindowTextA(field, "");
    Relayout();
    if (::IsWindowVisible(m_handle))
        ::SetFocus(field);
}

bool CDialogSurface::CreateSurfaceWindow(HWND parent, DWORD style, int x, int y)
{
    if (!RegisterWindowClass(&ObjectWindowProc<CDialogSurface>::Proc))
        return false;
    // The size comes with the first layout; the window stays hidden until then.
    HWND hwnd = ::CreateWindowExA(WS_EX_CONTROLPARENT | WS_EX_NOPARENTNOTIFY, kWindowClass, "Lumivar", style, x, y, 1,
                                  1, parent, nullptr, ModuleInstance(), this);
    return hwnd != nullptr;
}

HWND CDialogSurface::AddStatic(int id, const char* text, DWORD style, HFONT font)
{
    HWND control =
        ::CreateWindowExA(0, "STATIC", text, WS_CHILD | WS_VISIBLE | SS_NOPREFIX | style, 0, 0, 0, 0, m_handle,
                          reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), ModuleInstance(), nullptr);
    if (control)
        ::SendMessageA(control, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    return control;
}

HWND CDialogSurface::AddField()
{
    const bool pin = m_content->field == FieldKind::Pin;
    const DWORD style = WS_CHILD | WS_VISIBLE | WS_TABSTOP | WS_GROUP | ES_AUTOHSCROLL | (pin ? ES_PASSWORD : 0);
    const HMENU id = reinterpret_cast<HMENU>(static_cast<INT_PTR>(kFieldId));
    // The PIN field is a Unicode window so that its mask can be a bullet whatever the ANSI code page is.
    HWND field = pin ? ::CreateWindowExW(0, L"EDIT", L"", style, 0, 0, 0, 0, m_handle, id, ModuleInstance(), nullptr)
                     : ::CreateWindowExA(0, "EDIT", "", style, 0, 0, 0, 0, m_handle, id, ModuleInstance(), nullptr);
    if (!field)
        return nullptr;
    ::SendMessageA(field, WM_SETFONT, reinterpret_cast<WPARAM>(m_fonts->Field()), FALSE);
    ::SendMessageA(field, EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN, 0);
    ::SendMessageA(field, EM_LIMITTEXT, pin ? kPinLimit : kFieldLimit, 0);
    if (pin)
        ::SendMessageW(field, EM_SETPASSWORDCHAR, 0x2022, 0);
    ::SetWindowTextA(field, m_fieldText.c_str());
    Wipe(m_fieldText);
    return field;
}

void CDialogSurface::BuildControls()
{
    const PageContent& content = *m_content;
    const CDialogFonts& fonts = *m_fonts;
    AddStatic(kTitleId, content.title, SS_LEFT, fonts.Title());
    if (content.showsDomain)
        AddStatic(kDomainId, m_text.c_str(), SS_LEFT | SS_CENTERIMAGE, fonts.Domain());
    if (*content.body)
        AddStatic(kBodyId, content.body, SS_LEFT, fonts.Body());
    if (*content.note)
        AddStatic(kNoteId, content.note, SS_LEFT, fonts.Note());
    if (content.progress)
    {
        AddStatic(kProgressId, ProgressText().c_str(), SS_LEFT, fonts.BodyBold());
        AddStatic(kCodeId, CodeText().c_str(), SS_LEFT, fonts.Note());
        m_spinnerPhase = 0;
        ::SetTimer(m_handle, kSpinnerTimer, kSpinnerIntervalMs, nullptr);
    }
    if (content.field != FieldKind::None)
        AddField();
    if (content.pinStatus)
        AddStatic(kStatusId, "Wrong PIN, try again", SS_LEFT | SS_CENTERIMAGE, fonts.BodyBold());

    for (int i = 0; i < content.buttonCount; ++i)
    {
        const PageButton& button = content.buttons[i];
        // The first control of the tab order opens the group, so the arrow keys stay inside the dialog.
        const DWORD group = (i == 0 && content.field == FieldKind::None) ? WS_GROUP : 0;
        HWND control = ::CreateWindowExA(
            0, "BUTTON", button.label, WS_CHILD | WS_VISIBLE | WS_TABSTOP | BS_OWNERDRAW | group, 0, 0, 0, 0, m_handle,
            reinterpret_cast<HMENU>(static_cast<INT_PTR>(ButtonId(button))), ModuleInstance(), nullptr);
        if (control)
            ::SendMessageA(control, WM_SETFONT, reinterpret_cast<WPARAM>(fonts.Button()), FALSE);
    }
}

void CDialogSurface::DestroyControls()
{
    if (!m_handle)
        return;
    if (Control(kFieldId))
        m_fieldText = ReadField();
    ::KillTimer(m_handle, kSpinnerTimer);
    m_fieldFocused = false;
    std::vector<HWND> children;
    for (HWND child = ::GetWindow(m_handle, GW_CHILD); child; child = ::GetWindow(child, GW_HWNDNEXT))
        children.push_back(child);
    for (HWND child : children)
        ::DestroyWindow(child);
}

int CDialogSurface::Layout()
{
    const PageContent& content = *m_content;
    const CDialogFonts& fonts = *m_fonts;
    const long zoom = fonts.Zoom();
    auto scale = [zoom](int base) { return Scale(base, zoom); };

    const int left = scale(metric::kMargin);
    const int width = std::max(1, m_width - 2 * left);
    const int right = left + width;
    int y = scale(metric::kBandHeight) + scale(metric::kBandAccent) + scale(metric::kTopGap);

    const int titleHeight = TextHeight(fonts.Title(), content.title, width);
    Place(Control(kTitleId), left, y, width, titleHeight);
    y += titleHeight;

    m_chipBox = RECT{};
    if (content.showsDomain)
    {
        y += scale(metric::kGap) - scale(metric::kGapSmall);
        m_chipBox = RECT{left, y, right, y + scale(metric::kChipHeight)};
        const int pad = scale(metric::kChipPad);
        HWND domain = Control(kDomainId);
        Place(domain, left + pad, y + 1, width - 2 * pad, m_chipBox.bottom - y - 2);
        if (domain)
            ::SetWindowTextA(domain, FitKeepingTheEnd(fonts.Domain(), m_text, width - 2 * pad).c_str());
        y = m_chipBox.bottom;
    }
    if (*content.note)
    {
        y += scale(metric::kGapSmall) + scale(2);
        const int height = TextHeight(fonts.Note(), content.note, width);
        Place(Control(kNoteId), left, y, width, height);
        y += height;
    }
    if (*content.body)
    {
        y += scale(metric::kGapSmall) + scale(2);
        const int height = TextHeight(fonts.Body(), content.body, width);
        Place(Control(kBodyId), left, y, width, height);
        y += height;
    }

    m_spinnerBox = RECT{};
    if (content.progress)
    {
        y += scale(metric::kGap) + scale(2);
        const int spinner = scale(metric::kSpinner);
        m_spinnerBox = RECT{left, y, left + spinner, y + spinner};
        const int textLeft = m_spinnerBox.right + scale(metric::kGap);
        const int textWidth = right - textLeft;
        const std::string progress = ProgressText();
        const std::string code = CodeText();
        const int textHeight = TextHeight(fonts.BodyBold(), progress.c_str(), textWidth);
        const int codeHeight = code.empty() ? 0 : scale(metric::kGapSmall) / 2 + LineHeight(fonts.Note());
        const int blockHeight = textHeight + codeHeight;
        const int blockTop = y + std::max(0, (spinner - blockHeight) / 2);
        Place(Control(kProgressId), textLeft, blockTop, textWidth, textHeight);
        HWND codeControl = Control(kCodeId);
        Place(codeControl, textLeft, blockTop + blockHeight - LineHeight(fonts.Note()), textWidth,
              LineHeight(fonts.Note()));
        if (codeControl)
            ::ShowWindow(codeControl, code.empty() ? SW_HIDE : SW_SHOWNA);
        y += std::max(spinner, blockHeight);
    }

    m_fieldBox = RECT{};
    if (content.field != FieldKind::None)
    {
        y += scale(metric::kGap);
        const int boxHeight = scale(metric::kFieldHeight);
        m_fieldBox = RECT{left, y, right, y + boxHeight};
        const int pad = scale(metric::kChipPad);
        const int lineHeight = LineHeight(fonts.Field());
        const int fieldTop = y + std::max(0, (boxHeight - lineHeight) / 2);
        Place(Control(kFieldId), left + pad, fieldTop, width - 2 * pad, lineHeight);
        y = m_fieldBox.bottom;
    }

    m_statusBox = RECT{};
    m_errorSign = RECT{};
    if (HWND status = Control(kStatusId))
    {
        if (m_badPin)
        {
            y += scale(metric::kGapSmall) + scale(2);
            m_statusBox = RECT{left, y, right, y + scale(metric::kStatusHeight)};
            const int pad = scale(metric::kChipPad);
            const int sign = scale(16);
            const int signTop = y + (m_statusBox.bottom - y - sign) / 2;
            m_errorSign = RECT{left + pad, signTop, left + pad + sign, signTop + sign};
            const int textLeft = m_errorSign.right + scale(8);
            Place(status, textLeft, y + 1, right - pad - textLeft, m_statusBox.bottom - y - 2);
            y = m_statusBox.bottom;
        }
        ::ShowWindow(status, m_badPin ? SW_SHOWNA : SW_HIDE);
    }

    if (content.buttonCount > 0)
    {
        y += scale(metric::kGapLarge);
        const int gap = scale(metric::kButtonGap);
        for (int row = 0;; ++row)
        {
            int count = 0;
            bool allQuiet = true;
            for (int i = 0; i < content.buttonCount; ++i)
            {
                if (content.buttons[i].row != row)
                    continue;
                ++count;
                allQuiet = allQuiet && content.buttons[i].role == ButtonRole::Quiet;
            }
            if (count == 0)
                break;
            if (row > 0)
                y += scale(metric::kRowGap);
            const int height = scale(allQuiet ? metric::kQuietHeight : metric::kButtonHeight);
            const int buttonWidth = (width - (count - 1) * gap) / count;
            int x = left;
            int placed = 0;
            for (int i = 0; i < content.buttonCount; ++i)
            {
                const PageButton& button = content.buttons[i];
                if (button.row != row)
                    continue;
                // The last button of a row takes the pixels the division left over.
                const int thisWidth = (++placed == count) ? right - x : buttonWidth;
                Place(Control(ButtonId(button)), x, y, thisWidth, height);
                x += thisWidth + gap;
            }
            y += height;
        }
    }

    y += scale(metric::kMargin);
    return y;
}

void CDialogSurface::Relayout()
{
    if (!m_handle || !m_content || !m_fonts)
        return;
    const int height = Layout();
    ::SetWindowPos(m_handle, nullptr, 0, 0, m_width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    ::InvalidateRect(m_handle, nullptr, FALSE);
}

void CDialogSurface::Paint(HDC dc)
{
    RECT client{};
    ::GetClientRect(m_handle, &client);
    if (!m_fonts)
    {
        CBrush card(::CreateSolidBrush(colour::kCard));
        ::FillRect(dc, &client, card.Get());
        return;
    }
    const long zoom = m_fonts->Zoom();
    PaintCard(dc, client, *m_fonts);
    if (m_chipBox.right > m_chipBox.left)
        PaintBox(dc, m_chipBox, colour::kChip, colour::kChipBorder, zoom);
    if (m_fieldBox.right > m_fieldBox.left)
    {
        const BoxState state = m_badPin && m_content->pinStatus ? BoxState::Error
                               : m_fieldFocused                 ? BoxState::Focused
                                                                : BoxState::Normal;
        PaintField(dc, m_fieldBox, state, zoom);
    }
    if (m_statusBox.right > m_statusBox.left)
    {
        PaintBox(dc, m_statusBox, colour::kErrorBack, colour::kErrorBorder, zoom);
        PaintErrorSign(dc, m_errorSign);
    }
    if (m_spinnerBox.right > m_spinnerBox.left)
        PaintSpinner(dc, m_spinnerBox, m_spinnerPhase);
}

void CDialogSurface::PaintWindow()
{
    PAINTSTRUCT paint{};
    HDC dc = ::BeginPaint(m_handle, &paint);
    if (!dc)
        return;
    RECT client{};
    ::GetClientRect(m_handle, &client);
    // Drawn off screen and copied in one go, so the band and boxes do not flicker.
    CMemoryDc memory(::CreateCompatibleDC(dc));
    CBitmap bitmap(memory.IsValid() ? ::CreateCompatibleBitmap(dc, client.right, client.bottom) : nullptr);
    if (bitmap.IsValid())
    {
        CSelectObject selectBitmap(memory.Get(), bitmap.Get());
        Paint(memory.Get());
        const RECT& area = paint.rcPaint;
        ::BitBlt(dc, area.left, area.top, area.right - area.left, area.bottom - area.top, memory.Get(), area.left,
                 area.top, SRCCOPY);
    }
    else
    {
        Paint(dc);
    }
    ::EndPaint(m_handle, &paint);
}

void CDialogSurface::OnCommand(WPARAM wParam)
{
    const int id = LOWORD(wParam);
    const int code = HIWORD(wParam);
    if (id == kFieldId && (code == EN_SETFOCUS || code == EN_KILLFOCUS))
    {
        m_fieldFocused = code == EN_SETFOCUS;
        ::InvalidateRect(m_handle, &m_fieldBox, FALSE);
        return;
    }
    if (code != BN_CLICKED)
        return;
    if (const int action = ActionFor(id))
        Report(action);
}

void CDialogSurface::OnHidePrompt()
{
    HWND capture = ::GetCapture();
    if (capture && (capture == m_handle || ::IsChild(m_handle, capture)))
        ::ReleaseCapture();
    for (HWND child = ::GetWindow(m_handle, GW_CHILD); child; child = ::GetWindow(child, GW_HWNDNEXT))
    {
        // Ends a press or a selection the mouse or Space started; the buttons also drop their pushed look.
        ::SendMessageA(child, WM_CANCELMODE, 0, 0);
        if (ButtonFor(::GetDlgCtrlID(child)))
            ::SendMessageA(child, BM_SETSTATE, FALSE, 0);
    }
    if (m_badPin)
    {
        m_badPin = false;
        Relayout();
    }
}

void CDialogSurface::ApplyMessage()
{
    if (!m_hasPendingMessage)
        return;
    m_hasPendingMessage = false;
    m_hasMessage = true;
    m_code = m_pendingCode;
    m_message = m_pendingMessage;
    if (HWND progress = Control(kProgressId))
        ::SetWindowTextA(progress, ProgressText().c_str());
    if (HWND code = Control(kCodeId))
        ::SetWindowTextA(code, CodeText().c_str());
    if (m_content && m_content->progress)
        Relayout();
}

HBRUSH CDialogSurface::OnControlColour(HDC dc, HWND control)
{
    COLORREF text = colour::kBody;
    COLORREF back = colour::kCard;
    HBRUSH brush = m_cardBrush.Get();
    switch (::GetDlgCtrlID(control))
    {
    case kTitleId:
    case kProgressId:
    case kFieldId:
        text = colour::kInk;
        break;
    case kDomainId:
        text = colour::kInk;
        back = colour::kChip;
        brush = m_chipBrush.Get();
        break;
    case kNoteId:
    case kCodeId:
        text = colour::kMuted;
        break;
    case kStatusId:
        text = colour::kError;
        back = colour::kErrorBack;
        brush = m_errorBrush.Get();
        break;
    default:
        break;
    }
    ::SetTextColor(dc, text);
    ::SetBkColor(dc, back);
    return brush;
}

// Enter chooses the focused button, or the page's default one when the focus is elsewhere (in the field).
LRESULT CDialogSurface::DefaultButtonId() const
{
    HWND focus = ::GetFocus();
    if (focus && ::GetParent(focus) == m_handle && ButtonFor(::GetDlgCtrlID(focus)))
        return MAKELRESULT(::GetDlgCtrlID(focus), DC_HASDEFID);
    if (m_content && m_content->enterAction)
        return MAKELRESULT(IDOK, DC_HASDEFID);
    return 0;
}

const PageButton* CDialogSurface::ButtonFor(int controlId) const
{
    if (!m_content)
        return nullptr;
    for (int i = 0; i < m_content->buttonCount; ++i)
    {
        if (ButtonId(m_content->buttons[i]) == controlId)
            return &m_content->buttons[i];
    }
    return nullptr;
}

// Esc arrives as IDCANCEL and a lone Enter as IDOK even when no such button exists.
int CDialogSurface::ActionFor(int controlId) const
{
    if (!m_content)
        return 0;
    if (controlId == IDOK)
        return m_content->enterAction;
    if (controlId == IDCANCEL)
        return m_content->escapeAction;
    const PageButton* button = ButtonFor(controlId);
    return button ? button->action : 0;
}

int CDialogSurface::ButtonId(const PageButton& button) const
{
    if (button.action == m_content->enterAction)
        return IDOK;
    if (button.action == m_content->escapeAction)
        return IDCANCEL;
    return kButtonBase + button.action;
}

void CDialogSurface::Report(int action) const
{
    // One answer per showing: a key held down or a double click must not answer twice (the second time with the
    // text already taken).
    if (!m_owner || m_reported)
        return;
    m_reported = true;
    ::PostMessageA(m_owner, ProcessPromptMessage(), reinterpret_cast<WPARAM>(&m_dialog), action);
}

HWND CDialogSurface::Control(int id) const
{
    return m_handle ? ::GetDlgItem(m_handle, id) : nullptr;
}

std::string CDialogSurface::ReadField() const
{
    HWND field = Control(kFieldId);
    if (!field)
        return std::string();
    const int length = ::GetWindowTextLengthA(field);
    std::string text(static_cast<size_t>(std::max(0, length)) + 1, '\0');
    const int copied = ::GetWindowTextA(field, &text[0], static_cast<int>(text.size()));
    text.resize(static_cast<size_t>(std::max(0, copied)));
    return text;
}

std::string CDialogSurface::ProgressText() const
{
    if (!m_hasMessage || m_message.empty())
        return "Waiting for your approval...";
    return m_message;
}

std::string CDialogSurface::CodeText() const
{
    if (!m_hasMessage || m_code == 0)
        return std::string();
    return "Status code: " + FormatStatusCode(m_code);
}

bool CDialogSurface::OnMessage(UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result)
{
    result = 0;
    if (message == WM_PAINT)
        PaintWindow();
    else if (message == WM_PRINTCLIENT)
        Paint(reinterpret_cast<HDC>(wParam));
    else if (message == WM_ERASEBKGND)
        result = 1;
    else if (message == WM_COMMAND)
        OnCommand(wParam);
    else if (message == WM_DRAWITEM)
    {
        const auto* item = reinterpret_cast<const DRAWITEMSTRUCT*>(lParam);
        const PageButton* button = item ? ButtonFor(static_cast<int>(item->CtlID)) : nullptr;
        if (!button || !m_fonts)
            return false;
        PaintButton(*item, button->role, m_fonts->Button(), m_fonts->Zoom());
        result = TRUE;
    }
    else if (message == WM_CTLCOLORSTATIC || message == WM_CTLCOLOREDIT)
        result =
            reinterpret_cast<LRESULT>(OnControlColour(reinterpret_cast<HDC>(wParam), reinterpret_cast<HWND>(lParam)));
    else if (message == DM_GETDEFID)
        result = DefaultButtonId();
    else if (message == WM_SETFOCUS)
    {
        // Focus given to the card goes on to its first control, as a dialog box does.
        HWND first = Control(kFieldId);
        if (!first)
            first = ::GetNextDlgTabItem(m_handle, nullptr, FALSE);
        if (first && first != m_handle)
            ::SetFocus(first);
    }
    else if (message == WM_TIMER && wParam == kSpinnerTimer)
    {
        if (::IsWindowVisible(m_handle))
        {
            m_spinnerPhase = (m_spinnerPhase + 1) % 8;
            ::InvalidateRect(m_handle, &m_spinnerBox, FALSE);
        }
    }
    else if (message == kHidePromptMessage)
        OnHidePrompt();
    else if (message == UpdateMessage())
        ApplyMessage();
    else if (message == WM_DESTROY)
    {
        // The children still exist here: the typed text outlives the window.
        if (Control(kFieldId))
            m_fieldText = ReadField();
        ::KillTimer(m_handle, kSpinnerTimer);
    }
    else
        return false;
    return true;
}

void CDialogSurface::AttachWindow(HWND hwnd) noexcept
{
    m_handle = hwnd;
    CDialogRegistry::AddWindow(hwnd);
}

void CDialogSurface::DetachWindow(HWND hwnd) noexcept
{
    CDialogRegistry::RemoveWindow(hwnd);
    m_handle = nullptr;
}
} // namespace lvui
