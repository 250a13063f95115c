#pragma once
// Firefox's focus changes, watched with one WinEvent hook for the whole process. The callback runs on the UI thread
// that installed it (the hook is out of context) and hands each event to that thread's prompt window.

class CBHOThread;

// Makes `thread` the hook's owner and installs the hook (every event, every process, out of context, skipping our
// own process) unless an earlier prompt window already did. True when a hook is in place. It stays until the
// process ends.
bool InstallFocusHook(CBHOThread* thread);
// Forgets the owner: every later event is ignored (the owner thread is ending).
void ForgetFocusHookOwner(CBHOThread* thread);
