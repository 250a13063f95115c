#pragma once
// An IRegistry that lets reads through and refuses every change, so that the doctor cannot alter what it examines,
// whatever a helper it borrows from the host asks for. Keys open only for reading: an access mask asking for more
// than KEY_READ and a view flag is refused too, and one without a view flag gets the 64-bit view's, as the 64-bit
// host would see. A refusal answers ERROR_ACCESS_DENIED and is counted.

#include "config/IRegistry.h"

#include <cstddef>

class CReadOnlyRegistry : public IRegistry
{
public:
    explicit CReadOnlyRegistry(IRegistry& inner) : m_inner(inner) {}

    // The transacted forms answer as on a system without them; the doctor never binds a transaction.
    LVBHO_IREGISTRY_OVERRIDES

    std::size_t RefusedCount() const noexcept { return m_refused; }

private:
    RegResult Refuse() noexcept
    {
        ++m_refused;
        return kRegAccessDenied;
    }

    IRegistry& m_inner;
    std::size_t m_refused = 0;
};
