// LvUiGallery.exe --zoom N --out DIR [--langs en,ja,ar,...] [--high-contrast]: shows every page of LVUI.dll's dialogs
// at one zoom, as the host does, in each language asked for (the user's own when none is), and saves what each looks
// like as DIR\page1-LANG-zN.bmp ... page5-LANG-zN.bmp, pin-LANG-zN.bmp and pin-bad-LANG-zN.bmp (one line per file on
// stdout); with --high-contrast, each again in high contrast (...-zN-hc.bmp). Needs a display (under Wine: an X
// server). Exit codes: 0 done, 1 a page failed, 2 bad arguments or an unknown language.

#include "WindowCapture.h"

#include "LvUi.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace
{
constexpr const char* kFrameClass = "LvUiGalleryFrame";
constexpr int kInset = 24;
constexpr DWORD kChildStyle = 0x40000000; // WS_CHILD, as the host passes it
constexpr DWORD kSampleCode = 0x44525675; // "DRVu"

// The tags the gallery knows, one for every language of the dialogs.
struct LanguageTag
{
    const char* tag;
    LANGID id;
};
constexpr LanguageTag kTags[] = {
    {"en", 0x0409}, {"ar", 0x0401},      {"bg", 0x0402},    {"zh-TW", 0x0404}, {"zh-CN", 0x0804}, {"cs", 0x0405},
    {"da", 0x0406}, {"de", 0x0407},      {"el", 0x0408},    {"es", 0x0C0A},    {"fi", 0x040B},    {"fr", 0x040C},
    {"he", 0x040D}, {"hu", 0x040E},      {"it", 0x0410},    {"ja", 0x0411},    {"ko", 0x0412},    {"nl", 0x0413},
    {"nb", 0x0414}, {"pl", 0x0415},      {"pt-BR", 0x0416}, {"pt-PT", 0x0816}, {"ro", 0x0418},    {"ru", 0x0419},
    {"hr", 0x041A}, {"sr-Latn", 0x241A}, {"sk", 0x041B},    {"sv", 0x041D},    {"tr", 0x041F},    {"id", 0x0421},
    {"sl", 0x0424}, {"et", 0x0425},      {"lv", 0x0426},    {"lt", 0x0427},
};

struct Options
{
    long zoom = 100;
    std::string out;
    std::vector<std::string> languages; // tags; empty: the user's language, named "user"
    bool highContrast = false;
};

bool LanguageId(const std::string& tag, LANGID& id)
{
    for (const LanguageTag& known : kTags)
    {
        if (tag == known.tag)
        {
            id = known.id;
            return true;
        }
    }
    return false;
}

bool ParseOptions(int argc, char** argv, Options& options)
{
    for (int i = 1; i < argc; ++i)
    {
        if (std::strcmp(argv[i], "--zoom") == 0 && i + 1 < argc)
        {
            char* end = nullptr;
            options.zoom = std::strtol(argv[++i], &end, 10);
            if (!end || *end || options.zoom <= 0)
                return false;
        }
        else if (std::strcmp(argv[i], "--out") == 0 && i + 1 < argc)
            options.out = argv[++i];
        else if (std::strcmp(argv[i], "--langs") == 0 && i + 1 < argc)
        {
            std::string list = argv[++i];
            for (size_t start = 0; start <= list.size();)
            {
                const size_t comma = std::min(list.find(',', start), list.size());
                LANGID id = 0;
                const std::string tag = list.substr(start, comma - start);
                if (!LanguageId(tag, id))
                    return false;
                options.languages.push_back(tag);
                start = comma + 1;
            }
        }
        else if (std::strcmp(argv[i], "--high-contrast") == 0)
            options.highContrast = true;
        else
            return false;
    }
    return !options.out.empty();
}

// Lets the dialog take its posted messages and the display catch up, then paints everything that is pending.
void Settle(HWND frame)
{
    const DWORD start = ::GetTickCount();
    MSG msg;
    while (::GetTickCount() - start < 250)
    {
        while (::PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE))
        {
            if (!LvUiPreTranslateMessage(&msg))
            {
                ::TranslateMessage(&msg);
                ::DispatchMessageA(&msg);
            }
        }
        ::Sleep(10);
    }
    ::RedrawWindow(frame, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_UPDATENOW);
}

class CGallery
{
public:
    CGallery(HWND frame, const Options& options) : m_frame(frame), m_options(options) {}

    // What the next captures are called after: "-LANG-zN" or "-LANG-zN-hc".
    void Name(const std::string& language, bool highContrast)
    {
        m_suffix = "-" + language + "-z" + std::to_string(m_options.zoom) + (highContrast ? "-hc" : "");
    }

