#include "tools/nmclient/HostProcess.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{
class CHostProcessPosix final : public IHostProcess
{
public:
    CHostProcessPosix(pid_t pid, int input, int output) : m_pid(pid), m_input(input), m_output(output) {}
    ~CHostProcessPosix() override
    {
        CloseInput();
        if (m_output >= 0)
            close(m_output);
        if (!m_exitCode)
        {
            Kill();
            WaitForExit(5000);
        }
    }

    bool Write(const char* data, std::size_t size) override
    {
        while (size > 0 && m_input >= 0)
        {
            const ssize_t written = write(m_input, data, size);
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0)
                return false;
            data += written;
            size -= static_cast<std::size_t>(written);
        }
        return size == 0;
    }

    void CloseInput() override
    {
        if (m_input >= 0)
            close(m_input);
        m_input = -1;
    }

    std::size_t Read(char* buffer, std::size_t size) override
    {
        for (;;)
        {
            const ssize_t count = read(m_output, buffer, size);
            if (count < 0 && errno == EINTR)
                continue;
            return count > 0 ? static_cast<std::size_t>(count) : 0;
        }
    }

    std::optional<int> WaitForExit(unsigned timeoutMs) override
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        while (!m_exitCode)
        {
            int status = 0;
            const pid_t done = waitpid(m_pid, &status, WNOHANG);
            if (done == m_pid)
                m_exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            else if (done < 0 || std::chrono::steady_clock::now() >= end)
                break;
            else
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return m_exitCode;
    }

    void Kill() override
    {
        if (!m_exitCode)
            kill(m_pid, SIGKILL);
    }

    long Id() const override { return static_cast<long>(m_pid); }

private:
    pid_t m_pid;
    int m_input;
    int m_output;
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
    int toHost[2];
    int fromHost[2];
    int execFailed[2];
    if (pipe(toHost) != 0 || pipe(fromHost) != 0 || pipe(execFailed) != 0)
    {
        error = std::string("pipe: ") + std::strerror(errno);
        return nullptr;
    }
    fcntl(execFailed[1], F_SETFD, FD_CLOEXEC);
    // A host that ends early must not kill the client with SIGPIPE: writes report it instead.
    std::signal(SIGPIPE, SIG_IGN);

    const pid_t pid = fork();
    if (pid < 0)
    {
        error = std::string("fork: ") + std::strerror(errno);
        return nullptr;
    }
    if (pid == 0)
    {
        dup2(toHost[0], STDIN_FILENO);
        dup2(fromHost[1], STDOUT_FILENO);
        close(toHost[0]);
        close(toHost[1]);
        close(fromHost[0]);
        close(fromHost[1]);
        close(execFailed[0]);
        std::signal(SIGPIPE, SIG_DFL);
        std::vector<char*> args;
        for (const std::string& arg : argv)
            args.push_back(const_cast<char*>(arg.c_str()));
        args.push_back(nullptr);
        execvp(args[0], args.data());
        const int code = errno;
        (void)!write(execFailed[1], &code, sizeof code);
        _exit(127);
    }
    close(toHost[0]);
    close(fromHost[1]);
    close(execFailed[1]);
    int code = 0;
    ssize_t got;
    do
        got = read(execFailed[0], &code, sizeof code);
    while (got < 0 && errno == EINTR);
    close(execFailed[0]);
    if (got == static_cast<ssize_t>(sizeof code))
    {
        error = "cannot start " + argv[0] + ": " + std::strerror(code);
        close(toHost[1]);
        close(fromHost[0]);
        waitpid(pid, nullptr, 0);
        return nullptr;
    }
    return std::make_unique<CHostProcessPosix>(pid, toHost[1], fromHost[0]);
}
