#pragma once
// Reads stdin lines on a thread of its own and hands them to the main thread, whose wait set holds LinesReady().
// The thread is detached: it may sit in ReadFile until the process ends, so everything it touches lives in a
// shared state that outlives this object.

#include <windows.h>

#include <memory>
#include <string>

class CSimStdinReader
{
public:
    // Creates the event and starts the thread. On failure `error` says why.
    [[nodiscard]] bool Start(std::string& error);

    // An auto-reset event, set after each line and at the end of input.
    HANDLE LinesReady() const noexcept;

    // Takes the next line (without its line end); false when none is waiting. `ended` is true once the input has
    // ended and every line has been taken.
    bool Next(std::string& line, bool& ended);

    struct State; // shared with the reading thread

private:
    std::shared_ptr<State> m_state;
};
