#pragma once
// Owners for the GDI objects the dialogs make: one traits struct per kind for CUnique, plus the two scoped pairs GDI
// has (a selection into a DC, a window DC borrowed from the system).

#include "framework/Unique.h"

#include <windows.h>

// The same deleter for every kind, but a distinct type per kind, so a font cannot be handed where a brush goes.
template <typename Handle>
struct TypedGdiTraits
{
    using Type = Handle;
    static Type None() { return nullptr; }
    static bool IsValid(Type object) { return object != nullptr; }
    static void Close(Type object) { ::DeleteObject(object); }
};
using CFont = CUnique<TypedGdiTraits<HFONT>>;
using CBrush = CUnique<TypedGdiTraits<HBRUSH>>;
using CPen = CUnique<TypedGdiTraits<HPEN>>;
using CBitmap = CUnique<TypedGdiTraits<HBITMAP>>;

struct MemoryDcTraits
{
    using Type = HDC;
    static Type None() { return nullptr; }
    static bool IsValid(Type dc) { return dc != nullptr; }
    static void Close(Type dc) { ::DeleteDC(dc); }
};
using CMemoryDc = CUnique<MemoryDcTraits>;

// Selects an object into a DC and puts the previous one back; the object must outlive the selection.
class CSelectObject
{
public:
    CSelectObject(HDC dc, HGDIOBJ object) noexcept : m_dc(dc), m_previous(::SelectObject(dc, object)) {}
    ~CSelectObject() { ::SelectObject(m_dc, m_previous); }
    CSelectObject(const CSelectObject&) = delete;
    CSelectObject& operator=(const CSelectObject&) = delete;

private:
    HDC m_dc;
    HGDIOBJ m_previous;
};

// GetDC/ReleaseDC; a null window gives the screen's DC.
class CWindowDc
{
public:
    explicit CWindowDc(HWND window) noexcept : m_window(window), m_dc(::GetDC(window)) {}
    ~CWindowDc()
    {
        if (m_dc)
            ::ReleaseDC(m_window, m_dc);
    }
    CWindowDc(const CWindowDc&) = delete;
    CWindowDc& operator=(const CWindowDc&) = delete;

    HDC Get() const noexcept { return m_dc; }

private:
    HWND m_window;
    HDC m_dc;
};
