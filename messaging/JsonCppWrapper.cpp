#include "messaging/JsonCppWrapper.h"

#include "messaging/Utf8Name.h"

#include <algorithm>
#include <cstring>
#include <vector>

#if defined(__GNUC__)
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#endif

std::size_t CountJsonValues(const char* text, std::size_t limit)
{
    std::size_t values = 1;
    bool inString = false;
    for (const char* p = text; *p != '\0' && values <= limit; ++p)
    {
        if (inString)
        {
            if (*p == '\\' && p[1] != '\0')
                ++p;
            else if (*p == '"')
                inString = false;
        }
        else if (*p == '"')
            inString = true;
        else if (*p == '[' || *p == '{' || *p == ',')
            ++values;
    }
    return values;
}

namespace
{
// A long string taken out of a text: where its token began, and its decoded value.
struct LiftedString
{
    std::size_t offset;
    Json::Value value;
};

int HexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// The byte a one-letter escape stands for, or -1.
int SimpleEscape(char escape)
{
    switch (escape)
    {
    case '"':
    case '/':
    case '\\':
        return escape;
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    default:
        return -1;
    }
}

bool IsJsonSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Decodes a string token's contents [begin, end) the way jsoncpp does, writing the bytes from `begin` when `write`
// is set: no escape makes more bytes than it takes, so the text can be its own output. Returns the decoded length,
// or npos for an escape left to jsoncpp: a bad one, or a surrogate, which jsoncpp pairs by rules of its own.
std::size_t DecodeString(char* begin, const char* end, bool write)
{
    char* out = begin;
    const auto put = [&](unsigned value) {
        if (write)
            *out = static_cast<char>(value);
        ++out;
    };
    for (const char* in = begin; in != end;)
    {
        const char c = *in++;
        if (c != '\\')
        {
            put(static_cast<unsigned char>(c));
            continue;
        }
        if (in == end)
            return std::string::npos;
        const char escape = *in++;
        const int simple = SimpleEscape(escape);
        if (simple >= 0)
        {
            put(static_cast<unsigned>(simple));
            continue;
        }
        if (escape != 'u' || end - in < 4)
            return std::string::npos;
        unsigned code = 0;
        for (int i = 0; i < 4; ++i)
        {
            const int digit = HexDigit(*in++);
            if (digit < 0)
                return std::string::npos;
            code = code * 16 + static_cast<unsigned>(digit);
        }
        if (code >= 0xD800 && code <= 0xDFFF)
            return std::string::npos;
        if (code < 0x80)
            put(code);
        else if (code < 0x800)
        {
            put(0xC0 | (code >> 6));
            put(0x80 | (code & 0x3F));
        }
        else
        {
            put(0xE0 | (code >> 12));
            put(0x80 | ((code >> 6) & 0x3F));
            put(0x80 | (code & 0x3F));
        }
    }
    return static_cast<std::size_t>(out - begin);
}

// Takes the long string values out of text[0, length): each is decoded into a value of its own and its token is
// overwritten with "" and spaces, which leaves every other token where it was. Strings are found as jsoncpp's
// tokenizer finds them, which holds while the text has no comment; a text with one is left as it is. Member names
// (a string followed by ':') stay, as do strings with an escape DecodeString leaves to jsoncpp.
std::vector<LiftedString> LiftLongStrings(char* text, std::size_t length, std::size_t longString)
{
    std::vector<std::pair<std::size_t, std::size_t>> tokens; // the opening and the closing quote
    for (std::size_t i = 0; i < length; ++i)
    {
        if (text[i] == '/')
            return {};
        if (text[i] != '"')
            continue;
        const std::size_t open = i;
        for (++i; i < length && text[i] != '"'; ++i)
        {
            if (text[i] == '\\')
                ++i;
        }
        if (i >= length)
            break;
        std::size_t next = i + 1;
        while (next < length && IsJsonSpace(text[next]))
            ++next;
        if (i - open - 1 >= longString && (next == length || text[next] != ':'))
            tokens.emplace_back(open, i);
    }

    std::vector<LiftedString> lifted;
    for (const auto& [open, close] : tokens)
    {
        char* contents = text + open + 1;
        if (DecodeString(contents, text + close, false) == std::string::npos)
            continue;
        const std::size_t decoded = DecodeString(contents, text + close, true);
        lifted.push_back({open, Json::Value(contents, contents + decoded)});
        contents[0] = '"';
        std::fill(contents + 1, text + close + 1, ' ');
    }
    return lifted;
}

// Puts each lifted string back in place of the empty string jsoncpp read from its token.
void PutBack(Json::Value& value, std::vector<LiftedString>& lifted)
{
    if (value.isArray() || value.isObject())
    {
        for (Json::Value& member : value)
            PutBack(member, lifted);
        return;
    }
    if (!value.isString())
        return;
    const auto offset = static_cast<std::size_t>(value.getOffsetStart());
    const auto found = std::lower_bound(lifted.begin(), lifted.end(), offset,
                                        [](const LiftedString& string, std::size_t at) { return string.offset < at; });
    if (found != lifted.end() && found->offset == offset)
        value.swapPayload(found->value);
}
} // namespace

JsonCPPWrapper::JsonCPPWrapper(ITextCodec* codec) : m_codec(codec ? *codec : ProcessTextCodec()) {}

template <typename Read>
auto JsonCPPWrapper::Guard(Read read, decltype(read()) fallback) -> decltype(read())
{
    try
    {
        return read();
    }
    catch (const std::exception&)
    {
        m_conversionFailed = true;
        return fallback;
    }
}

std::string JsonCPPWrapper::Utf8(const char* text)
{
    std::string utf8;
    ToUtf8Name(m_codec, text, utf8);
    return utf8;
}

