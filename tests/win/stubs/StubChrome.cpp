// A stand-in for chrome.exe in tests: it appends its command line to "StubChrome.log" beside itself and exits.
// Registered under App Paths in a test's Wine prefix, it is what ShellExecuteA("chrome.exe", ...) starts.

#include <windows.h>

#include <cstdio>
#include <string>

int main()
{
    char path[MAX_PATH] = {};
    ::GetModuleFileNameA(nullptr, path, MAX_PATH);
    std::string log(path);
    log.erase(log.find_last_of("\\/") + 1);
    log += "StubChrome.log";
    if (std::FILE* file = std::fopen(log.c_str(), "a"))
    {
        std::fprintf(file, "%s\n", ::GetCommandLineA());
        std::fclose(file);
    }
    return 0;
}
