#pragma once
// CBHOWnd, the host's hidden message window. The core reaches the host through it: WM_COPYDATA records (the
// outcome of a validation) and the wake-up message (a fill script waits in the block). Both are re-posted to the
// window itself, so that the core's SendMessage returns at once and the work runs later on the UI thread, where
// they leave as unsolicited messages to the extension. UI thread only.

#include "commands/CommandHandler.h"
#include "framework/MsgWindow.h"
#include "messaging/JsonCppWrapper.h"
#include "messaging/Responses.h"

#include <cstdint>
#include <map>
#include <memory>

class CBHOWnd : public CMsgWindow
{
public:
    explicit CBHOWnd(CResponseWriter& writer) : m_writer(writer), m_pJson(std::make_shared<JsonCPPWrapper>()) {}
    // Destroys the window while this object can still see its last messages.
    ~CBHOWnd() override;

    // Creates the window, titled with the handler's browser name, and lets the core's two messages through the
    // message filter, since the core may run at another integrity level. False when the window cannot be made.
    [[nodiscard]] bool Create(CLVBHOCommandHandler* handler);
    virtual bool IsPromptWindow() const { return false; }

protected:
    bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result) override;
    // Runs once the window exists, at the end of a successful Create.
    virtual void OnCreated() {}
    // "ValidateAsyncMsg" from the core's record. Returns 1.
    virtual LRESULT OnCopyData(const BHOCopyData& record);
    // "FormFill". Returns 0.
    LRESULT OnAutoFill();

    CLVBHOCommandHandler* Handler() const noexcept { return m_pHandler; }
    // The message the replies are built in, and the writer they leave through.
    IJsonMessage& Json() noexcept { return *m_pJson; }
    CResponseWriter& Writer() noexcept { return m_writer; }

private:
    CResponseWriter& m_writer;
    CLVBHOCommandHandler* m_pHandler = nullptr;
    std::shared_ptr<JsonCPPWrapper> m_pJson;
    // The core's records, copied whole, until the message re-posted for each is served: the message carries only
    // the ticket, so a message anyone else posts finds nothing.
    std::map<std::uint64_t, BHOCopyData> m_pendingCopies;
    std::uint64_t m_nextTicket = 1;
};
