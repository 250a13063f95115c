#include "tools/nmclient/HostProcess.h"

#include "framework/Unique.h"

#include <utility>

namespace
{
// Quotes one argument the way the C runtime splits a command line back into arguments.
std::string QuoteArgument(const std::string& arg)
{
    if (!arg.empty() && arg.find_first_of(" \t\"") == std::string::npos)
        return arg;
    std::string quoted = "\"";
    std::size_t backslashes = 0;
    for (char c : arg)
    {
        if (c == '\\')
        {
            ++backslashes;
            continue;
        }
        quoted.append(c == '"' ? backslashes * 2 + 1 : backslashes, '\\');
        backslashes = 0;
        quoted += c;
    }
    quoted.append(backslashes * 2, '\\');
    return quoted + "\"";
}

class CHostProcessWin final : public IHostProcess
{
public:
    CHostProcessWin(CHandle process, CHandle input, CHandle output, DWORD id)
        : m_process(std::move(process)), m_input(std::move(input)), m_output(std::move(output)), m_id(id)
    {
    }
    ~CHostProcessWin() override
    {
        CloseInput();
        m_output.Close();
        if (!m_exitCode)
        {
            Kill();
            WaitForExit(5000);
        }
    }

    bool Write(const char* data, std::size_t size) override
    {
        while (size > 0 && m_input.IsValid())
        {
            DWORD written = 0;
            const DWORD chunk = size > kMaxChunk ? kMaxChunk : static_cast<DWORD>(size);
            if (!WriteFile(m_input.Get(), data, chunk, &written, nullptr) || written == 0)
                return false;
            data += written;
            size -= written;
        }
        return size == 0;
    }

    void CloseInput() override { m_input.Close(); }

    std::size_t Read(char* buffer, std::size_t size) override
    {
        DWORD count = 0;
        const DWORD chunk = size > kMaxChunk ? kMaxChunk : static_cast<DWORD>(size);
        if (!ReadFile(m_output.Get(), buffer, chunk, &count, nullptr))
            return 0;
        return count;
    }

    std::optional<int> WaitForExit(unsigned timeoutMs) override
    {
        if (!m_exitCode && WaitForSingleObject(m_process.Get(), timeoutMs) == WAIT_OBJECT_0)
        {
            DWORD code = 0;
            GetExitCodeProcess(m_process.Get(), &code);
            m_exitCode = static_cast<int>(code);
        }
        return m_exitCode;
    }

    void Kill() override
    {
        if (!m_exitCode)
            TerminateProcess(m_process.Get(), 1);
    }

    long Id() const override { return static_cast<long>(m_id); }

private:
    static constexpr DWORD kMaxChunk = 0x10000000;
    CHandle m_process;
    CHandle m_input;
    CHandle m_output;
    DWORD m_id;
    std::optional<int> m_exitCode;
};
} // namespace

std::unique_ptr<IHostProcess> StartHostProcess(const std::vector<std::string>& argv, std::string& error)
{
    if (argv.empty())
    {
        error = "no host command";
        return nullptr;
    }
    std::string commandLine;
    for (const std::string& arg : argv)
        commandLine += (commandLine.empty() ? "" : " ") + QuoteArgument(arg);

    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    HANDLE rawChildInput = nullptr, rawInput = nullptr, rawOutput = nullptr, rawChildOutput = nullptr;
    const bool piped =
        CreatePipe(&rawChildInput, &rawInput, &inherit, 0) && CreatePipe(&rawOutput, &rawChildOutput, &inherit, 0);
    CHandle childInput(rawChildInput), input(rawInput), output(rawOutput), childOutput(rawChildOutput);
    if (!piped)
    {
        error = "cannot create pipes (error " + std::to_string(GetLastError()) + ")";
        return nullptr;
    }
    // Only the child's ends are inherited.
    SetHandleInformation(input.Get(), HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(output.Get(), HANDLE_FLAG_INHERIT, 0);

    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = childInput.Get();
    startup.hStdOutput = childOutput.Get();
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION info{};
    if (!CreateProcessA(nullptr, &commandLine[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &info))
    {
        error = "cannot start " + argv[0] + " (error " + std::to_string(GetLastError()) + ")";
        return nullptr;
    }
    CHandle thread(info.hThread);
    return std::make_unique<CHostProcessWin>(CHandle(info.hProcess), std::move(input), std::move(output),
                                             info.dwProcessId);
}
