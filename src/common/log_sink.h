// The boundary to the client's log library: one printf-style sink. It is resolved when the bridge
// is loaded, from the host if it defines it, else from the default sink that ships beside the
// bridge. The first argument is always 0.
#pragma once

extern "C" __attribute__((visibility("default"), format(printf, 4, 5))) void quvaniLogPrint(
    int reserved, int level, const char* tag, const char* format, ...);
