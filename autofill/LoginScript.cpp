#include "autofill/LoginScript.h"

#include "autofill/DomainExtractor.h"
#include "corelink/MutexLock.h"
#include "messaging/AsciiText.h"
#include "messaging/JsonCppWrapper.h"

#include <algorithm>
#include <cstring>

namespace
{
// A display name this long or longer is replaced by the site's own label.
constexpr std::size_t kShortDisplayName = 16;
// Field tokens the host writes: "<S>", the user-name field and the password field.
constexpr std::uint32_t kWrittenEntries = 3;

// The length of `text` up to its NUL, or `limit` when there is none within it: fields in the block need not be
// terminated.
std::size_t BoundedLength(const char* text, std::size_t limit)
{
    const void* nul = std::memchr(text, '\0', limit);
    return nul ? static_cast<std::size_t>(static_cast<const char*>(nul) - text) : limit;
}

// Appends `source` to the text in `dest`, cut to fit `size` bytes with the terminator.
void AppendBounded(char* dest, std::size_t size, const std::string& source)
{
    const std::size_t used = BoundedLength(dest, size);
    if (used >= size - 1)
    {
        dest[size - 1] = '\0';
        return;
    }
    SetField(dest + used, size - used, source);
}

// Moves `cursor` past the value-list string under it and stores `value` there. A value that would start at or past
// the end of the list is dropped without a word: the script and the count are still written.
void StoreNextValue(char* list, std::size_t& cursor, const std::string& value)
{
    if (cursor >= kSharedScriptSize)
        return;
    cursor += BoundedLength(list + cursor, kSharedScriptSize - cursor) + 1;
    if (cursor < kSharedScriptSize)
        SetField(list + cursor, kSharedScriptSize - cursor, value);
}

// The text up to its first NUL, as the block's C strings will hold it.
void CutAtNul(std::string& text)
{
    const std::size_t nul = text.find('\0');
    if (nul != std::string::npos)
        text.resize(nul);
}

// The next token of `script` from `position`, skipping runs of "+". At the end it returns the empty token that
// marks it and clears `more`.
std::string NextToken(const std::string& script, std::size_t& position, bool& more)
{
    const std::size_t start = script.find_first_not_of('+', position);
    if (start == std::string::npos)
    {
        position = script.size();
        more = false;
        return std::string();
    }
    const std::size_t end = script.find('+', start);
    position = end == std::string::npos ? script.size() : end;
    return script.substr(start, position - start);
}

// The HTML field name of a field token: the text between its first ">" and the next "<". Tag-only tokens such as
// "<S>", "<OK>" and "<QL>" carry none. One trailing comma is dropped.
bool FieldNameOf(const std::string& token, std::string& name)
{
    name = token;
    const std::size_t tagEnd = name.find('>');
    if (tagEnd != std::string::npos)
        name.erase(0, tagEnd + 1);
    const std::size_t nextTag = name.find('<');
    name = nextTag == std::string::npos ? std::string() : name.substr(0, nextTag);
    name = TrimWhiteSpace(name);
    if (name.empty())
        return false;
    if (name.back() == ',')
        name.pop_back();
    return true;
}
} // namespace

