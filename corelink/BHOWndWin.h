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
#include <memory>
#include <set>

class CBHOWnd : public CMsgWindow
{
public:
    explicit CBHOWnd(CResponseWriter& writer) : m_writer(writer), m_pJson(std::make_shared<JsonCPPWrapper>()) {}
    // Destroys the window while this object can still see its last messages, and frees the copies of records
    // whose re-posted message will now never be served.
    ~CBHOWnd() override;

    // Creates the window, titled with the handler's browser name, and lets the core's two messages through the
    // message filter, since the core may run at another integrity level. False when the window cannot be made.
    [[nodiscard]] bool Create(CLVBHOCommandHandler* handler);
    virtual bool IsPromptWindow() const { return false; }

protected:
    bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result) override;
    // Runs once the window exists, at the end of a successful Create.
    virtual void OnCreated() {}
    // "ValidateAsyncMsg": `record` came from malloc and is freed here when wParam is 0. Returns 1.
    virtual LRESULT OnCopyData(WPARAM wParam, BHOCopyData* record);
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
    // Copies posted to this window and not yet served.
    std::set<BHOCopyData*> m_pendingCopies;
};
