#include "DialogSurface.h"

#include "DialogPainter.h"
#include "DialogRegistry.h"
#include "lang/StringIds.h"

#include <algorithm>
#include <cstring>
#include <vector>

extern "C" IMAGE_DOS_HEADER __ImageBase; // this module's own base: the window class belongs to LVUI.dll

namespace lvui
{
namespace
{
constexpr const wchar_t* kWindowClass = L"LvUiDialogWindow";
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
    kFieldLabelId, // made just before the field: a screen reader names the field after it
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

UINT TextFormat(bool rightToLeft)
{
    return DT_WORDBREAK | DT_EXPANDTABS | DT_NOPREFIX | (rightToLeft ? DT_RTLREADING : 0);
}

// The height `text` takes in `font` when wrapped to `width`, as a static control draws it.
int TextHeight(HFONT font, const std::wstring& text, int width, bool rightToLeft)
{
    CWindowDc screen(nullptr);
    CSelectObject selectFont(screen.Get(), font);
    RECT rect{0, 0, std::max(1, width), 0};
    ::DrawTextW(screen.Get(), text.empty() ? L" " : text.c_str(), -1, &rect, DT_CALCRECT | TextFormat(rightToLeft));
    return rect.bottom - rect.top;
}

// The width of `text` in the font selected into `dc`.
int TextWidthIn(HDC dc, const std::wstring& text)
{
    SIZE size{};
    ::GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &size);
    return size.cx;
}

int TextWidth(HFONT font, const std::wstring& text)
{
    CWindowDc screen(nullptr);
    CSelectObject selectFont(screen.Get(), font);
    return TextWidthIn(screen.Get(), text);
}

int LineHeight(HFONT font)
{
    CWindowDc screen(nullptr);
    CSelectObject selectFont(screen.Get(), font);
    TEXTMETRICW metrics{};
    ::GetTextMetricsW(screen.Get(), &metrics);
    return metrics.tmHeight;
}

// `text` as it fits in `width`: a long domain loses its start, never its end, which names the site that gets the
// login ("...example.com.attacker.test", never "accounts.example.com...").
// A cut never falls inside a surrogate pair.
std::wstring FitKeepingTheEnd(HFONT font, const std::wstring& text, int width)
{
    CWindowDc screen(nullptr);
    CSelectObject selectFont(screen.Get(), font);
    // One screen DC for all the candidates.
    auto fits = [&](const std::wstring& candidate) { return TextWidthIn(screen.Get(), candidate) <= width; };
    if (fits(text))
        return text;
    for (size_t cut = 1; cut < text.size(); ++cut)
    {
        if (IS_LOW_SURROGATE(text[cut]))
            continue;
        std::wstring candidate = L"..." + text.substr(cut);
        if (fits(candidate))
            return candidate;
    }
    return L"...";
}

// The dialog mirrors itself for a right-to-left language; a window mirrored by a right-to-left parent would be
// mirrored twice.
void KeepLeftToRightLayout(HWND window)
{
    if (!window)
        return;
    const LONG_PTR exStyle = ::GetWindowLongPtrW(window, GWL_EXSTYLE);
    if (exStyle & WS_EX_LAYOUTRTL)
        ::SetWindowLongPtrW(window, GWL_EXSTYLE, exStyle & ~static_cast<LONG_PTR>(WS_EX_LAYOUTRTL));
}

// Registered once per process, the first time a dialog makes its window.
bool RegisterWindowClass(WNDPROC procedure)
{
    static const bool registered = [procedure] {
        WNDCLASSW windowClass{};
        windowClass.lpfnWndProc = procedure;
        windowClass.hInstance = ModuleInstance();
        windowClass.hCursor = ::LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
        windowClass.lpszClassName = kWindowClass;
        return ::RegisterClassW(&windowClass) != 0 || ::GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
    }();
    return registered;
}
} // namespace

