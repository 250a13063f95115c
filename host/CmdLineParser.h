#pragma once
// Splits a whole command line into keys with optional values. A key follows "-", "/" or ":"; a value follows the
// key after ":" (quoted with "\"" or up to the next space). A space never introduces a value. Browsers start the
// host with arguments of their own (an extension origin, a manifest path), which are digested like anything else.

#include <map>
#include <string>

class CCmdLineParser
{
public:
    // With `caseSensitive` false, keys are lower-cased when stored and when looked up.
    explicit CCmdLineParser(const char* commandLine = nullptr, bool caseSensitive = false);
    virtual ~CCmdLineParser() = default;

    // Replaces the stored line and its keys. Returns true when the line held at least one key.
    bool Parse(const char* commandLine);
    bool HasKey(const char* key) const;
    // The value of a key, or an empty text.
    std::string GetValue(const char* key) const;

    const std::map<std::string, std::string>& Keys() const { return m_keys; }

private:
    std::string Normalise(std::string key) const;
    void Store(const std::string& key, const std::string& value);

    std::string m_commandLine;
    std::map<std::string, std::string> m_keys;
    bool m_caseSensitive;
};
