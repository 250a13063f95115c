#pragma once
// One conversation of the native messaging client with a host: requests sent from a script, the host's output read
// on a thread of its own, every event printed as a timestamped line, and the verdict at the end. Portable; the host
// comes through IHostProcess.

#include "tools/nmclient/HostProcess.h"
#include "tools/nmclient/NmSession.h"

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <istream>
#include <mutex>
#include <string>
#include <thread>

class CClientSession
{
public:
    // `print` gets each output line (without its line feed), one call at a time.
    using LinePrinter = std::function<void(const std::string&)>;

    CClientSession(IHostProcess& host, unsigned timeoutMs, LinePrinter print);
    // Ends the host if its output has not ended, and waits a little for the reader; a reader still blocked then (a
    // descendant of the host holds the output open) is left behind, so the program should end soon after.
    ~CClientSession();
    CClientSession(const CClientSession&) = delete;
    CClientSession& operator=(const CClientSession&) = delete;

    // Starts reading the host's output.
    void Start();
    // Runs a session script: every line as ParseScriptLine reads it.
    void RunScript(std::istream& script);
    void Send(const std::string& body);
    // Until every request has its answer, the output has ended, or `timeoutMs` have passed.
    void WaitForAnswers(unsigned timeoutMs);
    void CloseInput();
    // Waits for the outstanding answers and the host's exit (ending it after the time-out), prints the summary and
    // returns the client's exit code: 0 when every request was answered, nothing was malformed or undelivered, and
    // the host exited by itself with 0; 1 otherwise.
    int Finish();
    void Note(const std::string& text);

private:
    void Print(const std::string& text); // with the lock held
    void ReadOutput();
    void Show(const ReceivedFrame& frame, Clock::time_point when);

    IHostProcess& m_host;
    const unsigned m_timeoutMs;
    const LinePrinter m_print;
    const Clock::time_point m_start;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    CFrameAssembler m_assembler;
    CRequestTracker m_tracker;
    std::thread m_reader;
    bool m_outputEnded = false;
    bool m_inputClosed = false;
    std::size_t m_sent = 0;
    std::size_t m_unsolicited = 0;
    std::size_t m_malformed = 0;
    std::size_t m_problems = 0;
};

// A body shown with its odd bytes escaped as \xNN and cut after `limit` bytes.
std::string PrintableBody(const std::string& bytes, std::size_t limit = 200);
