#include "WindowCapture.h"

#include "lvui/GdiObjects.h"

#include <cstdint>
#include <cstring>
#include <fstream>

namespace
{
bool IsBlank(const std::uint8_t* bits, int width, int height, int stride)
{
    for (int y = 0; y < height; ++y)
    {
        const std::uint8_t* row = bits + static_cast<std::size_t>(y) * stride;
        for (int x = 0; x < width; ++x)
        {
            if (std::memcmp(row + 3 * x, bits, 3) != 0)
                return false;
        }
    }
    return true;
}
} // namespace

bool SaveWindowBitmap(HWND window, const std::string& path, std::string& error)
{
    RECT rect{};
    if (!::GetWindowRect(window, &rect))
    {
        error = "no window to capture";
        return false;
    }
    const int width = rect.right - rect.left;
    const int height = rect.bottom - rect.top;
    const int stride = (width * 3 + 3) & ~3;

    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = height; // bottom-up, as a BMP file stores its rows
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 24;
    info.bmiHeader.biCompression = BI_RGB;
    info.bmiHeader.biSizeImage = static_cast<DWORD>(stride) * height;

    HDC source = ::GetWindowDC(window);
    if (!source)
    {
        error = "GetWindowDC failed";
        return false;
    }
    CMemoryDc memory(::CreateCompatibleDC(source));
    void* bits = nullptr;
    CBitmap bitmap(::CreateDIBSection(source, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    bool copied = false;
    if (memory.IsValid() && bitmap.IsValid())
    {
        HGDIOBJ previous = ::SelectObject(memory.Get(), bitmap.Get());
        copied = ::BitBlt(memory.Get(), 0, 0, width, height, source, 0, 0, SRCCOPY) != 0;
        ::SelectObject(memory.Get(), previous);
        ::GdiFlush();
    }
    ::ReleaseDC(window, source);
    if (!copied)
    {
        error = "BitBlt from the window failed";
        return false;
    }
    const auto* pixels = static_cast<const std::uint8_t*>(bits);
    if (IsBlank(pixels, width, height, stride))
    {
        error = "the captured image is blank";
        return false;
    }

    BITMAPFILEHEADER header{};
    header.bfType = 0x4D42; // "BM"
    header.bfOffBits = sizeof(BITMAPFILEHEADER) + sizeof(BITMAPINFOHEADER);
    header.bfSize = header.bfOffBits + info.bmiHeader.biSizeImage;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(&header), sizeof(header));
    file.write(reinterpret_cast<const char*>(&info.bmiHeader), sizeof(BITMAPINFOHEADER));
    file.write(static_cast<const char*>(bits), info.bmiHeader.biSizeImage);
    if (!file.flush())
    {
        error = "cannot write " + path;
        return false;
    }
    return true;
}
