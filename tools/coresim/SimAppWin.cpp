#include "tools/coresim/SimAppWin.h"

#include "tools/coresim/SimAnswer.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace
{
constexpr CoreEvent kServedEvents[] = {CoreEvent::RequestA, CoreEvent::RequestB, CoreEvent::RequestC,
                                       CoreEvent::RequestD, CoreEvent::RequestE};
constexpr DWORD kServedCount = sizeof(kServedEvents) / sizeof(kServedEvents[0]);

const CoreEventName& EventEntry(CoreEvent event)
{
    return kCoreEvents[static_cast<int>(event)];
}

const char* EventLetter(CoreEvent event)
{
    // The five request events, in their order; the others have no letter.
    constexpr const char* kLetters[] = {"A", "B", "C", "D", "?", "E"};
    const auto index = static_cast<std::size_t>(event);
    return index < std::size(kLetters) ? kLetters[index] : "?";
}
} // namespace

CSimApp::CSimApp(const SimOptions& options, const CSimVault& vault, CSimLog& log)
    : m_options(options), m_settings(options.settings), m_vault(vault), m_log(log), m_window(m_messages, *this)
{
}

int CSimApp::Run()
{
    if (!Start())
        return 1;
    Serve();
    m_log.Write("stop");
    return 0;
}

bool CSimApp::Start()
{
    std::string error;
    if (!m_objects.Open(error) || !m_window.Create(error) || !m_stdin.Start(error))
    {
        std::fprintf(stderr, "SimLvEngine (stand-in core): %s\n", error.c_str());
        m_log.Write("error", CJsonLine().AddString("message", error));
        return false;
    }

    ShowEnrolment();
    const DWORD pid = ::GetCurrentProcessId();
    m_log.Write("start", CJsonLine()
                             .AddUnsigned("pid", pid)
                             .AddUnsigned("window", WindowNumber(m_window.Handle()))
                             .AddString("windowKind", m_window.IsMessageOnly() ? "message-only" : "top-level")
                             .AddBool("createdBlock", m_objects.CreatedBlock())
                             .AddUnsigned("vaultSites", m_vault.Size())
                             .AddBool("notEnrolled", m_settings.notEnrolled)
                             .AddString("validation", ValidationName(m_settings.validation))
                             .AddString("miss", MissName(m_settings.miss))
                             .AddUnsigned("missResult", m_settings.missResult)
                             .AddBool("noPrompt", m_settings.noPrompt)
                             .AddBool("hold", m_settings.hold));
    Reply("ready " + std::to_string(pid) + " " + std::to_string(WindowNumber(m_window.Handle())));
    return true;
}

void CSimApp::ShowEnrolment()
{
    // The core keeps the enrolment bit in the block, so that a host sees it before its first request too.
    CSimBlockLock lock(m_objects);
    std::uint32_t& flags = m_objects.Block().flags;
    flags = m_settings.notEnrolled ? (flags | kFlagNotEnrolled) : (flags & ~kFlagNotEnrolled);
}

void CSimApp::Serve()
{
    HANDLE waitSet[kServedCount + 1];
    for (DWORD i = 0; i < kServedCount; ++i)
        waitSet[i] = m_objects.Event(kServedEvents[i]);
    waitSet[kServedCount] = m_stdin.LinesReady();

    while (!m_quit)
    {
        // Waits pump the window's messages too, so the window answers while the sim idles.
        const DWORD woken =
            ::MsgWaitForMultipleObjectsEx(kServedCount + 1, waitSet, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        if (woken < WAIT_OBJECT_0 + kServedCount)
            ServeRequest(kServedEvents[woken - WAIT_OBJECT_0]);
        else if (woken == WAIT_OBJECT_0 + kServedCount)
        {
            std::string line;
            bool ended = false;
            while (!m_quit && m_stdin.Next(line, ended))
                HandleLine(line);
            if (ended)
                m_quit = true;
        }
        else if (woken == WAIT_OBJECT_0 + kServedCount + 1)
            PumpMessages();
        else
        {
            const DWORD lastError = ::GetLastError();
            m_log.Write("error", CJsonLine()
                                     .AddString("message", "MsgWaitForMultipleObjectsEx failed")
                                     .AddUnsigned("code", woken)
                                     .AddUnsigned("lastError", lastError));
            return;
        }
    }
}

void CSimApp::PumpMessages()
{
    MSG msg;
    while (::PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE))
    {
        if (msg.message == WM_QUIT)
        {
            m_quit = true;
            return;
        }
        ::TranslateMessage(&msg);
        ::DispatchMessageA(&msg);
    }
}

