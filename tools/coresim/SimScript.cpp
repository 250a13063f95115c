#include "tools/coresim/SimScript.h"

#include <string_view>

namespace
{
void AddValue(SimFillScript& script, const std::string& value)
{
    script.valueList += value;
    script.valueList += '\0';
    ++script.valueCount;
}

bool EndsWith(std::string_view text, std::string_view tail)
{
    return text.size() >= tail.size() && text.substr(text.size() - tail.size()) == tail;
}
} // namespace

SimFillScript BuildFillScript(const SimLogin& login)
{
    SimFillScript script;
    script.fieldScript = std::string(kTagStart) + "+" + kTagField + login.userField + kUserFieldSuffix + "+" +
                         kTagField + login.passField + kPassFieldSuffix + "+" + kTagOk + "+" + kTagUrl + "+";
    AddValue(script, "");
    AddValue(script, login.user);
    AddValue(script, login.password);
    AddValue(script, kValueOk);
    AddValue(script, login.url);
    return script;
}

bool ParseLoginScript(const std::string& fieldScript, const std::vector<std::string>& values, SimLogin& login)
{
    SimLogin found;
    bool haveUser = false;
    bool havePassword = false;
    std::size_t tokenIndex = 0;
    std::size_t start = 0;
    while (start <= fieldScript.size())
    {
        std::size_t end = fieldScript.find('+', start);
        if (end == std::string::npos)
            end = fieldScript.size();
        const std::string_view token = std::string_view(fieldScript).substr(start, end - start);
        start = end + 1;
        if (token.empty())
            continue;

        const std::string value = tokenIndex < values.size() ? values[tokenIndex] : std::string();
        ++tokenIndex;
        if (token == kTagUrl)
        {
            found.url = value;
            continue;
        }
        const std::string_view prefix = kTagField;
        if (token.substr(0, prefix.size()) != prefix)
            continue;
        const std::string_view rest = token.substr(prefix.size());
        const std::string name(rest.substr(0, rest.find('<')));
        if (EndsWith(rest, "<TAB>"))
        {
            if (!haveUser)
            {
                found.userField = name;
                found.user = value;
                haveUser = true;
            }
        }
        else if (!havePassword)
        {
            found.passField = name;
            found.password = value;
            havePassword = true;
        }
    }
    if (!havePassword)
        return false;
    login = found;
    return true;
}
