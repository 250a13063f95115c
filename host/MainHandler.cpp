#include "host/MainHandler.h"

#include "commands/CommandDispatcher.h"
#include "commands/UiLanguage.h"
#include "corelink/UpdateGuard.h"
#include "messaging/JsonCppWrapper.h"
#include "messaging/MessageLoop.h"

#include <memory>

void MainHandler(MessagingEnvironment& environment, ProcessValues& values)
{
    IMessagingPlatform& platform = environment.platform;

    // Start-up, in this order; a failure returns without any output and the process exits with 0.
    environment.log.Open(environment.registry, kHostLogName);
    if (IsUpdateRunning(environment.registry, platform.Processes()))
        return;
    if (!platform.InitSecurityAttributes())
        return;
    if (!platform.InitSharedMemory())
        return;

    auto request = std::make_unique<JsonCPPWrapper>();
    auto response = std::make_unique<JsonCPPWrapper>();

    values.languageName = UiLanguageName(environment.uiLanguage);

    // The writer outlives the UI thread, which writes unsolicited messages through it.
    CResponseWriter writer(environment.output, environment.log);
    ICommandHandler* handler = platform.StartUiThread(*request, writer);
    if (!handler)
    {
        platform.CloseSharedMemory();
        return;
    }
    // Whatever the core still has open from an earlier host is cancelled; the result does not matter.
    static_cast<void>(handler->CancelIfBusy(1));

    {
        CCommandDispatcher dispatcher(*handler, values);
        CMessageLoop loop(environment.input, writer, dispatcher, *request, *response, environment.log);
        loop.Run();
    }

    // Shut-down: cancel again, end the UI thread (which destroys the handler), close the core link.
    static_cast<void>(handler->CancelIfBusy(1));
    handler = nullptr;
    platform.StopUiThread();
    platform.CloseSharedMemory();
}
