#pragma once
// The host must not start while the product's updater replaces its files.

#include "config/IRegistry.h"
#include "corelink/ProcessQuery.h"

inline constexpr const char* kUpdaterProcessName = "wyupdate.exe";

// 1 when an update of this installation is in progress and the host must quit. An updater that was started only to
// check ("/quickcheck", "/noerr" and "/justcheck" all present) does not count, nor does one of another product.
// Every failure (registry, WMI, process access) counts as no update. WMI is asked only when the process list holds
// a process of the updater's name.
int IsUpdateRunning(IRegistry& registry, IProcessQuery& processes);
