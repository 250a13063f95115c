#pragma once
// Messaging mode: brings the host up, runs the message loop until the browser closes the channel, and brings it
// down again.

#include "config/DebugLog.h"
#include "config/IRegistry.h"
#include "config/ProcessValues.h"
#include "messaging/ByteStream.h"

#include <cstdint>

struct MessagingEnvironment
{
    IRegistry& registry;
    CDebugLog& log;
    IByteSource& input;
    IByteSink& output;
    // GetUserDefaultUILanguage().
    std::uint16_t uiLanguage;
};

inline constexpr const char* kHostLogName = "LVBHOHost";

// Returns when the loop has ended; a failed start-up step returns at once, without any output.
void MainHandler(MessagingEnvironment& environment, ProcessValues& values);
