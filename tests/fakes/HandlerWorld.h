#pragma once
// Everything a CLVBHOCommandHandler is made with, as fakes: the request message, the UI thread's platform, the
// core link (its block holding an open request that the core has not answered), the registry, the key sender and
// the log. Tests derive from it and make the handler themselves.

#include "commands/CommandHandler.h"
#include "config/MemoryRegistry.h"
#include "messaging/JsonCppWrapper.h"
#include "tests/fakes/FakeCoreLink.h"
#include "tests/fakes/FakeHandlerPlatform.h"
#include "tests/fakes/FakeLogSink.h"
#include "tests/fakes/RecordingKeySender.h"

struct HandlerWorld
{
    explicit HandlerWorld(bool immersive = false) : services{platform, link, registry, keys, log, immersive}
    {
        link.m_block.requestCode = 1;
        link.m_block.result = kResultPending;
    }

    JsonCPPWrapper request;
    CFakeHandlerPlatform platform;
    CFakeCoreLink link;
    CMemoryRegistry registry;
    CRecordingKeySender keys;
    CFakeLogSink sink;
    CDebugLog log{sink};
    HandlerServices services;
};