CDialogSurface::CDialogSurface(CLVUIDhtmlDlg& dialog, HWND& handle, LvUiDialogKind kind)
    : m_dialog(dialog), m_handle(handle), m_kind(kind)
{
    UsePalette();
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
        {
            ::SetParent(m_handle, parent);
            KeepLeftToRightLayout(m_handle);
        }
    }

    m_owner = owner;
    m_reported = false; // a new showing takes one answer
    m_page = page;
    m_text = text ? text : "";
    m_shown = Widen(m_text.c_str());
    // The language and the high-contrast setting are looked at each time the dialog is shown: a child window
    // hears of neither changing.
    const CatalogueLanguage& language = ActiveLanguage();
    // A change of high-contrast scheme changes the colours without turning high contrast on or off.
    if (rebuild || content != m_content || !m_fonts || m_fonts->Zoom() != zoom || &language != m_language ||
        !(CurrentPalette() == m_palette))
    {
        DestroyControls();
        m_content = content;
        m_language = &language;
        UsePalette();
        m_fonts = std::make_unique<CDialogFonts>(zoom, language.script);
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
        ::SetWindowTextW(field, L"");
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
    ::SetWindowTextW(field, L"");
    Relayout();
    if (::IsWindowVisible(m_handle))
        ::SetFocus(field);
}

bool CDialogSurface::CreateSurfaceWindow(HWND parent, DWORD style, int x, int y)
{
    if (!RegisterWindowClass(&ObjectWindowProc<CDialogSurface, true>::Proc))
        return false;
    // The size comes with the first layout; the window stays hidden until then.
    HWND hwnd = ::CreateWindowExW(WS_EX_CONTROLPARENT | WS_EX_NOPARENTNOTIFY | WS_EX_NOINHERITLAYOUT, kWindowClass,
                                  L"Lumivar", style, x, y, 1, 1, parent, nullptr, ModuleInstance(), this);
    KeepLeftToRightLayout(hwnd);
    return hwnd != nullptr;
}

// A text, aligned and read the language's way; `leftToRight` (the domain) reads left to right in every language but
// still sits on the reading side.
HWND CDialogSurface::AddStatic(int id, const std::wstring& text, HFONT font, bool leftToRight)
{
    const bool rightToLeft = m_language && m_language->rightToLeft;
    const DWORD exStyle = rightToLeft && !leftToRight ? WS_EX_RTLREADING : 0;
    const DWORD align = rightToLeft ? SS_RIGHT : SS_LEFT;
    HWND control =
        ::CreateWindowExW(exStyle, L"STATIC", text.c_str(), WS_CHILD | WS_VISIBLE | SS_NOPREFIX | align, 0, 0, 0, 0,
                          m_handle, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), ModuleInstance(), nullptr);
    if (control)
        ::SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    return control;
}

std::wstring CDialogSurface::Text(UINT id) const
{
    return id != 0 && m_language ? LoadText(*m_language, id) : std::wstring();
}

