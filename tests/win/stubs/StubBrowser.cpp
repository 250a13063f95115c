// A stand-in browser window for the prompt's tests under Xvfb. It opens one visible top-level window of a given
// class (Firefox's "MozillaWindowClass" by default, or Chrome's), takes the foreground, prints "ready <window>" and
// then serves line commands on stdin, each answered by one line ("ok ..." or "error ..."):
//
//   foreground            give the window the foreground; "ok 1" when it has it
//   children              every window inside the browser window, as one JSON array: hwnd, parent, class, text
//                         (GetWindowTextW, as UTF-8),
//                         x and y relative to the browser's client area, w, h, visible
//   click HWND            posts BM_CLICK to a button (in any process)
//   settext HWND TEXT     sends WM_SETTEXT (the rest of the line is the text)
//   notify EVENT HWND     NotifyWinEvent(EVENT, HWND, OBJID_CLIENT, 0), as the system does on a focus change
//   child CLASS           makes a child window of that class inside the browser window and focuses it: "ok HWND"
//   minimize              minimises the browser window
//   desktop               "ok <the desktop window>"
//   quit                  ends the program
//
// Named firefox.exe in a test's prefix, its windows are a Firefox's to the host's focus tracking.

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>

namespace
{
HWND g_browser = nullptr;

LRESULT CALLBACK WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_PAINT)
    {
        PAINTSTRUCT paint;
        HDC dc = ::BeginPaint(hwnd, &paint);
        RECT client;
        ::GetClientRect(hwnd, &client);
        HBRUSH brush = ::CreateSolidBrush(RGB(238, 241, 245));
        ::FillRect(dc, &client, brush);
        ::DeleteObject(brush);
        ::EndPaint(hwnd, &paint);
        return 0;
    }
    if (message == WM_DESTROY && hwnd == g_browser)
        ::PostQuitMessage(0);
    return ::DefWindowProcA(hwnd, message, wParam, lParam);
}

void Register(const std::string& className)
{
    WNDCLASSA windowClass{};
    windowClass.lpfnWndProc = WindowProc;
    windowClass.hInstance = ::GetModuleHandleA(nullptr);
    windowClass.hCursor = ::LoadCursor(nullptr, IDC_ARROW);
    windowClass.lpszClassName = className.c_str();
    ::RegisterClassA(&windowClass);
}

// JSON string contents: UTF-8 passes as it is, quotes, backslashes and control characters are escaped.
std::string Escape(const std::string& text)
{
    std::string out;
    for (unsigned char c : text)
    {
        if (c == '"' || c == '\\')
            out += '\\', out += static_cast<char>(c);
        else if (c < 0x20)
        {
            char code[8];
            std::snprintf(code, sizeof code, "\\u%04x", c);
            out += code;
        }
        else
            out += static_cast<char>(c);
    }
    return out;
}

BOOL CALLBACK AddChild(HWND hwnd, LPARAM param)
{
    auto& out = *reinterpret_cast<std::string*>(param);
    char className[256] = {};
    ::GetClassNameA(hwnd, className, sizeof className);
    // The text as the window holds it (UTF-16), whatever this process's code page is; sent as UTF-8.
    wchar_t wide[512] = {};
    ::GetWindowTextW(hwnd, wide, 512);
    char text[2048] = {};
    ::WideCharToMultiByte(CP_UTF8, 0, wide, -1, text, sizeof text, nullptr, nullptr);
    RECT rect{};
    ::GetWindowRect(hwnd, &rect);
    POINT origin{0, 0};
    ::ClientToScreen(g_browser, &origin);
    char line[4096];
    std::snprintf(line, sizeof line,
                  "%s{\"hwnd\":%llu,\"parent\":%llu,\"class\":\"%s\",\"text\":\"%s\",\"x\":%ld,\"y\":%ld,\"w\":%ld,"
                  "\"h\":%ld,\"visible\":%d}",
                  out.size() > 1 ? "," : "", static_cast<unsigned long long>(reinterpret_cast<UINT_PTR>(hwnd)),
                  static_cast<unsigned long long>(reinterpret_cast<UINT_PTR>(::GetParent(hwnd))),
                  Escape(className).c_str(), Escape(text).c_str(), rect.left - origin.x, rect.top - origin.y,
                  rect.right - rect.left, rect.bottom - rect.top, ::IsWindowVisible(hwnd) ? 1 : 0);
    out += line;
    return TRUE;
}

