#include "host/MainHandler.h"

#include "commands/CommandDispatcher.h"
#include "commands/UiLanguage.h"
#include "messaging/JsonCppWrapper.h"
#include "messaging/MessageLoop.h"
#include "messaging/Responses.h"

#include <memory>

void MainHandler(MessagingEnvironment& environment, ProcessValues& values)
{
    // Start-up, in this order. The core link (update guard, security attributes, shared block, events and mutex)
    // comes up between opening the log and creating the messages; the UI thread and the first cancel to the core
    // follow the language lookup.
    environment.log.Open(environment.registry, kHostLogName);

    auto request = std::make_unique<JsonCPPWrapper>();
    auto response = std::make_unique<JsonCPPWrapper>();

    values.languageName = UiLanguageName(environment.uiLanguage);

    CResponseWriter writer(environment.output, environment.log);
    CCommandDispatcher dispatcher(values);
    CMessageLoop loop(environment.input, writer, dispatcher, *request, *response, environment.log);
    loop.Run();
}
