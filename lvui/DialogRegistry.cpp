#include "DialogRegistry.h"

#include <map>
#include <mutex>
#include <set>

namespace lvui
{
namespace
{
struct Registry
{
    std::mutex lock;
    std::map<const CLVUIDhtmlDlg*, CDialogSurface*> dialogs;
    std::set<HWND> windows;
};

// Built on first use, never destroyed: dialogs that outlive static destruction still find it.
Registry& TheRegistry()
{
    static Registry* registry = new Registry;
    return *registry;
}
} // namespace

void CDialogRegistry::AddDialog(const CLVUIDhtmlDlg* dialog, CDialogSurface* surface)
{
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> guard(registry.lock);
    registry.dialogs[dialog] = surface;
}

void CDialogRegistry::RemoveDialog(const CLVUIDhtmlDlg* dialog)
{
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> guard(registry.lock);
    registry.dialogs.erase(dialog);
}

CDialogSurface* CDialogRegistry::SurfaceOf(const CLVUIDhtmlDlg* dialog)
{
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> guard(registry.lock);
    const auto found = registry.dialogs.find(dialog);
    return found == registry.dialogs.end() ? nullptr : found->second;
}

void CDialogRegistry::AddWindow(HWND window)
{
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> guard(registry.lock);
    registry.windows.insert(window);
}

void CDialogRegistry::RemoveWindow(HWND window)
{
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> guard(registry.lock);
    registry.windows.erase(window);
}

bool CDialogRegistry::IsDialogWindow(HWND window)
{
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> guard(registry.lock);
    return registry.windows.count(window) != 0;
}
} // namespace lvui
