// The login script reader, fed whatever a core may leave in the shared block, and the writer, fed whatever a page
// may send, read back afterwards.
//
// Checked on every input: the reader finds at most the table's size of fields; the JSON it makes is an object
// whose "LoginData" entries pair names with values; every text the writer leaves ends
// inside its field.

#include "autofill/LoginScript.h"
#include "messaging/JsonCppWrapper.h"
#include "tests/fakes/FakeCoreLink.h"
#include "tests/fuzz/FuzzCheck.h"

#include <json/json.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace
{
// The input cut into pieces at each 0x1F byte.
std::vector<std::string> Pieces(const std::uint8_t* data, std::size_t size)
{
    std::vector<std::string> pieces(1);
    for (std::size_t i = 0; i < size; ++i)
    {
        if (data[i] == 0x1F)
            pieces.emplace_back();
        else
            pieces.back().push_back(static_cast<char>(data[i]));
    }
    return pieces;
}

void ReadBack(LoginScriptTables& tables, CFakeCoreLink& link)
{
    const std::int32_t count = ReadLoginScript(tables, link);
    FUZZ_CHECK(count >= 0 && static_cast<std::size_t>(count) <= kMaxScriptFields);

    JsonCPPWrapper reply;
    const int made = LoginScriptToJson(tables, link, &reply);
    std::string text;
    reply.ToString(text);
    Json::Value value;
    Json::CharReaderBuilder builder;
    std::string errors;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    FUZZ_CHECK(reader->parse(text.data(), text.data() + text.size(), &value, &errors));
    if (made == 1)
    {
        FUZZ_CHECK(value["LoginData"].isArray());
        FUZZ_CHECK(value["clickok"] == "true");
        for (const Json::Value& field : value["LoginData"])
            FUZZ_CHECK(field.isObject() && field["FieldName"].isString() && field["FieldVal"].isString());
    }
    GetMultiStringItem(link.m_block.valueScript, sizeof link.m_block.valueScript,
                       static_cast<std::uint32_t>(text.size() % 200));
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    LoginScriptTables tables;

    // What a core may have left: the input laid over the script fields, no terminator promised.
    {
        CFakeCoreLink link;
        BHOSharedData& block = link.m_block;
        const std::size_t script = std::min(size, sizeof block.fieldScript);
        std::memcpy(block.fieldScript, data, script);
        const std::size_t values = std::min(size - script, sizeof block.valueScript);
        std::memcpy(block.valueScript, data + script, values);
        block.valueCount = static_cast<std::uint32_t>(size);
        ReadBack(tables, link);
    }

    // What a page may send: the pieces as site key, display name, URL and the two fields, written then read back.
    {
        std::vector<std::string> pieces = Pieces(data, size);
        pieces.resize(std::max<std::size_t>(pieces.size(), 7));
        CFakeCoreLink link;
        WriteLoginScript(tables, link, pieces[0], pieces[1], pieces[2], pieces[3], pieces[4], pieces[5], pieces[6]);
        FUZZ_CHECK(std::memchr(link.m_block.fieldScript, '\0', sizeof link.m_block.fieldScript) != nullptr);
        FUZZ_CHECK(std::memchr(link.m_block.requestKey, '\0', sizeof link.m_block.requestKey) != nullptr);
        FUZZ_CHECK(std::memchr(link.m_block.requestDisplay, '\0', sizeof link.m_block.requestDisplay) != nullptr);
        ReadBack(tables, link);
    }
    return 0;
}
