#pragma once
// A core that runs or not, and a shared block that exists or not, as the test sets them.

#include "tools/regdoctor/ICoreProbe.h"

class CFakeCoreProbe : public ICoreProbe
{
public:
    std::uint32_t FindCore() override { return m_processId; }
    bool ReadSharedBlock(SharedBlockWords& words) override
    {
        if (m_blockPresent)
            words = m_words;
        return m_blockPresent;
    }

    std::uint32_t m_processId = 0;
    bool m_blockPresent = false;
    SharedBlockWords m_words;
};
