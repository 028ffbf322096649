// The boundary to the client's log library: one printf-style sink. It is resolved when the bridge
// is loaded, from the host if it defines it, else from the default sink that ships beside the
// bridge (on Windows a host brings it as a cpd_joystick_log.dll of its own, in its folder). The
// first argument is always 0.
#pragma once

#include "common/printf_like.h"

#if defined(_WIN32)
// Exported from whichever module defines it: the default sink's DLL, or the host's replacement.
#define CPD_LOG_SINK_EXPORT __declspec(dllexport)
#else
#define CPD_LOG_SINK_EXPORT __attribute__((visibility("default")))
#endif

extern "C" CPD_LOG_SINK_EXPORT CPD_PRINTF_LIKE(4, 5) void quvaniLogPrint(int reserved, int level,
                                                                         const char* tag,
                                                                         const char* format, ...);
