// The stdin commands of CSimApp. Each command is answered by exactly one line starting with "ok" or "error".

#include "tools/coresim/SimAppWin.h"

#include "tools/coresim/SimWords.h"

namespace
{
// How long a pushed WM_COPYDATA may wait for the host; a hung host must not hang the sim.
constexpr UINT kSendTimeoutMs = 10000;
} // namespace

void CSimApp::HandleLine(const std::string& line)
{
    std::vector<std::string> words;
    std::string error;
    std::string reply;
    if (!SplitWords(line, words, error))
        reply = "error " + error;
    else if (words.empty())
        reply = "error empty command";
    else
        reply = RunCommand(words);
    m_log.Write("command", CJsonLine().AddString("line", line).AddString("reply", reply));
    Reply(reply);
}

std::string CSimApp::RunCommand(const std::vector<std::string>& words)
{
    const std::string& verb = words[0];
    if (verb == "set")
        return RunSet(words);
    if (verb == "vault")
        return RunVault(words);
    if (verb == "push" && words.size() >= 2 && words[1] == "copydata")
        return RunPushCopyData(words);
    if (verb == "push" && words.size() >= 2 && words[1] == "fill")
        return RunPushFill(words);
    if (verb == "push")
        return "error push takes copydata or fill";
    if (verb == "release")
        return RunRelease();
    if (verb == "dump")
        return RunDump();
    if (verb == "block")
        return RunBlock(words);
    if (verb == "onpending")
        return RunOnPending(words);
    if (verb == "quit")
    {
        m_quit = true;
        return "ok";
    }
    return "error unknown command " + verb;
}

std::string CSimApp::RunSet(const std::vector<std::string>& words)
{
    if (words.size() != 3)
        return "error usage: set NAME VALUE";
    const bool noPromptBefore = m_settings.noPrompt;
    std::string error;
    if (!ApplySetting(words[1], words[2], m_settings, error))
        return "error " + error;
    if (m_settings.noPrompt != noPromptBefore)
        SaveVaultIfAsked();
    ShowEnrolment();
    return "ok";
}

std::string CSimApp::RunVault(const std::vector<std::string>& words)
{
    if (words.size() >= 2 && words[1] == "add")
    {
        if (words.size() != 7 && words.size() != 8)
            return "error usage: vault add SITEKEY USER PASSWORD USERFIELD PASSFIELD [URL]";
        SimLogin login;
        login.user = words[3];
        login.password = words[4];
        login.userField = words[5];
        login.passField = words[6];
        if (words.size() == 8)
            login.url = words[7];
        m_vault.Store(words[2], login);
        SaveVaultIfAsked();
        return "ok";
    }
    if (words.size() >= 2 && words[1] == "save")
    {
        if (words.size() != 3)
            return "error usage: vault save FILE";
        std::string error;
        if (!m_vault.Save(words[2], m_settings.noPrompt, error))
            return "error " + error;
        return "ok";
    }
    return "error vault takes add or save";
}

std::string CSimApp::RunOnPending(const std::vector<std::string>& words)
{
    // "onpending push copydata ...": the push runs once, right after the next validation left pending.
    if (words.size() < 3 || words[1] != "push" || words[2] != "copydata")
        return "error usage: onpending push copydata DEVID STATUS STRDEVID MESSAGE [TEXT2]";
    m_pushOnPending.assign(words.begin() + 1, words.end());
    return "ok";
}

std::string CSimApp::RunBlock(const std::vector<std::string>& words)
{
    // Leaves the block's flags as the core leaves them, e.g. 32 for a request that is still open.
    std::uint32_t flags = 0;
    if (words.size() != 3 || words[1] != "flags" || !ParseWord(words[2], flags))
        return "error usage: block flags N";
    CSimBlockLock lock(m_objects);
    m_objects.Block().flags = flags;
    return "ok";
}

