#pragma once
// A host for the native messaging client's session: frames written to it are answered by `respond`, its output is
// read from a buffer, and it exits (or not) when its input closes.

#include "messaging/Framing.h"
#include "tools/nmclient/HostProcess.h"

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>

class CFakeHostProcess : public IHostProcess
{
public:
    // The bytes the host writes for a request body (frames, or anything else).
    std::function<std::string(const std::string& body)> respond = [](const std::string&) { return std::string(); };
    int exitCode = 0;
    bool exitsWhenInputCloses = true;
    bool killed = false;

    static std::string Frame(const std::string& body)
    {
        return EncodeFrameLength(static_cast<std::uint32_t>(body.size())) + body;
    }

    // Output the host writes on its own.
    void Push(const std::string& bytes)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_output += bytes;
        m_changed.notify_all();
    }

    bool Write(const char* data, std::size_t size) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_inputClosed || m_exited)
            return false;
        m_input.append(data, size);
        while (m_input.size() >= 4)
        {
            std::uint32_t length = 0;
            std::memcpy(&length, m_input.data(), 4); // little-endian, as the machines the tests run on
            if (m_input.size() < 4 + length)
                break;
            m_output += respond(m_input.substr(4, length));
            m_input.erase(0, 4 + length);
        }
        m_changed.notify_all();
        return true;
    }

    void CloseInput() override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_inputClosed = true;
        if (exitsWhenInputCloses)
            m_exited = true;
        m_changed.notify_all();
    }

    std::size_t Read(char* buffer, std::size_t size) override
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return !m_output.empty() || m_exited; });
        const std::size_t count = std::min(size, m_output.size());
        std::memcpy(buffer, m_output.data(), count);
        m_output.erase(0, count);
        return count;
    }

    std::optional<int> WaitForExit(unsigned timeoutMs) override
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), [this] { return m_exited; }))
            return std::nullopt;
        return killed ? 137 : exitCode;
    }

    void Kill() override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_exited)
            killed = true;
        m_exited = true;
        m_changed.notify_all();
    }

    long Id() const override { return 4242; }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::string m_input;
    std::string m_output;
    bool m_inputClosed = false;
    bool m_exited = false;
};
