# Cross build for 64-bit Windows with MinGW-w64 (posix threads, static runtime).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The DLL and the test programs import system DLLs only: no libstdc++, libgcc or winpthread DLL.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")

# Tests run under Wine in a throwaway prefix inside the build tree (created by the wine_prefix test
# fixture before any other test).
set(RIGEL_WINE "/usr/lib/wine/wine64")
set(RIGEL_WINEPREFIX "${CMAKE_BINARY_DIR}/wineprefix")
set(CMAKE_CROSSCOMPILING_EMULATOR
    "/usr/bin/env;WINEPREFIX=${RIGEL_WINEPREFIX};WINEDEBUG=-all;WINEDLLOVERRIDES=mscoree,mshtml=;${RIGEL_WINE}")