void WriteLoginScript(LoginScriptTables& tables, ICoreLink& link, std::string siteKey, std::string displayName,
                      std::string url, std::string userFieldName, std::string userValue, std::string passFieldName,
                      std::string passValue)
{
    // A NUL inside a text ends it, before the tags are built around the field names.
    for (std::string* text : {&siteKey, &displayName, &url, &userFieldName, &userValue, &passFieldName, &passValue})
        CutAtNul(*text);

    if (!userFieldName.empty() && (displayName.empty() || displayName.size() >= kShortDisplayName))
    {
        // Only the site's own label remains, without any suffix. A URL without a domain leaves the name empty.
        displayName.clear();
        static_cast<void>(ExtractDomain(url, displayName));
        const std::size_t dot = displayName.find('.');
        if (dot != std::string::npos)
            displayName.resize(dot);
    }

    CMutexLock lock(link);
    BHOSharedData* block = link.Block();
    if (block == nullptr)
        return;

    SetField(block->requestKey, siteKey);
    SetField(block->requestDisplay, displayName);

    tables.fieldNames[0] = "<S>";
    tables.fieldValues[0] = "";
    tables.fieldNames[1] = "<DCH>" + userFieldName + "<FV><SV><\\FV><TAB>";
    tables.fieldValues[1] = userValue;
    tables.fieldNames[2] = "<DCH>" + passFieldName + "<FV><SV><\\FV>";
    tables.fieldValues[2] = passValue;

    SetField(block->fieldScript, tables.fieldNames[0]);
    SetField(block->valueScript, tables.fieldValues[0]);
    std::size_t cursor = 0;
    for (std::uint32_t entry = 1; entry < kWrittenEntries; ++entry)
    {
        AppendBounded(block->fieldScript, kSharedScriptSize, "+");
        AppendBounded(block->fieldScript, kSharedScriptSize, tables.fieldNames[entry]);
        StoreNextValue(block->valueScript, cursor, tables.fieldValues[entry]);
    }

    AppendBounded(block->fieldScript, kSharedScriptSize, "+<OK>+");
    StoreNextValue(block->valueScript, cursor, "<END>");

    tables.fieldNames[kWrittenEntries] = "<QL>";
    tables.fieldValues[kWrittenEntries] = url;
    AppendBounded(block->fieldScript, kSharedScriptSize, tables.fieldNames[kWrittenEntries]);
    AppendBounded(block->fieldScript, kSharedScriptSize, "+");
    StoreNextValue(block->valueScript, cursor, url);

    // The field entries plus the items of "<OK>" and "<QL>".
    block->valueCount = kWrittenEntries + 2;
}

std::int32_t ReadLoginScript(LoginScriptTables& tables, ICoreLink& link)
{
    CMutexLock lock(link);
    const BHOSharedData* block = link.Block();
    if (block == nullptr)
        return 0;

    // valueCount is not consulted: items pair with tokens by position.
    const std::string script =
        TrimWhiteSpace(std::string(block->fieldScript, BoundedLength(block->fieldScript, kSharedScriptSize)));
    if (script.empty())
        return 0;

    // The value index starts one item late (the empty item of "<S>" is never read) and advances with every token,
    // the final empty one included, while the name index advances only for tokens that carry a name. Names are
    // paired with the right values only while all named fields stand directly after "<S>"; this is deliberate, the
    // core writes its fill scripts in the same shape.
    std::size_t nameIndex = 0;
    std::size_t valueIndex = 0;
    std::size_t position = 0;
    bool more = true;
    while (more && nameIndex < kMaxScriptFields)
    {
        const std::string token = NextToken(script, position, more);

        std::string name;
        if (FieldNameOf(token, name))
            tables.fieldNames[nameIndex++] = name;

        if (valueIndex < kMaxScriptFields)
        {
            const std::string value =
                GetMultiStringItem(block->valueScript, kSharedScriptSize, static_cast<std::uint32_t>(valueIndex + 1));
            tables.fieldValues[valueIndex] = value == "<S>" || value == "<END>" ? std::string() : value;
        }
        ++valueIndex;
    }
    return static_cast<std::int32_t>(nameIndex);
}

int LoginScriptToJson(LoginScriptTables& tables, ICoreLink& link, IJsonMessage* reply)
{
    if (reply == nullptr)
    {
        link.ResetSharedData();
        return 0;
    }

    // ResetSharedData takes the block mutex itself: it runs only after the reader has released it.
    const std::int32_t count = ReadLoginScript(tables, link);
    if (count < 2)
        return 0;

    for (std::int32_t i = 0; i < count; ++i)
    {
        JsonCPPWrapper field;
        field.SetString("FieldName", tables.fieldNames[i].c_str());
        field.SetString("FieldVal", tables.fieldValues[i].c_str());
        reply->AppendObject("LoginData", &field);
    }
    reply->SetString("clickok", "true");

    link.ResetSharedData();
    return 1;
}

std::string GetMultiStringItem(const char* buffer, std::size_t size, std::uint32_t index)
{
    if (buffer == nullptr)
        return std::string();

    std::size_t start = 0;
    for (std::uint32_t i = 0; i < index; ++i)
    {
        if (start >= size)
            return std::string();
        start += BoundedLength(buffer + start, size - start) + 1;
    }
    if (start >= size)
        return std::string();
    return std::string(buffer + start, BoundedLength(buffer + start, size - start));
}
