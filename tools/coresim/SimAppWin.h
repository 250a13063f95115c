#pragma once
// The stand-in core at run time: serves the request events, the window's messages and the stdin commands, all on
// the main thread. See README.md for the commands and the log.

#include "tools/coresim/SimBlock.h"
#include "tools/coresim/SimLog.h"
#include "tools/coresim/SimObjectsWin.h"
#include "tools/coresim/SimOptions.h"
#include "tools/coresim/SimStdinWin.h"
#include "tools/coresim/SimVault.h"
#include "tools/coresim/SimWindowWin.h"

#include <windows.h>

#include <deque>
#include <string>
#include <vector>

class CSimApp final : public ISimWindowSink
{
public:
    CSimApp(const SimOptions& options, const CSimVault& vault, CSimLog& log);

    // Creates the objects and the window, prints the ready line and serves until `quit` or the end of stdin.
    // Returns the process exit code: 0 after a normal end, 1 when the start failed.
    int Run();

    // ISimWindowSink
    void OnRegisteredMessage(const char* name, WPARAM wParam, LPARAM lParam) override;
    LRESULT OnCopyData(WPARAM wParam, const COPYDATASTRUCT& data) override;

private:
    bool Start();
    void Serve();
    void PumpMessages();
    void ServeRequest(CoreEvent event);
    void Answer(const SimBlockView& request);
    SimBlockView ReadBlock();
    void SaveVaultIfAsked();

    // Commands (SimCommandsWin.cpp); each returns the reply line without its line end.
    void HandleLine(const std::string& line);
    std::string RunCommand(const std::vector<std::string>& words);
    std::string RunSet(const std::vector<std::string>& words);
    std::string RunVault(const std::vector<std::string>& words);
    std::string RunPushCopyData(const std::vector<std::string>& words);
    std::string RunPushFill(const std::vector<std::string>& words);
    std::string RunRelease();
    std::string RunDump();
    std::string RunBlock(const std::vector<std::string>& words);
    std::string RunOnPending(const std::vector<std::string>& words);
    // The "push copydata" words to run once after the next validation left pending.
    std::vector<std::string> m_pushOnPending;
    // Writes the not-enrolled setting into the block's flags.
    void ShowEnrolment();
    // The host window of the last request or push, for pushes after a host has cleared the block.
    std::uint64_t m_lastHostWindow = 0;
    // The host window named in the block, or null when there is none.
    HWND HostWindow();
    void Reply(const std::string& line);

    SimOptions m_options;
    SimSettings m_settings;
    CSimVault m_vault;
    CSimLog& m_log;
    CSimMessages m_messages;
    CSimObjects m_objects;
    CSimWindow m_window;
    CSimStdinReader m_stdin;
    std::deque<SimBlockView> m_held; // requests recorded under `hold`, oldest first
    bool m_quit = false;
};