HWND CSimApp::HostWindow()
{
    std::uint64_t number = 0;
    {
        CSimBlockLock lock(m_objects);
        number = m_objects.Block().hostWindow;
    }
    // A host clears the block when it has consumed a fill; like the core, the sim remembers whom it served last.
    if (number == 0)
        number = m_lastHostWindow;
    else
        m_lastHostWindow = number;
    const auto hwnd = reinterpret_cast<HWND>(static_cast<std::uintptr_t>(number));
    return number != 0 && ::IsWindow(hwnd) ? hwnd : nullptr;
}

std::string CSimApp::RunPushCopyData(const std::vector<std::string>& words)
{
    if (words.size() != 6 && words.size() != 7)
        return "error usage: push copydata DEVID STATUS STRDEVID MESSAGE [TEXT2]";
    BHOCopyData record{};
    if (!ParseWord(words[2], record.devId))
        return "error bad DEVID " + words[2];
    if (!ParseWord(words[3], record.status))
        return "error bad STATUS " + words[3];
    WriteFixed(record.strDevId, sizeof(record.strDevId), words[4]);
    WriteFixed(record.message, sizeof(record.message), words[5]);
    if (words.size() == 7)
        WriteFixed(record.text2, sizeof(record.text2), words[6]);

    const HWND host = HostWindow();
    if (!host)
        return "error no host window";
    COPYDATASTRUCT data{};
    data.dwData = kCopyDataKind;
    data.cbData = sizeof(record);
    data.lpData = &record;
    DWORD_PTR result = 0;
    if (!::SendMessageTimeoutA(host, WM_COPYDATA, reinterpret_cast<WPARAM>(m_window.Handle()),
                               reinterpret_cast<LPARAM>(&data), SMTO_NORMAL, kSendTimeoutMs, &result))
    {
        const DWORD lastError = ::GetLastError();
        return "error SendMessage failed with " + std::to_string(lastError);
    }
    m_log.Write("push", CJsonLine()
                            .AddString("kind", "copydata")
                            .AddUnsigned("hostWindow", WindowNumber(host))
                            .AddUnsigned("devId", record.devId)
                            .AddInt("status", static_cast<std::int32_t>(record.status))
                            .AddString("strDevId", ReadFixed(record.strDevId, sizeof(record.strDevId)))
                            .AddString("message", ReadFixed(record.message, sizeof(record.message)))
                            .AddString("text2", ReadFixed(record.text2, sizeof(record.text2)))
                            .AddInt("result", static_cast<std::int64_t>(result)));
    return "ok " + std::to_string(static_cast<std::int64_t>(result));
}

std::string CSimApp::RunPushFill(const std::vector<std::string>& words)
{
    if (words.size() != 3)
        return "error usage: push fill SITEKEY";
    const SimLogin* login = m_vault.Find(words[2]);
    if (!login)
        return "error unknown site";
    const HWND host = HostWindow();
    if (!host)
        return "error no host window";

    {
        CSimBlockLock lock(m_objects);
        WriteFillScript(m_objects.Block(), words[2], BuildFillScript(*login));
    }
    const BOOL posted = ::PostMessageA(host, m_messages.Id(kMsgCoreWakeUp), 0, 0);
    m_log.Write("push", CJsonLine()
                            .AddString("kind", "fill")
                            .AddUnsigned("hostWindow", WindowNumber(host))
                            .AddString("siteKey", words[2])
                            .AddBool("posted", posted != FALSE));
    if (!posted)
    {
        const DWORD lastError = ::GetLastError();
        return "error PostMessage failed with " + std::to_string(lastError);
    }
    return "ok";
}

std::string CSimApp::RunRelease()
{
    if (m_held.empty())
        return "error nothing held";
    const std::size_t count = m_held.size();
    m_log.Write("release", CJsonLine().AddUnsigned("count", count));
    while (!m_held.empty())
    {
        const SimBlockView request = m_held.front();
        m_held.pop_front();
        Answer(request);
    }
    return "ok " + std::to_string(count);
}

std::string CSimApp::RunDump()
{
    CJsonLine line;
    AddBlockFields(line, ReadBlock());
    return "ok " + line.Text();
}
