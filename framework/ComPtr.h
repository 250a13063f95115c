#pragma once
// The one owner of a COM interface pointer (WIL's com_ptr, ATL's CComPtr): it releases its reference in its
// destructor, moves but never copies, and hands out its address for an out-parameter only after letting go of what
// it held, so that a reference is never overwritten.

#include <utility>

template <typename T>
class CComPtr
{
public:
    CComPtr() = default;
    CComPtr(CComPtr&& other) noexcept : m_pointer(std::exchange(other.m_pointer, nullptr)) {}
    CComPtr& operator=(CComPtr&& other) noexcept
    {
        if (this != &other)
        {
            Reset();
            m_pointer = std::exchange(other.m_pointer, nullptr);
        }
        return *this;
    }
    CComPtr(const CComPtr&) = delete;
    CComPtr& operator=(const CComPtr&) = delete;
    ~CComPtr() { Reset(); }

    T* operator->() const noexcept { return m_pointer; }
    T* Get() const noexcept { return m_pointer; }
    explicit operator bool() const noexcept { return m_pointer != nullptr; }
    // For a call that hands out a new reference (CoCreateInstance, QueryInterface, ConnectServer, ...).
    T** Out() noexcept
    {
        Reset();
        return &m_pointer;
    }
    void** OutVoid() noexcept { return reinterpret_cast<void**>(Out()); }
    void Reset() noexcept
    {
        if (m_pointer)
            std::exchange(m_pointer, nullptr)->Release();
    }

private:
    T* m_pointer = nullptr;
};