    bool Capture(CKvrnDhtmlDlg& dialog, const std::string& name)
    {
        Settle(m_frame);
        std::string path = m_options.out;
        if (!path.empty() && path.back() != '\\' && path.back() != '/')
            path += '\\';
        path += name + m_suffix + ".bmp";
        std::string error;
        if (!SaveWindowBitmap(dialog.GetSafeHwnd(), path, error))
        {
            std::fprintf(stderr, "LvUiGallery: %s: %s\n", name.c_str(), error.c_str());
            return false;
        }
        std::printf("%s\n", path.c_str());
        std::fflush(stdout);
        return true;
    }

private:
    HWND m_frame;
    const Options& m_options;
    std::string m_suffix;
};

bool ShowEveryPage(CGallery& gallery, HWND frame, long zoom, int room)
{
    bool ok = true;
    CLvBhoPromptDlgUI prompt;
    prompt.SetZoom(zoom);
    // As the host does at start: the window is made on page "1" and hidden at once.
    ok = ShowBHOPromptUI(&prompt, frame, frame, kChildStyle, "1", kInset, kInset, 0, 0, "") != 0;
    prompt.ShowWindow(SW_HIDE);
    for (const char* page : {"1", "2", "3", "4", "5"})
    {
        if (std::strcmp(page, "3") == 0)
            prompt.SetMessage(kSampleCode, "");
        if (!ShowBHOPromptUI(&prompt, frame, frame, kChildStyle, page, kInset, kInset, 0, room, "accounts.example.com"))
        {
            std::fprintf(stderr, "LvUiGallery: page %s cannot be shown\n", page);
            ok = false;
            continue;
        }
        if (std::strcmp(page, "3") == 0)
            ::PostMessageA(prompt.GetSafeHwnd(), ::RegisterWindowMessageA("MSG_UPDATE_MSG"), 0, 0);
        ok = gallery.Capture(prompt, std::string("page") + page) && ok;
    }
    prompt.OnHidePrompt();
    prompt.ShowWindow(SW_HIDE);

    CGpaAuthDlgUI pin;
    pin.SetZoom(zoom);
    if (ShowBHOPromptUI(&pin, frame, frame, kChildStyle, "1", kInset, kInset, 0, room, ""))
    {
        // A few digits typed, to show the mask.
        ::SetWindowTextA(::FindWindowExA(pin.GetSafeHwnd(), nullptr, "Edit", nullptr), "1234");
        ok = gallery.Capture(pin, "pin") && ok;
        pin.UpdateBadPin();
        ok = gallery.Capture(pin, "pin-bad") && ok;
    }
    else
    {
        std::fprintf(stderr, "LvUiGallery: the PIN dialog cannot be shown\n");
        ok = false;
    }
    pin.DestroyWindow();
    prompt.DestroyWindow();
    return ok;
}

int Run(const Options& options)
{
    WNDCLASSA frameClass{};
    frameClass.lpfnWndProc = ::DefWindowProcA;
    frameClass.hInstance = ::GetModuleHandleA(nullptr);
    frameClass.hbrBackground = static_cast<HBRUSH>(::GetStockObject(WHITE_BRUSH));
    frameClass.hCursor = ::LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_ARROW));
    frameClass.lpszClassName = kFrameClass;
    ::RegisterClassA(&frameClass);

    // Room for the tallest page at this zoom, within the screen.
    const int width = ::MulDiv(360, static_cast<int>(options.zoom), 100) + 2 * kInset;
    const int height = ::GetSystemMetrics(SM_CYSCREEN);
    HWND frame = ::CreateWindowExA(0, kFrameClass, "LVUI gallery", WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN, 0, 0, width,
                                   height, nullptr, nullptr, frameClass.hInstance, nullptr);
    if (!frame)
    {
        const DWORD error = ::GetLastError();
        std::fprintf(stderr, "LvUiGallery: CreateWindowExA failed (error %lu); is there a display?\n", error);
        return 1;
    }
    const int room = height - 2 * kInset;
    CGallery gallery(frame, options);
    bool ok = true;
    std::vector<std::string> languages = options.languages;
    if (languages.empty())
        languages.push_back("user");
    for (const std::string& language : languages)
    {
        LANGID id = 0; // "user": the user's own language
        LanguageId(language, id);
        LvUiSetLanguage(id);
        for (const bool highContrast : {false, true})
        {
            if (highContrast && !options.highContrast)
                continue;
            LvUiSetHighContrast(highContrast ? 1 : -1);
            gallery.Name(language, highContrast);
            ok = ShowEveryPage(gallery, frame, options.zoom, room) && ok;
        }
    }
    LvUiSetHighContrast(-1);
    LvUiSetLanguage(0);
    ::DestroyWindow(frame);
    return ok ? 0 : 1;
}
} // namespace

int main(int argc, char** argv)
{
    Options options;
    if (!ParseOptions(argc, argv, options))
    {
        std::fprintf(stderr, "usage: LvUiGallery --zoom N --out DIR [--langs en,ja,ar,...] [--high-contrast]\n");
        return 2;
    }
    return Run(options);
}
