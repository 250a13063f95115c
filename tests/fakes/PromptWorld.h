#pragma once
// The prompt as the UI thread makes it, on fakes: the real command handler over HandlerWorld's fakes, the real
// prompt controller with fake dialogs and a fake desktop, and the frames it writes to the extension.

#include "commands/CommandHandler.h"
#include "messaging/JsonCppWrapper.h"
#include "prompt/PromptController.h"
#include "tests/fakes/FakePromptUi.h"
#include "tests/fakes/HandlerWorld.h"
#include "tests/fakes/StringStreams.h"

#include <memory>

struct PromptWorld : HandlerWorld
{
    PromptWorld(WindowId ownWindow, std::int32_t zoom, std::int32_t desktopWidth)
    {
        handler = std::make_unique<CLVBHOCommandHandler>(request, services);
        controller = std::make_unique<CPromptController>(
            CPromptController::Services{*handler, writer, json, prompt, pin, desktop}, ownWindow, zoom, desktopWidth);
    }

    std::unique_ptr<CLVBHOCommandHandler> handler;
    CStringSink out;
    CResponseWriter writer{out, log};
    JsonCPPWrapper json;
    CFakePromptDialog prompt;
    CFakePinDialog pin;
    CFakePromptDesktop desktop;
    std::unique_ptr<CPromptController> controller;
};
