#pragma once
// Splits a stdin command line into words: runs of spaces or tabs separate them; a word in double quotes keeps its
// spaces, "" is an empty word, and inside quotes \" and \\ stand for " and \.

#include <string>
#include <vector>

// False, with `error` set, for an unterminated quote.
[[nodiscard]] bool SplitWords(const std::string& line, std::vector<std::string>& words, std::string& error);