SimBlockView CSimApp::ReadBlock()
{
    // A copy first, so that decoding never reads memory another process is writing.
    BHOSharedData copy;
    {
        CSimBlockLock lock(m_objects);
        std::memcpy(&copy, &m_objects.Block(), sizeof(copy));
    }
    return DecodeBlock(copy);
}

void CSimApp::ServeRequest(CoreEvent event)
{
    if (EventEntry(event).manualReset)
        ::ResetEvent(m_objects.Event(event));

    const SimBlockView request = ReadBlock();
    if (request.hostWindow != 0)
        m_lastHostWindow = request.hostWindow;
    CJsonLine line;
    line.AddString("eventName", EventLetter(event)).AddUnsigned("code", request.requestCode);
    AddBlockFields(line, request);
    m_log.Write("request", line);

    if (m_settings.hold)
    {
        m_held.push_back(request);
        m_log.Write("held", CJsonLine().AddUnsigned("code", request.requestCode).AddUnsigned("held", m_held.size()));
        return;
    }
    Answer(request);
}

void CSimApp::Answer(const SimBlockView& request)
{
    const SimAnswer answer = AnswerRequest(request, m_settings, m_vault);
    if (answer.vaultChanged || answer.settingsChanged)
        SaveVaultIfAsked();

    {
        CSimBlockLock lock(m_objects);
        BHOSharedData& block = m_objects.Block();
        if (answer.writeFill)
            WriteFillScript(block, request.requestKey, answer.fill);
        if (answer.setHostContext)
            block.hostContext = WindowNumber(m_window.Handle());
        block.flags = answer.flags;
        block.result = answer.result;
    }
    // !! LOAD BEARING !! The host reads result and flags as soon as the complete event is set.
    ::SetEvent(m_objects.Event(CoreEvent::Complete));

    m_log.Write("answer", CJsonLine()
                              .AddUnsigned("code", request.requestCode)
                              .AddUnsigned("result", answer.result)
                              .AddUnsigned("flags", answer.flags)
                              .AddBool("fill", answer.writeFill)
                              .AddBool("stored", answer.vaultChanged));

    // A verification that ends at once, while the host still waits for the pending validation's outcome.
    if (answer.setHostContext && !m_pushOnPending.empty())
    {
        const std::vector<std::string> words = std::move(m_pushOnPending);
        m_pushOnPending.clear();
        RunPushCopyData(words);
    }
}

void CSimApp::SaveVaultIfAsked()
{
    if (m_options.saveVaultFile.empty())
        return;
    std::string error;
    if (!m_vault.Save(m_options.saveVaultFile, m_settings.noPrompt, error))
        m_log.Write("error", CJsonLine().AddString("message", error));
}

void CSimApp::OnRegisteredMessage(const char* name, WPARAM wParam, LPARAM lParam)
{
    CJsonLine line;
    line.AddString("name", name)
        .AddUnsigned("wParam", static_cast<std::uint64_t>(wParam))
        .AddInt("lParam", static_cast<std::int64_t>(lParam));
    if (std::strcmp(name, kMsgDoValidateUser) == 0)
    {
        line.AddString("validation", ValidationName(m_settings.validation));
        if (m_settings.validation != SimValidation::None)
            ::SetEvent(m_objects.Event(CoreEvent::ValidationAcknowledge));
        if (m_settings.validation == SimValidation::Granted)
            ::SetEvent(m_objects.Event(CoreEvent::ValidationGranted));
        else if (m_settings.validation == SimValidation::Denied)
            ::SetEvent(m_objects.Event(CoreEvent::ValidationDenied));
    }
    // Logged after the events are set, so that a reader of the log finds them set.
    m_log.Write("message", line);
}

LRESULT CSimApp::OnCopyData(WPARAM wParam, const COPYDATASTRUCT& data)
{
    // The record is decoded from a zeroed copy of at most its own size, whatever cbData says.
    BHOCopyData record{};
    if (data.lpData)
        std::memcpy(&record, data.lpData, data.cbData < sizeof(record) ? data.cbData : sizeof(record));
    m_log.Write("copydata", CJsonLine()
                                .AddUnsigned("wParam", static_cast<std::uint64_t>(wParam))
                                .AddUnsigned("dwData", static_cast<std::uint64_t>(data.dwData))
                                .AddUnsigned("cbData", data.cbData)
                                .AddUnsigned("devId", record.devId)
                                .AddString("strDevId", ReadFixed(record.strDevId, sizeof(record.strDevId)))
                                .AddString("message", ReadFixed(record.message, sizeof(record.message)))
                                .AddInt("status", static_cast<std::int32_t>(record.status))
                                .AddString("text2", ReadFixed(record.text2, sizeof(record.text2))));
    return 1;
}

void CSimApp::Reply(const std::string& line)
{
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}
