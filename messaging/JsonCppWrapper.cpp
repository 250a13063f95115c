#include "messaging/JsonCppWrapper.h"

#include "messaging/Utf8Name.h"

#include <cstring>

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

bool JsonCPPWrapper::Parse(const char* text)
{
    m_conversionFailed = false;
    if (text == nullptr || CountJsonValues(text, kMaxJsonValues) > kMaxJsonValues)
        return false;
    try
    {
        // The text ends at its first NUL. This overload parses in place; the std::string one copies it first.
        return m_reader.parse(text, text + std::strlen(text), m_root, true);
    }
    catch (const std::exception&)
    {
        // Nesting deeper than the reader's stack limit.
        return false;
    }
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
