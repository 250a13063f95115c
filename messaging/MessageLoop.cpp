#include "messaging/MessageLoop.h"

#include "messaging/Framing.h"

#include <exception>

namespace
{
constexpr std::uint32_t kTrafficLevel = 3;
}

std::string CMessageLoop::DispatchContained()
{
    // Nothing a command throws may end the host: the request still gets its one answer.
    try
    {
        return m_dispatcher.Dispatch(m_request);
    }
    catch (const std::exception& error)
    {
        if (m_log.Enabled(kTrafficLevel))
            m_log.Write("MainHandler command failed - %s", error.what());
    }
    catch (...)
    {
        if (m_log.Enabled(kTrafficLevel))
            m_log.Write("MainHandler command failed");
    }
    m_response.Clear();
    SetStatus(&m_response, kStatusFail);
    std::string text;
    return m_response.ToString(text);
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

        if (length > kMaxFrameBody)
        {
            // Never allocated: answered at once, then skipped in bounded chunks.
            if (m_log.Enabled(kTrafficLevel))
                m_log.Write("MainHandler frame too long - %u bytes", length);
            SetStatus(&m_response, kStatusInvalidJson);
            m_writer.WriteResponse(m_response.ToString(responseText));
            if (!DiscardFrameBody(m_input, length))
                break;
            continue;
        }

        // A short body keeps its missing bytes as NUL and is parsed up to the first of them; the next read then
        // finds the end of input.
        ReadFrameBody(m_input, length, body);
        if (m_log.Enabled(kTrafficLevel))
            m_log.Write("MainHandler command - %s", body.c_str());

        if (m_request.Parse(body.c_str()))
        {
            responseText = DispatchContained();
        }
        else
        {
            SetStatus(&m_response, kStatusInvalidJson);
            m_response.ToString(responseText);
        }

        if (m_log.Enabled(kTrafficLevel))
            m_log.Write("MainHandler resposbe- %s", responseText.c_str());
        m_writer.WriteResponse(responseText);
    }
}
