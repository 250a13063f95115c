#include "messaging/Responses.h"

#include "messaging/Framing.h"

namespace
{
constexpr std::uint32_t kTrafficLevel = 3;
}

const char* StatusText(std::uint32_t code)
{
    switch (code)
    {
    case kStatusSuccess:
        return "success";
    case kStatusInvalidJson:
        return "Invalid Json";
    case kStatusInvalidCommand:
        return "Invalid Command";
    case kStatusFail:
        return "fail";
    case kStatusArgumentMissing:
        return "Argument missing";
    case kStatusPending:
        return "pending";
    case kStatusVaultSelect:
        return "vault select";
    default:
        return "unknown error";
    }
}

void SetStatus(IJsonMessage& response, std::uint32_t code)
{
    response.SetInt("CommandError", static_cast<int>(code));
    response.SetString("CommandErrorMsg", StatusText(code));
}

void CResponseWriter::WriteResponse(std::string response)
{
    // The log's own spelling, "respose", is kept: people search the logs for it.
    const bool traced = m_log.Enabled(kTrafficLevel);
    const CDebugLog& log = m_log;
    if (traced)
        log.Write("WriteResponse before lock respose- %s", response.c_str());
    std::unique_lock<std::mutex> lock(m_lock);
    if (traced)
        log.Write("WriteResponse got lock respose- %s", response.c_str());

    if (response.empty() || response.size() > 0xFFFFFFFFu)
    {
        if (traced)
            log.Write("WriteResponse fail no data");
        return;
    }
    const std::string header = EncodeFrameLength(static_cast<std::uint32_t>(response.size()));
    m_sink.Write(header.data(), header.size());
    m_sink.Write(response.data(), response.size());
    m_sink.Flush();
    if (traced)
        log.Write("WriteResponse succ");
    lock.unlock();
    if (traced)
        log.Write("WriteResponse exit");
}
