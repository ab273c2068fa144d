# Sourced by the commands beside it: which Wine, and what it must not do in a test run: print its own diagnostics, start
# a debugger or a desktop (which would hold the pipe of the first program that makes a window, now and then for ever), offer
# to install other things, or open windows.
wine=/usr/lib/wine/wine64
[ "${ORVO_WINE_BITS:-64}" = 64 ] || wine=/usr/lib/wine/wine
wineserver=/usr/lib/wine/wineserver
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-winedbg.exe=d;explorer.exe=d;mshtml=;mscoree=}
export WINEARCH=win64
unset DISPLAY WAYLAND_DISPLAY
