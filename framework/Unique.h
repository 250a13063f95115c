#pragma once
// One owner for every kind of handle: a template over a traits struct per resource kind.

#include <windows.h>

#include <utility>

template <typename Traits>
class CUnique
{
public:
    using Type = typename Traits::Type;

    CUnique() = default;
    explicit CUnique(Type value) noexcept : m_value(value) {}
    CUnique(CUnique&& other) noexcept : m_value(other.Detach()) {}
    CUnique& operator=(CUnique&& other) noexcept
    {
        if (this != &other)
            Attach(other.Detach());
        return *this;
    }
    CUnique(const CUnique&) = delete;
    CUnique& operator=(const CUnique&) = delete;
    ~CUnique() { Close(); }

    bool IsValid() const noexcept { return Traits::IsValid(m_value); }
    Type Get() const noexcept { return m_value; }
    [[nodiscard]] Type Detach() noexcept { return std::exchange(m_value, Traits::None()); }

    // Keeps GetLastError(), so a failed Create* can be wrapped and then examined.
    void Attach(Type value) noexcept
    {
        const DWORD error = ::GetLastError();
        Close();
        m_value = value;
        ::SetLastError(error);
    }

    void Close() noexcept
    {
        if (Traits::IsValid(m_value))
            Traits::Close(std::exchange(m_value, Traits::None()));
        m_value = Traits::None();
    }

private:
    Type m_value = Traits::None();
};

struct HandleTraits
{
    using Type = HANDLE;
    static Type None() { return nullptr; }
    // CreateEvent and CreateFileMapping fail with NULL, CreateToolhelp32Snapshot with INVALID_HANDLE_VALUE.
    static bool IsValid(Type h) { return h != nullptr && h != INVALID_HANDLE_VALUE; }
    static void Close(Type h) { ::CloseHandle(h); }
};
using CHandle = CUnique<HandleTraits>;

struct MappedViewTraits
{
    using Type = void*;
    static Type None() { return nullptr; }
    static bool IsValid(Type view) { return view != nullptr; }
    static void Close(Type view) { ::UnmapViewOfFile(view); }
};
using CMappedView = CUnique<MappedViewTraits>;
