#pragma once
// A window's pixels, as the screen shows them, saved as a 24-bit BMP file.

#include <windows.h>

#include <string>

// Copies what `window` shows (its whole rectangle) and writes it to `path`. False with `error` set when the copy
// fails, when every pixel has the same colour (nothing was drawn), or when the file cannot be written.
bool SaveWindowBitmap(HWND window, const std::string& path, std::string& error);
