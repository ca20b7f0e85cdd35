# Cross-builds for 64-bit Windows with Debian's mingw-w64 (POSIX thread model),
# the C and C++ run-times linked in, so the programs need no DLL of the
# compiler's beside them. Tests run through Wine (see tests/win32).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(cw_mingw_prefix x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${cw_mingw_prefix}-gcc-posix)
set(CMAKE_CXX_COMPILER ${cw_mingw_prefix}-g++-posix)
set(CMAKE_RC_COMPILER ${cw_mingw_prefix}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${cw_mingw_prefix})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(cw_static_runtime "-static -static-libgcc -static-libstdc++")
set(CMAKE_EXE_LINKER_FLAGS_INIT ${cw_static_runtime})
set(CMAKE_SHARED_LINKER_FLAGS_INIT ${cw_static_runtime})
set(CMAKE_MODULE_LINKER_FLAGS_INIT ${cw_static_runtime})

# Windows programs built here run under Wine: CTest and add_custom_command put
# it in front of every target they run.
find_program(CW_WINE NAMES wine64 wine PATHS /usr/lib/wine /usr/lib64/wine NO_CMAKE_FIND_ROOT_PATH)
if(CW_WINE)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${CW_WINE})
endif()
