#include "tools/coresim/SimWords.h"

bool SplitWords(const std::string& line, std::vector<std::string>& words, std::string& error)
{
    words.clear();
    std::size_t i = 0;
    while (i < line.size())
    {
        if (line[i] == ' ' || line[i] == '\t')
        {
            ++i;
            continue;
        }
        std::string word;
        if (line[i] != '"')
        {
            while (i < line.size() && line[i] != ' ' && line[i] != '\t')
                word += line[i++];
            words.push_back(word);
            continue;
        }
        ++i;
        bool closed = false;
        while (i < line.size())
        {
            const char c = line[i++];
            if (c == '"')
            {
                closed = true;
                break;
            }
            if (c == '\\' && i < line.size() && (line[i] == '"' || line[i] == '\\'))
                word += line[i++];
            else
                word += c;
        }
        if (!closed)
        {
            error = "unterminated quote";
            return false;
        }
        words.push_back(word);
    }
    return true;
}