Json::Value* JsonCPPWrapper::Element(const char* name, std::uint32_t index)
{
    // Indexing past the end would grow the array to the index given; an element that is not there reads as null.
    Json::Value& array = m_root[Utf8(name)];
    if (!array.isArray() || index >= array.size())
        return nullptr;
    return &array[static_cast<Json::ArrayIndex>(index)];
}

void JsonCPPWrapper::Clear()
{
    m_conversionFailed = false;
    if (m_root.isArray() || m_root.isObject())
        m_root.clear();
}

bool JsonCPPWrapper::ReadText(const char* begin, const char* end)
{
    try
    {
        // This overload reads the text where it is; the std::string one copies it first.
        return m_reader.parse(begin, end, m_root, true);
    }
    catch (const std::exception&)
    {
        // Nesting deeper than the reader's stack limit.
        return false;
    }
}

bool JsonCPPWrapper::Parse(const char* text)
{
    m_conversionFailed = false;
    if (text == nullptr || CountJsonValues(text, kMaxJsonValues) > kMaxJsonValues)
        return false;
    // The text ends at its first NUL.
    return ReadText(text, text + std::strlen(text));
}

bool JsonCPPWrapper::ParseInPlace(std::string& text, std::size_t longString)
{
    m_conversionFailed = false;
    if (CountJsonValues(text.c_str(), kMaxJsonValues) > kMaxJsonValues)
        return false;
    // The text ends at its first NUL, as for Parse. A text too short to hold a long string is not searched for one.
    const std::size_t length = std::strlen(text.c_str());
    std::vector<LiftedString> lifted;
    if (length >= longString + 2)
        lifted = LiftLongStrings(text.data(), length, longString);
    if (!ReadText(text.data(), text.data() + length))
        return false;
    if (!lifted.empty())
        PutBack(m_root, lifted);
    return true;
}

std::string& JsonCPPWrapper::ToString(std::string& out)
{
    out = m_writer.write(m_root);
    if (!out.empty() && out.back() == '\n')
        out.pop_back();
    return out;
}

std::string& JsonCPPWrapper::GetString(std::string& out, const char* name)
{
    out = Guard([&] { return m_root[Utf8(name)].asString(); }, std::string());
    return out;
}

int JsonCPPWrapper::GetInt(const char* name)
{
    return Guard([&] { return static_cast<int>(m_root[Utf8(name)].asInt()); }, 0);
}

bool JsonCPPWrapper::IsArrayMember(const char* name)
{
    return Guard(
        [&] {
            const std::string key = Utf8(name);
            return m_root.isObject() && m_root.isMember(key) && m_root[key].isArray();
        },
        false);
}

std::uint32_t JsonCPPWrapper::GetCount(const char* name)
{
    return Guard(
        [&] {
            const Json::Value& value = m_root[Utf8(name)];
            return value.isArray() || value.isObject() ? static_cast<std::uint32_t>(value.size()) : 0u;
        },
        0u);
}

std::string& JsonCPPWrapper::GetArrayMemberString(std::string& out, const char* name, const char* member,
                                                  std::uint32_t index)
{
    out = Guard(
        [&] {
            Json::Value* element = Element(name, index);
            return element ? (*element)[Utf8(member)].asString() : std::string();
        },
        std::string());
    return out;
}

std::string& JsonCPPWrapper::GetArrayString(std::string& out, const char* name, std::uint32_t index)
{
    out = Guard(
        [&] {
            Json::Value* element = Element(name, index);
            return element ? element->asString() : std::string();
        },
        std::string());
    return out;
}

int JsonCPPWrapper::GetArrayMemberInt(const char* name, const char* member, std::uint32_t index)
{
    return Guard(
        [&] {
            Json::Value* element = Element(name, index);
            return element ? static_cast<int>((*element)[Utf8(member)].asInt()) : 0;
        },
        0);
}

int JsonCPPWrapper::GetArrayInt(const char* name, std::uint32_t index)
{
    return Guard(
        [&] {
            Json::Value* element = Element(name, index);
            return element ? static_cast<int>(element->asInt()) : 0;
        },
        0);
}

int JsonCPPWrapper::SetObject(const char* name, IJsonMessage* other)
{
    auto* source = dynamic_cast<JsonCPPWrapper*>(other);
    if (source == nullptr)
        return 1;
    return Guard(
        [&] {
            m_root[Utf8(name)] = source->m_root;
            return 1;
        },
        1);
}

int JsonCPPWrapper::SetInt(const char* name, int value)
{
    return Guard(
        [&] {
            m_root[Utf8(name)] = value;
            return 1;
        },
        1);
}

int JsonCPPWrapper::SetString(const char* name, const char* value)
{
    return Guard(
        [&] {
            m_root[Utf8(name)] = Utf8(value);
            return 1;
        },
        1);
}

int JsonCPPWrapper::AppendInt(const char* name, int value)
{
    return Guard(
        [&] {
            m_root[Utf8(name)].append(value);
            return 1;
        },
        1);
}

int JsonCPPWrapper::AppendString(const char* name, const char* value)
{
    return Guard(
        [&] {
            m_root[Utf8(name)].append(Utf8(value));
            return 1;
        },
        1);
}

int JsonCPPWrapper::AppendObject(const char* name, IJsonMessage* other)
{
    auto* source = dynamic_cast<JsonCPPWrapper*>(other);
    if (source == nullptr)
        return 1;
    return Guard(
        [&] {
            m_root[Utf8(name)].append(source->m_root);
            return 1;
        },
        1);
}

bool JsonCPPWrapper::HasMember(const char* name)
{
    // Only an object has members; asking anything else is not a conversion error.
    return m_root.isObject() && m_root.isMember(Utf8(name));
}
