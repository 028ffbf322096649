#pragma once

namespace cpd {

// The file-name part of `path`: what follows its last slash or backslash. Returns a pointer into
// `path`, or to "unknown" for a null or empty path. The first character is never taken as a
// separator, so "/b" comes back whole.
const char* GetFileNameFromPath(const char* path);

}  // namespace cpd
