# The Windows build (MinGW-w64). Every program and DLL of the build goes to one folder, bin/,
# together with the DLLs they need at run time: SDL2 and JsonCpp from the cross-built cache and
# MinGW's own C++ runtime (libstdc++, libgcc, winpthread). The runtime is shared rather than
# linked statically into each DLL, so a host built with the same MinGW shares one C++ runtime
# with the bridge, and the standard-library objects the interface passes (strings, lists, maps)
# are allocated and freed by the same code on both sides.
set(CPD_WINDOWS_BIN ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CPD_WINDOWS_BIN})
# Programs that run on the SDL2 simulator live in a folder of their own beside the simulator's
# SDL2.dll: Windows looks for a program's DLLs in the program's folder first, so there the
# simulator takes the place of the real SDL2 for the unchanged bridge.
set(CPD_WINDOWS_SIM_BIN ${PROJECT_BINARY_DIR}/sim-bin)

# C99 printf family (%zu, %lld) instead of the system C runtime's own.
add_compile_definitions(__USE_MINGW_ANSI_STDIO=1 UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX)

execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libstdc++-6.dll
                OUTPUT_VARIABLE cpd_libstdcxx OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libgcc_s_seh-1.dll
                OUTPUT_VARIABLE cpd_libgcc OUTPUT_STRIP_TRAILING_WHITESPACE)
find_file(cpd_winpthread libwinpthread-1.dll PATHS /usr/${CPD_MINGW_TRIPLE}/lib
          NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
find_file(cpd_sdl2_dll SDL2.dll PATHS ${CPD_MINGW_DEPS}/bin NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH
          REQUIRED)
file(GLOB cpd_jsoncpp_dlls ${CPD_MINGW_DEPS}/bin/*jsoncpp*.dll)
set(CPD_WINDOWS_RUNTIME_DLLS ${cpd_libstdcxx} ${cpd_libgcc} ${cpd_winpthread} ${cpd_jsoncpp_dlls})
file(COPY ${CPD_WINDOWS_RUNTIME_DLLS} ${cpd_sdl2_dll} DESTINATION ${CPD_WINDOWS_BIN})
