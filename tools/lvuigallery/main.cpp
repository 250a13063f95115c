// LvUiGallery.exe --zoom N --out DIR: shows every page of LVUI.dll's dialogs at one zoom, as the host does, and
// saves what each looks like as DIR\page1-zN.bmp ... page5-zN.bmp, pin-zN.bmp and pin-bad-zN.bmp (one line per
// file on stdout). Needs a display (under Wine: an X server). Exit codes: 0 done, 1 a page failed, 2 bad arguments.

#include "WindowCapture.h"

#include "LvUi.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace
{
constexpr const char* kFrameClass = "LvUiGalleryFrame";
constexpr int kInset = 24;
constexpr DWORD kChildStyle = 0x40000000; // WS_CHILD, as the host passes it
constexpr DWORD kSampleCode = 0x44525675; // "DRVu"

struct Options
{
    long zoom = 100;
    std::string out;
};

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

    bool Capture(CKvrnDhtmlDlg& dialog, const std::string& name)
    {
        Settle(m_frame);
        std::string path = m_options.out;
        if (!path.empty() && path.back() != '\\' && path.back() != '/')
            path += '\\';
        path += name + "-z" + std::to_string(m_options.zoom) + ".bmp";
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
};

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
    const int height = std::min(::GetSystemMetrics(SM_CYSCREEN), ::MulDiv(420, static_cast<int>(options.zoom), 100));
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

    CLvBhoPromptDlgUI prompt;
    prompt.SetZoom(options.zoom);
    // As the host does at start: the window is made on page "1" and hidden at once.
    ok = ShowBHOPromptUI(&prompt, frame, frame, kChildStyle, "1", kInset, kInset, 0, 0, "") != 0;
    prompt.ShowWindow(SW_HIDE);
    for (const char* page : {"1", "2", "3", "4", "5"})
    {
        if (std::strcmp(page, "3") == 0)
            prompt.SetMessage(kSampleCode, "Approve the sign-in on your phone");
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
    pin.SetZoom(options.zoom);
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
    ::DestroyWindow(frame);
    return ok ? 0 : 1;
}
} // namespace

int main(int argc, char** argv)
{
    Options options;
    if (!ParseOptions(argc, argv, options))
    {
        std::fprintf(stderr, "usage: LvUiGallery --zoom N --out DIR\n");
        return 2;
    }
    return Run(options);
}