HWND CDialogSurface::AddField()
{
    const bool pin = m_content->field == FieldKind::Pin;
    const DWORD style = WS_CHILD | WS_VISIBLE | WS_TABSTOP | WS_GROUP | ES_AUTOHSCROLL | (pin ? ES_PASSWORD : 0);
    const HMENU id = reinterpret_cast<HMENU>(static_cast<INT_PTR>(kFieldId));
    // Codes and PINs read left to right in every language. The PIN's mask is a bullet whatever the code page is.
    HWND field = ::CreateWindowExW(0, L"EDIT", L"", style, 0, 0, 0, 0, m_handle, id, ModuleInstance(), nullptr);
    if (!field)
        return nullptr;
    ::SendMessageW(field, WM_SETFONT, reinterpret_cast<WPARAM>(m_fonts->Field()), FALSE);
    ::SendMessageW(field, EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN, 0);
    ::SendMessageW(field, EM_LIMITTEXT, pin ? kPinLimit : kFieldLimit, 0);
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
    // Made in reading order, which is also the order a screen reader and the Tab key go through them.
    AddStatic(kTitleId, Text(content.title), fonts.Title());
    if (content.showsDomain)
        AddStatic(kDomainId, m_shown, fonts.Domain(), true);
    if (content.note)
        AddStatic(kNoteId, Text(content.note), fonts.Note());
    if (content.body)
        AddStatic(kBodyId, Text(content.body), fonts.Body());
    if (content.progress)
    {
        AddStatic(kProgressId, ProgressText(), fonts.BodyBold());
        AddStatic(kCodeId, CodeText(), fonts.Note());
        m_spinnerPhase = 0;
        ::SetTimer(m_handle, kSpinnerTimer, kSpinnerIntervalMs, nullptr);
    }
    if (content.field != FieldKind::None)
    {
        if (content.fieldLabel)
            AddStatic(kFieldLabelId, Text(content.fieldLabel), fonts.BodyBold());
        AddField();
    }
    if (content.pinStatus)
        AddStatic(kStatusId, Text(IDS_WRONG_PIN), fonts.BodyBold());

    for (int i = 0; i < content.buttonCount; ++i)
    {
        const PageButton& button = content.buttons[i];
        // The first control of the tab order opens the group, so the arrow keys stay inside the dialog.
        const DWORD group = (i == 0 && content.field == FieldKind::None) ? WS_GROUP : 0;
        HWND control = ::CreateWindowExW(
            0, L"BUTTON", Text(button.label).c_str(), WS_CHILD | WS_VISIBLE | WS_TABSTOP | BS_OWNERDRAW | group, 0, 0,
            0, 0, m_handle, reinterpret_cast<HMENU>(static_cast<INT_PTR>(ButtonId(button))), ModuleInstance(), nullptr);
        if (control)
            ::SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(fonts.Button()), FALSE);
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
    const bool rightToLeft = m_language && m_language->rightToLeft;
    auto scale = [zoom](int base) { return Scale(base, zoom); };
    auto height = [rightToLeft](HFONT font, const std::wstring& text, int width) {
        return TextHeight(font, text, width, rightToLeft);
    };

    // Laid out left to right; Place and Mirrored turn it round for a right-to-left language.
    const int left = scale(metric::kMargin);
    const int width = std::max(1, m_width - 2 * left);
    const int right = left + width;
    int y = scale(metric::kBandHeight) + scale(metric::kBandAccent) + scale(metric::kTopGap);

    const int titleHeight = height(fonts.Title(), Text(content.title), width);
    Place(Control(kTitleId), left, y, width, titleHeight);
    y += titleHeight;

    m_chipBox = RECT{};
    if (content.showsDomain)
    {
        y += scale(metric::kGap) - scale(metric::kGapSmall);
        const int pad = scale(metric::kChipPad);
        const int lineHeight = LineHeight(fonts.Domain());
        const int chipHeight = std::max(scale(metric::kChipHeight), lineHeight + 2 * scale(2));
        m_chipBox = RECT{left, y, right, y + chipHeight};
        HWND domain = Control(kDomainId);
        Place(domain, left + pad, y + (chipHeight - lineHeight) / 2, width - 2 * pad, lineHeight);
        if (domain)
            ::SetWindowTextW(domain, FitKeepingTheEnd(fonts.Domain(), m_shown, width - 2 * pad).c_str());
        y = m_chipBox.bottom;
    }
    if (content.note)
    {
        y += scale(metric::kGapSmall) + scale(2);
        const int noteHeight = height(fonts.Note(), Text(content.note), width);
        Place(Control(kNoteId), left, y, width, noteHeight);
        y += noteHeight;
    }
    if (content.body)
    {
        y += scale(metric::kGapSmall) + scale(2);
        const int bodyHeight = height(fonts.Body(), Text(content.body), width);
        Place(Control(kBodyId), left, y, width, bodyHeight);
        y += bodyHeight;
    }

    m_spinnerBox = RECT{};
    if (content.progress)
    {
        y += scale(metric::kGap) + scale(2);
        const int spinner = scale(metric::kSpinner);
        m_spinnerBox = RECT{left, y, left + spinner, y + spinner};
        const int textLeft = m_spinnerBox.right + scale(metric::kGap);
        const int textWidth = right - textLeft;
        const std::wstring code = CodeText();
        const int textHeight = height(fonts.BodyBold(), ProgressText(), textWidth);
        const int codeHeight = code.empty() ? 0 : height(fonts.Note(), code, textWidth);
        const int codeGap = code.empty() ? 0 : scale(metric::kGapSmall) / 2;
        const int blockHeight = textHeight + codeGap + codeHeight;
        const int blockTop = y + std::max(0, (spinner - blockHeight) / 2);
        Place(Control(kProgressId), textLeft, blockTop, textWidth, textHeight);
        HWND codeControl = Control(kCodeId);
        Place(codeControl, textLeft, blockTop + textHeight + codeGap, textWidth, codeHeight);
        if (codeControl)
            ::ShowWindow(codeControl, code.empty() ? SW_HIDE : SW_SHOWNA);
        y += std::max(spinner, blockHeight);
    }

    m_fieldBox = RECT{};
    if (content.field != FieldKind::None)
    {
        y += scale(metric::kGap);
        if (content.fieldLabel)
        {
            const int labelHeight = height(fonts.BodyBold(), Text(content.fieldLabel), width);
            Place(Control(kFieldLabelId), left, y, width, labelHeight);
            y += labelHeight + scale(metric::kLabelGap);
        }
        const int pad = scale(metric::kChipPad);
        const int lineHeight = LineHeight(fonts.Field());
        const int boxHeight = std::max(scale(metric::kFieldHeight), lineHeight + 2 * scale(4));
        m_fieldBox = RECT{left, y, right, y + boxHeight};
        Place(Control(kFieldId), left + pad, y + (boxHeight - lineHeight) / 2, width - 2 * pad, lineHeight);
        y = m_fieldBox.bottom;
    }

    m_statusBox = RECT{};
    m_errorSign = RECT{};
    if (HWND status = Control(kStatusId))
    {
        if (m_badPin)
        {
            y += scale(metric::kGapSmall) + scale(2);
            const int pad = scale(metric::kChipPad);
            const int sign = scale(16);
            const int textLeft = left + pad + sign + scale(8);
            const int textWidth = right - pad - textLeft;
            const int textHeight = height(fonts.BodyBold(), Text(IDS_WRONG_PIN), textWidth);
            const int boxHeight = std::max(scale(metric::kStatusHeight), textHeight + 2 * scale(4));
            m_statusBox = RECT{left, y, right, y + boxHeight};
            const int signTop = y + (boxHeight - sign) / 2;
            m_errorSign = RECT{left + pad, signTop, left + pad + sign, signTop + sign};
            Place(status, textLeft, y + (boxHeight - textHeight) / 2, textWidth, textHeight);
            y = m_statusBox.bottom;
        }
        ::ShowWindow(status, m_badPin ? SW_SHOWNA : SW_HIDE);
    }

    if (content.buttonCount > 0)
        y = LayoutButtons(y + scale(metric::kGapLarge), left, width);

    m_chipBox = Mirrored(m_chipBox);
    m_spinnerBox = Mirrored(m_spinnerBox);
    m_fieldBox = Mirrored(m_fieldBox);
    m_statusBox = Mirrored(m_statusBox);
    m_errorSign = Mirrored(m_errorSign);
    return y + scale(metric::kMargin);
}

