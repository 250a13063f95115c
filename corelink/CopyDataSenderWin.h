#pragma once
// The one way a copy-data record goes to the core: WM_COPYDATA (dwData 1, 788 bytes), sent synchronously as the core
// expects, but bounded: a hung core (or a stale window) is given up on at once, a slow one after 10 s, so that
// neither the main thread's SetPluginParam nor the prompt's answer on the UI thread can hang the host for good.

#include "corelink/SharedData.h"

#include <windows.h>

inline constexpr UINT kCopyDataTimeoutMs = 10000;

// `from` goes as wParam: the window the core may answer. True when the core's window took the record.
bool SendCopyDataToCore(HWND target, HWND from, const BHOCopyData& record, UINT timeoutMs = kCopyDataTimeoutMs);
