#include "tools/coresim/SimBlock.h"

#include <algorithm>
#include <cstring>

std::string ReadFixed(const char* field, std::size_t size)
{
    return std::string(field, std::find(field, field + size, '\0'));
}

std::vector<std::string> ReadValueList(const char* list, std::size_t size, std::uint32_t count)
{
    std::vector<std::string> items;
    std::size_t offset = 0;
    while (items.size() < count && offset < size)
    {
        const char* end = std::find(list + offset, list + size, '\0');
        items.emplace_back(list + offset, end);
        offset = static_cast<std::size_t>(end - list) + 1;
    }
    return items;
}

void WriteFixed(char* field, std::size_t size, const std::string& text)
{
    std::memset(field, 0, size);
    if (size == 0)
        return;
    std::memcpy(field, text.data(), std::min(text.size(), size - 1));
}

SimBlockView DecodeBlock(const BHOSharedData& block)
{
    SimBlockView view;
    view.hostContext = block.hostContext;
    view.hostWindow = block.hostWindow;
    view.requestUser = ReadFixed(block.requestUser, sizeof(block.requestUser));
    view.requestKey = ReadFixed(block.requestKey, sizeof(block.requestKey));
    view.requestDisplay = ReadFixed(block.requestDisplay, sizeof(block.requestDisplay));
    view.fieldScript = ReadFixed(block.fieldScript, sizeof(block.fieldScript));
    view.valueCount = block.valueCount;
    view.values = ReadValueList(block.valueScript, sizeof(block.valueScript), block.valueCount);
    view.flags = block.flags;
    view.requestCode = block.requestCode;
    view.result = block.result;
    return view;
}

void AddBlockFields(CJsonLine& line, const SimBlockView& view)
{
    line.AddUnsigned("hostContext", view.hostContext)
        .AddUnsigned("hostWindow", view.hostWindow)
        .AddString("requestUser", view.requestUser)
        .AddString("requestKey", view.requestKey)
        .AddString("requestDisplay", view.requestDisplay)
        .AddString("fieldScript", view.fieldScript)
        .AddStrings("values", view.values)
        .AddUnsigned("valueCount", view.valueCount)
        .AddUnsigned("flags", view.flags)
        .AddUnsigned("requestCode", view.requestCode)
        .AddUnsigned("result", view.result);
}

void WriteFillScript(BHOSharedData& block, const std::string& siteKey, const SimFillScript& script)
{
    WriteFixed(block.requestKey, sizeof(block.requestKey), siteKey);
    WriteFixed(block.fieldScript, sizeof(block.fieldScript), script.fieldScript);
    std::memset(block.valueScript, 0, sizeof(block.valueScript));
    std::memcpy(block.valueScript, script.valueList.data(),
                std::min(script.valueList.size(), sizeof(block.valueScript)));
    block.valueCount = script.valueCount;
}
