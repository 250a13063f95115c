#pragma once
// Bounded reading and writing of the shared block. The block is shared with other processes and may hold anything:
// a text field without its NUL reads up to the field's end, and a value count larger than the value list reads as
// many items as the list holds. Callers copy the block under the mutex first and decode the copy.

#include "corelink/SharedData.h"
#include "tools/coresim/SimJson.h"
#include "tools/coresim/SimScript.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The text of a fixed field: up to its first NUL, or all `size` bytes.
std::string ReadFixed(const char* field, std::size_t size);

// Up to `count` NUL-terminated items of a value list of `size` bytes; a last item without its NUL ends at `size`.
std::vector<std::string> ReadValueList(const char* list, std::size_t size, std::uint32_t count);

// Zero-fills the field and copies `text` into it, cut so that a NUL always follows.
void WriteFixed(char* field, std::size_t size, const std::string& text);

struct SimBlockView
{
    std::uint64_t hostContext = 0;
    std::uint64_t hostWindow = 0;
    std::string requestUser;
    std::string requestKey;
    std::string requestDisplay;
    std::string fieldScript;
    std::vector<std::string> values; // the value list, up to valueCount items
    std::uint32_t valueCount = 0;
    std::uint32_t flags = 0;
    std::uint32_t requestCode = 0;
    std::uint32_t result = 0;
};

SimBlockView DecodeBlock(const BHOSharedData& block);

// Adds the view's fields, named as in BHOSharedData ("values" for the value list), to `line`.
void AddBlockFields(CJsonLine& line, const SimBlockView& view);

// Writes the script and `siteKey` into the block; the value list is cut at its field's size.
void WriteFillScript(BHOSharedData& block, const std::string& siteKey, const SimFillScript& script);