// The buttons of a row share it side by side when every label fits on one line, the spare width going to all
// alike. When they do not, each button of the row gets a line of its own, and a label wider than the dialog wraps
// inside a taller button. Returns the bottom of the last row.
int CDialogSurface::LayoutButtons(int top, int left, int width)
{
    const PageContent& content = *m_content;
    const CDialogFonts& fonts = *m_fonts;
    const long zoom = fonts.Zoom();
    const int gap = Scale(metric::kButtonGap, zoom);
    const int inset = Scale(metric::kButtonTextInset, zoom);
    const bool rightToLeft = m_language && m_language->rightToLeft;
    int y = top;
    for (int row = 0;; ++row)
    {
        std::vector<const PageButton*> buttons;
        std::vector<int> needed;
        bool allQuiet = true;
        int total = 0;
        for (int i = 0; i < content.buttonCount; ++i)
        {
            const PageButton& button = content.buttons[i];
            if (button.row != row)
                continue;
            buttons.push_back(&button);
            needed.push_back(TextWidth(fonts.Button(), Text(button.label)) + 2 * inset);
            total += needed.back();
            allQuiet = allQuiet && button.role == ButtonRole::Quiet;
        }
        if (buttons.empty())
            break;
        if (row > 0)
            y += Scale(metric::kRowGap, zoom);
        const int baseHeight = Scale(allQuiet ? metric::kQuietHeight : metric::kButtonHeight, zoom);
        const size_t count = buttons.size();
        const int spare = width - static_cast<int>(count - 1) * gap - total;
        if (spare >= 0)
        {
            const int share = spare / static_cast<int>(count);
            int x = left;
            for (size_t i = 0; i < count; ++i)
            {
                // The last button takes the pixels the division left over.
                const int thisWidth = (i + 1 == count) ? left + width - x : needed[i] + share;
                Place(Control(ButtonId(*buttons[i])), x, y, thisWidth, baseHeight);
                x += thisWidth + gap;
            }
            y += baseHeight;
            continue;
        }
        for (size_t i = 0; i < count; ++i)
        {
            if (i > 0)
                y += Scale(metric::kRowGap, zoom);
            const int textHeight = TextHeight(fonts.Button(), Text(buttons[i]->label), width - 2 * inset, rightToLeft);
            const int buttonHeight = std::max(baseHeight, textHeight + 2 * Scale(metric::kGapSmall, zoom));
            Place(Control(ButtonId(*buttons[i])), left, y, width, buttonHeight);
            y += buttonHeight;
        }
    }
    return y;
}

