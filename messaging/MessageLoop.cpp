#include "messaging/MessageLoop.h"

#include "messaging/Framing.h"

namespace
{
constexpr std::uint32_t kTrafficLevel = 3;
// The answer to a request whose command failed unexpectedly, ready-made: building it must not fail in turn.
constexpr const char* kFailAnswer = "{\"CommandError\":3,\"CommandErrorMsg\":\"fail\"}";
} // namespace

std::string CMessageLoop::DispatchContained()
{
    // Nothing a command throws may end the host: the request still gets its one answer.
    try
    {
        return m_dispatcher.Dispatch(m_request);
    }
    catch (...)
    {
        // Logging may fail for the reason the command did; the answer must not.
        try
        {
            if (m_log.Enabled(kTrafficLevel))
                m_log.Write("MainHandler command failed");
        }
        catch (...)
        {
        }
    }
    return kFailAnswer;
}

void CMessageLoop::Run()
{
    std::string body;
    std::string responseText;
    for (;;)
    {
        m_request.Clear();
        m_response.Clear();
        responseText.clear();

        // A zero length also covers end of input and a failed read; the stream state is not looked at.
        const std::uint32_t length = ReadFrameLength(m_input);
        if (length == 0)
            break;

        // A short body is parsed as far as it arrived; the next read then finds the end of input. A body above
        // the ceiling, or one there is no memory for, is never held: it is answered, and read past in bounded
        // chunks.
        const bool refused = length > kMaxFrameBody;
        if (refused || !ReadFrameBody(m_input, length, body))
        {
            if (m_log.Enabled(kTrafficLevel))
                m_log.Write("MainHandler frame refused - %u bytes", length);
            SetStatus(m_response, kStatusInvalidJson);
            m_writer.WriteResponse(m_response.ToString(responseText));
            if (refused && !DiscardFrameBody(m_input, length))
                break;
            continue;
        }

        if (m_log.Enabled(kTrafficLevel))
            m_log.Write("MainHandler command - %s", body.c_str());

        // The body is not needed once parsed: a long string in it is moved into the request, not copied.
        if (m_request.ParseInPlace(body))
        {
            responseText = DispatchContained();
        }
        else
        {
            SetStatus(m_response, kStatusInvalidJson);
            m_response.ToString(responseText);
        }

        if (m_log.Enabled(kTrafficLevel))
            m_log.Write("MainHandler resposbe- %s", responseText.c_str());
        m_writer.WriteResponse(responseText);
    }
}
