// The monitor is the library's log sink: it defines quvaniLogPrint itself, as a client does, so
// the library's lines come here instead of to the default sink, and go wherever the running mode
// wants them.
#pragma once

#include <functional>
#include <string>

namespace monitor {

using LogHandler = std::function<void(int level, const std::string& line)>;

// Lines arriving while no handler is set are dropped. Clearing the handler waits for a line
// being handled, so the handler's objects may go once this returns.
void SetLibraryLogHandler(LogHandler handler);

}  // namespace monitor