void CDialogSurface::Place(HWND control, int x, int y, int width, int height) const
{
    if (!control)
        return;
    const RECT box = Mirrored(RECT{x, y, x + std::max(0, width), y + std::max(0, height)});
    ::MoveWindow(control, box.left, box.top, box.right - box.left, box.bottom - box.top, TRUE);
}

RECT CDialogSurface::Mirrored(const RECT& box) const
{
    if (!m_language || !m_language->rightToLeft || box.right <= box.left)
        return box;
    return RECT{m_width - box.right, box.top, m_width - box.left, box.bottom};
}

void CDialogSurface::UsePalette()
{
    m_palette = CurrentPalette();
    m_cardBrush.Attach(::CreateSolidBrush(m_palette.card));
    m_chipBrush.Attach(::CreateSolidBrush(m_palette.chip));
    m_errorBrush.Attach(::CreateSolidBrush(m_palette.errorBack));
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
        ::FillRect(dc, &client, m_cardBrush.Get());
        return;
    }
    const long zoom = m_fonts->Zoom();
    PaintCard(dc, client, *m_fonts, m_palette, m_language && m_language->rightToLeft);
    if (m_chipBox.right > m_chipBox.left)
        PaintBox(dc, m_chipBox, m_palette.chip, m_palette.chipBorder, zoom);
    if (m_fieldBox.right > m_fieldBox.left)
    {
        const BoxState state = m_badPin && m_content->pinStatus ? BoxState::Error
                               : m_fieldFocused                 ? BoxState::Focused
                                                                : BoxState::Normal;
        PaintField(dc, m_fieldBox, state, m_palette, zoom);
    }
    if (m_statusBox.right > m_statusBox.left)
    {
        PaintBox(dc, m_statusBox, m_palette.errorBack, m_palette.errorBorder, zoom);
        PaintErrorSign(dc, m_errorSign, m_palette);
    }
    if (m_spinnerBox.right > m_spinnerBox.left)
        PaintSpinner(dc, m_spinnerBox, m_spinnerPhase, m_palette);
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
        ::SendMessageW(child, WM_CANCELMODE, 0, 0);
        if (ButtonFor(::GetDlgCtrlID(child)))
            ::SendMessageW(child, BM_SETSTATE, FALSE, 0);
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
        ::SetWindowTextW(progress, ProgressText().c_str());
    if (HWND code = Control(kCodeId))
        ::SetWindowTextW(code, CodeText().c_str());
    if (m_content && m_content->progress)
        Relayout();
}

HBRUSH CDialogSurface::OnControlColour(HDC dc, HWND control)
{
    COLORREF text = m_palette.body;
    COLORREF back = m_palette.card;
    HBRUSH brush = m_cardBrush.Get();
    switch (::GetDlgCtrlID(control))
    {
    case kTitleId:
    case kProgressId:
    case kFieldLabelId:
    case kFieldId:
        text = m_palette.ink;
        break;
    case kDomainId:
        text = m_palette.ink;
        back = m_palette.chip;
        brush = m_chipBrush.Get();
        break;
    case kNoteId:
    case kCodeId:
        text = m_palette.muted;
        break;
    case kStatusId:
        text = m_palette.error;
        back = m_palette.errorBack;
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

// The core's own text once it gave one; it arrives as narrow text, like the domain.
std::wstring CDialogSurface::ProgressText() const
{
    if (!m_hasMessage || m_message.empty())
        return Text(IDS_PROGRESS_WAITING);
    return Widen(m_message.c_str());
}

std::wstring CDialogSurface::CodeText() const
{
    if (!m_hasMessage || m_code == 0)
        return std::wstring();
    std::wstring text = Text(IDS_STATUS_CODE);
    const size_t placeholder = text.find(L"%1");
    if (placeholder != std::wstring::npos)
        text.replace(placeholder, 2, Widen(FormatStatusCode(m_code).c_str()));
    return text;
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
        PaintButton(*item, button->role, m_fonts->Button(), m_fonts->Zoom(), m_palette,
                    m_language && m_language->rightToLeft);
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
