#pragma once
// The host's life in messaging mode: frames are read from the browser one at a time on the main thread, each
// parsed request is handed to the dispatcher, and every request gets exactly one answer frame.

#include "config/DebugLog.h"
#include "messaging/ByteStream.h"
#include "messaging/JsonMessage.h"
#include "messaging/Responses.h"

#include <string>

class IRequestDispatcher
{
public:
    virtual ~IRequestDispatcher() = default;
    // Turns one parsed request into one response text.
    virtual std::string Dispatch(IJsonMessage& request) = 0;
};

class CMessageLoop
{
public:
    // `request` and `response` are the loop's two messages; the response serves only the "Invalid Json" answer.
    CMessageLoop(IByteSource& input, CResponseWriter& writer, IRequestDispatcher& dispatcher, IJsonMessage& request,
                 IJsonMessage& response, const CDebugLog& log)
        : m_input(input), m_writer(writer), m_dispatcher(dispatcher), m_request(request), m_response(response),
          m_log(log)
    {
    }

    // Runs until a zero length, the end of input or a failed read.
    void Run();

private:
    std::string DispatchContained();

    IByteSource& m_input;
    CResponseWriter& m_writer;
    IRequestDispatcher& m_dispatcher;
    IJsonMessage& m_request;
    IJsonMessage& m_response;
    const CDebugLog& m_log;
};
