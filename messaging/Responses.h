#pragma once
// Status codes of the answers, and the one way out to the browser.

#include "config/DebugLog.h"
#include "messaging/ByteStream.h"
#include "messaging/JsonMessage.h"

#include <cstdint>
#include <mutex>
#include <string>

enum StatusCode : std::uint32_t
{
    kStatusSuccess = 0,
    kStatusInvalidJson = 1,
    kStatusInvalidCommand = 2,
    kStatusFail = 3,
    kStatusArgumentMissing = 4,
    kStatusPending = 5,
    kStatusVaultSelect = 6,
};

// "success", "Invalid Json", ... ; every code of 7 or more is "unknown error".
const char* StatusText(std::uint32_t code);

// Writes "CommandError" and "CommandErrorMsg"; touches no other member. A message to write into is required: there
// is no null message to pass.
void SetStatus(IJsonMessage& response, std::uint32_t code);

// Frames answers onto the browser channel. One lock is held for a whole frame (length, body, flush), so frames
// written by the main thread and by the UI thread never interleave; the lock does not order them.
class CResponseWriter
{
public:
    CResponseWriter(IByteSink& sink, const CDebugLog& log) : m_sink(sink), m_log(log) {}

    // An empty text produces no frame at all, nor does one longer than a 32-bit length can carry.
    void WriteResponse(std::string response);

private:
    IByteSink& m_sink;
    const CDebugLog& m_log;
    std::mutex m_lock;
};
