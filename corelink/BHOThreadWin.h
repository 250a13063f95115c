#pragma once
// CBHOThread, the host's UI thread. The main thread is blocked on standard input, so every window of the host and
// the command handler live here: the thread owns COM for itself, pumps its messages (the core's among them) and
// runs the work the main thread hands it by thread message.

#include "commands/CommandHandler.h"
#include "corelink/HandlerPlatformWin.h"
#include "framework/UIThread.h"
#include "framework/Unique.h"

#include <functional>
#include <memory>

class CBHOThread : public CUIThread
{
public:
    // Makes the command handler, on this thread, once the thread's own window platform exists. The composition
    // root says what the handler is made of; the thread only says when and where.
    using HandlerFactory =
        std::function<std::unique_ptr<CLVBHOCommandHandler>(IHandlerPlatform& platform, IJsonMessage& request)>;

    CBHOThread(const CDebugLog& log, HandlerFactory makeHandler);
    ~CBHOThread() override;

    // Creates the thread suspended, hands it the request message and the writer, resumes it and waits, serving
    // messages, until its ready event is set. False when the thread could not start.
    [[nodiscard]] bool Start(IJsonMessage& request, CResponseWriter& writer);
    // Posts WM_QUIT and waits, serving messages, until the thread has ended.
    void Stop();

    // Set once InitInstance has run; null before.
    CLVBHOCommandHandler* Handler() const noexcept { return m_pHandler.get(); }
    // UI thread only.
    CHandlerPlatformWin* Platform() const noexcept { return m_pPlatform.get(); }

    // Keys that an input method editor has taken reach the windows as their real virtual keys.
    bool PreTranslateMessage(MSG& message) override;
    // UI thread only: makes a new window for the handler in place of the current one and sets the event in
    // `lParam`, always, even without a handler, since the main thread waits for it without a time-out.
    void OnCreatePromptWnd(WPARAM wParam, LPARAM lParam);

protected:
    bool InitInstance() override;
    int ExitInstance() override;
    bool OnThreadMessage(const MSG& message) override;

private:
    const CDebugLog& m_log;
    HandlerFactory m_makeHandler;
    CHandle m_hReadyEvent;
    IJsonMessage* m_pRequest = nullptr;
    CResponseWriter* m_pWriter = nullptr;
    std::unique_ptr<CHandlerPlatformWin> m_pPlatform;
    std::unique_ptr<CLVBHOCommandHandler> m_pHandler;
    bool m_comInitialised = false;
    bool m_promptWindowMade = false; // LVUI.dll is in use (UI thread only)
};
