#!/bin/sh
# Linux launcher for LVBHOHost.exe. A browser on Linux can only start a Linux program, so the host manifest's
# "path" points here and this script runs the Windows host under Wine with the browser's pipes and arguments.
#
# From the environment (the browser passes its own on to the host):
#   LVBHO_E2E_EXE       the host, LVBHOHost.exe, as a Linux path
#   WINEPREFIX          the test run's prefix
#   LVBHO_E2E_HOST_LOG  optional: one line per start ("<pid> arg <argument>") and per end ("<pid> exit <code>")
# The script is not replaced by Wine (no exec), so that it can record the host's exit code; it passes a
# termination request on to the host.
log=${LVBHO_E2E_HOST_LOG:-}
if [ -n "$log" ]; then
  printf '%s start\n' "$$" >> "$log"
  for arg in "$@"; do printf '%s arg %s\n' "$$" "$arg" >> "$log"; done
fi
WINEDEBUG=-all                      # nothing from Wine on stderr
WINEDLLOVERRIDES="mscoree,mshtml="  # never offer Mono/Gecko installs
export WINEDEBUG WINEDLLOVERRIDES
unset DISPLAY WAYLAND_DISPLAY       # a console program: no X or Wayland driver

# An asynchronous command's standard input is /dev/null unless redirected, and the shell applies that before any
# redirection of the command itself: the browser's pipe goes through descriptor 3.
exec 3<&0
"${WINE:-wine}" "$LVBHO_E2E_EXE" "$@" <&3 3<&- &
exec 3<&-
child=$!
trap 'kill -TERM "$child" 2>/dev/null' TERM INT HUP
while :; do
  wait "$child"
  rc=$?
  kill -0 "$child" 2>/dev/null || break
done
[ -n "$log" ] && printf '%s exit %s\n' "$$" "$rc" >> "$log"
exit "$rc"
