#pragma once
// What the exported functions need to find: the surface behind a dialog object (ShowBHOPromptUI gets only the
// base class), and which windows are dialog windows (keyboard navigation gets only a message). Entries are added
// and removed by CDialogSurface; lookups may come from any thread.

#include <windows.h>

class CLVUIDhtmlDlg;

namespace lvui
{
class CDialogSurface;

class CDialogRegistry
{
public:
    static void AddDialog(const CLVUIDhtmlDlg* dialog, CDialogSurface* surface);
    static void RemoveDialog(const CLVUIDhtmlDlg* dialog);
    // Null for an object that is not a live dialog of this library.
    static CDialogSurface* SurfaceOf(const CLVUIDhtmlDlg* dialog);

    static void AddWindow(HWND window);
    static void RemoveWindow(HWND window);
    static bool IsDialogWindow(HWND window);
};
} // namespace lvui
