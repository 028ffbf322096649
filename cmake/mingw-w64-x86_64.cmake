# Cross-compiles for 64-bit Windows with Debian's MinGW-w64 (posix threads, so std::thread and
# std::mutex are available). The tests run through Wine; the wrapper that sets Wine up is the
# emulator CMake uses for test discovery and for ctest.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CPD_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${CPD_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${CPD_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${CPD_MINGW_TRIPLE}-windres)

# Third-party parts come from the cross-built cache (scripts/windows-deps) and the MinGW sysroot
# only, never from the build machine's own /usr.
set(CPD_MINGW_DEPS "${CMAKE_CURRENT_LIST_DIR}/../build/mingw-deps/prefix" CACHE PATH
    "Prefix of the cross-built SDL2, JsonCpp and GoogleTest")
set(CMAKE_FIND_ROOT_PATH /usr/${CPD_MINGW_TRIPLE} ${CPD_MINGW_DEPS})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/wine-run" CACHE FILEPATH
    "Runs a Windows program of this build under Wine")
