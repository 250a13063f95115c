#pragma once
// Security for the kernel objects shared with the core: a null DACL so that any process of the session may open
// them, and a low mandatory integrity label so that low-integrity browser processes may too.

#include <windows.h>

#include <accctrl.h>

// Fills `attributes` with `descriptor` holding a null DACL and inheritable handles (by design). 1, or 0 on failure.
int InitNullDaclAttributes(SECURITY_ATTRIBUTES& attributes, SECURITY_DESCRIPTOR& descriptor);

// The process-wide null-DACL attributes the host makes its own unnamed events with, built on first use; null when
// they could not be built.
SECURITY_ATTRIBUTES* ProcessSecurityAttributes();

// Labels a kernel object low-integrity. 1 only when SetSecurityInfo succeeded; callers ignore the result.
int SetLowIntegrityLabel(HANDLE handle, SE_OBJECT_TYPE type);
