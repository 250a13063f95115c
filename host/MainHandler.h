#pragma once
// Messaging mode: brings the host up (update guard, core link, messages, language, UI thread), runs the message
// loop until the browser closes the channel, and brings it down again in the reverse order.

#include "commands/ICommandHandler.h"
#include "config/DebugLog.h"
#include "config/IRegistry.h"
#include "config/ProcessValues.h"
#include "corelink/ProcessQuery.h"
#include "messaging/ByteStream.h"
#include "messaging/Responses.h"

#include <cstdint>

// The operating system's part of messaging mode.
class IMessagingPlatform
{
public:
    virtual ~IMessagingPlatform() = default;
    virtual IProcessQuery& Processes() = 0;
    // The process-wide null-DACL security attributes for the host's own objects.
    [[nodiscard]] virtual bool InitSecurityAttributes() = 0;
    // Creates or opens the shared block, the nine events and the block mutex.
    [[nodiscard]] virtual bool InitSharedMemory() = 0;
    virtual void CloseSharedMemory() = 0;
    // Starts the UI thread suspended, hands it the request message and the writer, resumes it and waits, serving
    // messages, until it is ready. Returns the command handler the thread made, or null when it could not start.
    virtual ICommandHandler* StartUiThread(IJsonMessage& request, CResponseWriter& writer) = 0;
    // Posts WM_QUIT to the UI thread and waits, serving messages, until it has ended.
    virtual void StopUiThread() = 0;
};

struct MessagingEnvironment
{
    IRegistry& registry;
    CDebugLog& log;
    IByteSource& input;
    IByteSink& output;
    // GetUserDefaultUILanguage().
    std::uint16_t uiLanguage;
    IMessagingPlatform& platform;
};

inline constexpr const char* kHostLogName = "LVBHOHost";

// Returns when the loop has ended; a failed start-up step returns at once, without any output.
void MainHandler(MessagingEnvironment& environment, ProcessValues& values);
