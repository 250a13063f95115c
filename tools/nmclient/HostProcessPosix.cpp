#include "tools/nmclient/HostProcess.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace
{
// One owned file descriptor.
class CFd
{
public:
    CFd() = default;
    explicit CFd(int fd) : m_fd(fd) {}
    CFd(CFd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    CFd& operator=(CFd&& other) noexcept
    {
        if (this != &other)
        {
            Close();
            m_fd = std::exchange(other.m_fd, -1);
        }
        return *this;
    }
    CFd(const CFd&) = delete;
    CFd& operator=(const CFd&) = delete;
    ~CFd() { Close(); }

    int Get() const { return m_fd; }
    bool IsValid() const { return m_fd >= 0; }
    void Close()
    {
        if (m_fd >= 0)
            close(m_fd);
        m_fd = -1;
    }

private:
    int m_fd = -1;
};

struct CPipe
{
    CFd read;
    CFd write;
    bool Open()
    {
        int fds[2];
        if (pipe(fds) != 0)
            return false;
        read = CFd(fds[0]);
        write = CFd(fds[1]);
        return true;
    }
};

class CHostProcessPosix final : public IHostProcess
{
public:
    CHostProcessPosix(pid_t pid, CFd input, CFd output)
        : m_pid(pid), m_input(std::move(input)), m_output(std::move(output))
    {
    }
    ~CHostProcessPosix() override
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
            const ssize_t written = write(m_input.Get(), data, size);
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0)
                return false;
            data += written;
            size -= static_cast<std::size_t>(written);
        }
        return size == 0;
    }

    void CloseInput() override { m_input.Close(); }

    std::size_t Read(char* buffer, std::size_t size) override
    {
        for (;;)
        {
            const ssize_t count = read(m_output.Get(), buffer, size);
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
    CFd m_input;
    CFd m_output;
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
    CPipe toHost, fromHost, execFailed;
    if (!toHost.Open() || !fromHost.Open() || !execFailed.Open())
    {
        error = std::string("pipe: ") + std::strerror(errno);
        return nullptr;
    }
    fcntl(execFailed.write.Get(), F_SETFD, FD_CLOEXEC);
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
        dup2(toHost.read.Get(), STDIN_FILENO);
        dup2(fromHost.write.Get(), STDOUT_FILENO);
        for (const int fd :
             {toHost.read.Get(), toHost.write.Get(), fromHost.read.Get(), fromHost.write.Get(), execFailed.read.Get()})
            close(fd);
        std::signal(SIGPIPE, SIG_DFL);
        std::vector<char*> args;
        for (const std::string& arg : argv)
            args.push_back(const_cast<char*>(arg.c_str()));
        args.push_back(nullptr);
        execvp(args[0], args.data());
        const int code = errno;
        (void)!write(execFailed.write.Get(), &code, sizeof code);
        _exit(127);
    }
    toHost.read.Close();
    fromHost.write.Close();
    execFailed.write.Close();
    int code = 0;
    ssize_t got;
    do
        got = read(execFailed.read.Get(), &code, sizeof code);
    while (got < 0 && errno == EINTR);
    if (got == static_cast<ssize_t>(sizeof code))
    {
        error = "cannot start " + argv[0] + ": " + std::strerror(code);
        waitpid(pid, nullptr, 0);
        return nullptr;
    }
    return std::make_unique<CHostProcessPosix>(pid, std::move(toHost.write), std::move(fromHost.read));
}
