#pragma once
// The host the client talks to: a child process with its standard input and output on pipes and its standard
// error shared with the client's.

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class IHostProcess
{
public:
    virtual ~IHostProcess() = default;
    // Writes all bytes; false when the host's input is closed.
    virtual bool Write(const char* data, std::size_t size) = 0;
    // Ends the host's input (the browser closing the port).
    virtual void CloseInput() = 0;
    // Blocks for the next bytes of the host's output; 0 at its end.
    virtual std::size_t Read(char* buffer, std::size_t size) = 0;
    // The exit code once the host has ended within `timeoutMs`; nothing otherwise.
    virtual std::optional<int> WaitForExit(unsigned timeoutMs) = 0;
    // Ends the host by force (only the process the client started).
    virtual void Kill() = 0;
    virtual long Id() const = 0;
};

// Starts `argv` (argv[0] looked up on the path). On failure returns null and says why in `error`.
std::unique_ptr<IHostProcess> StartHostProcess(const std::vector<std::string>& argv, std::string& error);
