// The browser channel end to end, without Windows: frames read from the input, parsed, dispatched to the real
// command handler, and answered. The core link and the handler's platform are the tests' fakes; the input's first
// byte decides how the fake core behaves, the rest is what the browser sends.
//
// Checked on every input: each answer frame is whole, valid UTF-8 and a JSON object; every frame in the input gets
// exactly one answer, counted by a reader of the harness's own.

#include "commands/CommandDispatcher.h"
#include "messaging/MessageLoop.h"
#include "tests/fakes/HandlerWorld.h"
#include "tests/fakes/StringStreams.h"
#include "tests/fuzz/FuzzCheck.h"

#include <json/json.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

namespace
{
// What the fake core answers when a request is signalled, from the input's first byte.
void PlayCore(CFakeCoreLink& core, std::uint8_t behaviour)
{
    core.m_coreRunning = (behaviour & 0x01) == 0;
    core.m_mapped = (behaviour & 0x02) == 0;
    static const std::uint32_t kResults[] = {kResultPending,     0, 1, kResultFillScript, kResultNoPrompt,
                                             kResultVaultSelect, 3, 7};
    const std::uint32_t result = kResults[(behaviour >> 2) & 0x07];
    const std::uint32_t flags = ((behaviour & 0x20) ? kFlagAnswerYes : 0) | ((behaviour & 0x40) ? kFlagNotEnrolled : 0);
    const bool hostile = (behaviour & 0x80) != 0;
    core.m_signalResult = result == 7 ? 0 : 1;
    core.m_onSignal = [result, flags, hostile](CFakeCoreLink& link, std::uint32_t) {
        BHOSharedData& block = link.m_block;
        block.result = result;
        block.flags = flags;
        if (result != kResultFillScript)
            return;
        if (hostile)
        {
            // A core that fills every text field to the brim, with no terminator anywhere.
            std::memset(block.fieldScript, '+', sizeof block.fieldScript);
            std::memset(block.valueScript, '\xE9', sizeof block.valueScript);
            std::memset(block.requestUser, 'u', sizeof block.requestUser);
            block.valueCount = 0xFFFFFFFF;
        }
        else
        {
            std::strcpy(block.fieldScript, "user+pwd");
            std::memcpy(block.valueScript, "alice\0s3cret\0", 13);
            block.valueCount = 2;
        }
    };
}

// The frames a browser's stream holds, as the channel's rules count them: a length (bytes that do not arrive are
// zero) of 0 ends the stream; any other length is one frame, whether its body arrives whole, cut short or, above
// 64 MiB, not at all.
std::size_t CountFrames(const std::string& stream)
{
    std::size_t frames = 0;
    std::size_t position = 0;
    for (;;)
    {
        std::uint32_t length = 0;
        for (int i = 0; i < 4 && position < stream.size(); ++i, ++position)
            length |= static_cast<std::uint32_t>(static_cast<unsigned char>(stream[position])) << (8 * i);
        if (length == 0)
            return frames;
        ++frames;
        if (stream.size() - position < length)
            return frames;
        position += length;
    }
}

std::size_t CheckAnswers(const std::string& output)
{
    Json::CharReaderBuilder builder;
    builder["failIfExtra"] = true;
    builder["rejectDupKeys"] = true;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    std::size_t frames = 0;
    std::size_t position = 0;
    while (position < output.size())
    {
        FUZZ_CHECK(output.size() - position >= 4);
        const auto* bytes = reinterpret_cast<const unsigned char*>(output.data() + position);
        const std::uint32_t length = bytes[0] | (bytes[1] << 8) | (bytes[2] << 16) | (std::uint32_t(bytes[3]) << 24);
        position += 4;
        FUZZ_CHECK(length > 0 && output.size() - position >= length);
        const std::string body = output.substr(position, length);
        position += length;
        FUZZ_CHECK(IsWellFormedUtf8(body, true));
        Json::Value value;
        std::string errors;
        FUZZ_CHECK(reader->parse(body.data(), body.data() + body.size(), &value, &errors));
        FUZZ_CHECK(value.isObject());
        FUZZ_CHECK(value.isMember("CommandError"));
        ++frames;
    }
    return frames;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    HandlerWorld world;
    PlayCore(world.link, data[0]);
    const std::string stream(reinterpret_cast<const char*>(data + 1), size - 1);

    CStringSource input(stream);
    CStringSink output;
    CResponseWriter writer(output, world.log);
    JsonCPPWrapper response;
    ProcessValues values;
    {
        CLVBHOCommandHandler handler(world.request, world.services);
        CCommandDispatcher dispatcher(handler, values);
        CMessageLoop loop(input, writer, dispatcher, world.request, response, world.log);
        loop.Run();
    }
    FUZZ_CHECK(CheckAnswers(output.Bytes()) == CountFrames(stream));
    return 0;
}