HWND ReadWindow(std::istringstream& words)
{
    unsigned long long value = 0;
    words >> value;
    return reinterpret_cast<HWND>(static_cast<UINT_PTR>(value));
}

std::string Serve(const std::string& line)
{
    std::istringstream words(line);
    std::string command;
    words >> command;
    if (command == "foreground")
    {
        ::SetForegroundWindow(g_browser);
        for (int i = 0; i < 100 && ::GetForegroundWindow() != g_browser; ++i)
            ::Sleep(10);
        return std::string("ok ") + (::GetForegroundWindow() == g_browser ? "1" : "0");
    }
    if (command == "children")
    {
        std::string out = "[";
        ::EnumChildWindows(g_browser, AddChild, reinterpret_cast<LPARAM>(&out));
        return "ok " + out + "]";
    }
    if (command == "click")
    {
        ::PostMessageA(ReadWindow(words), BM_CLICK, 0, 0);
        return "ok";
    }
    if (command == "settext")
    {
        HWND target = ReadWindow(words);
        std::string text;
        std::getline(words, text);
        if (!text.empty() && text[0] == ' ')
            text.erase(0, 1);
        ::SendMessageA(target, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
        return "ok";
    }
    if (command == "notify")
    {
        unsigned long event = 0;
        words >> std::hex >> event >> std::dec;
        ::NotifyWinEvent(event, ReadWindow(words), OBJID_CLIENT, CHILDID_SELF);
        return "ok";
    }
    if (command == "child")
    {
        std::string className;
        words >> className;
        Register(className);
        HWND child = ::CreateWindowExA(0, className.c_str(), "", WS_CHILD | WS_VISIBLE, 10, 10, 200, 100, g_browser,
                                       nullptr, ::GetModuleHandleA(nullptr), nullptr);
        if (!child)
            return "error " + std::to_string(::GetLastError());
        ::SetFocus(child);
        return "ok " + std::to_string(reinterpret_cast<UINT_PTR>(child));
    }
    if (command == "minimize")
    {
        ::ShowWindow(g_browser, SW_MINIMIZE);
        return "ok";
    }
    if (command == "desktop")
        return "ok " + std::to_string(reinterpret_cast<UINT_PTR>(::GetDesktopWindow()));
    if (command == "quit")
    {
        ::PostMessageA(g_browser, WM_CLOSE, 0, 0);
        return "ok";
    }
    return "error unknown command";
}
} // namespace

int main(int argc, char** argv)
{
    std::string className = "MozillaWindowClass";
    for (int i = 1; i + 1 < argc; ++i)
        if (std::string(argv[i]) == "--class")
            className = argv[++i];
    Register(className);
    g_browser = ::CreateWindowExA(0, className.c_str(), "Stub browser", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 1280,
                                  900, nullptr, nullptr, ::GetModuleHandleA(nullptr), nullptr);
    if (!g_browser)
    {
        std::printf("error %lu\n", ::GetLastError());
        return 1;
    }
    ::SetForegroundWindow(g_browser);
    ::UpdateWindow(g_browser);
    std::printf("ready %llu\n", static_cast<unsigned long long>(reinterpret_cast<UINT_PTR>(g_browser)));
    std::fflush(stdout);

    // Commands are served on a thread of their own; this thread pumps the window's messages.
    std::thread([] {
        std::string line;
        while (std::getline(std::cin, line))
        {
            const bool quit = line.rfind("quit", 0) == 0;
            std::printf("%s\n", Serve(line).c_str());
            std::fflush(stdout);
            if (quit)
                return;
        }
        ::PostMessageA(g_browser, WM_CLOSE, 0, 0);
    }).detach();

    MSG message;
    while (::GetMessageA(&message, nullptr, 0, 0) > 0)
    {
        ::TranslateMessage(&message);
        ::DispatchMessageA(&message);
    }
    return 0;
}
