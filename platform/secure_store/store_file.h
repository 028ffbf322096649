// The default store's file system side: where the file is, reading it whole, and replacing it
// whole so that a crash leaves either the old or the new contents. Paths are UTF-8 everywhere.
#pragma once

#include <string>

namespace cpd::store {

// Empty when no location can be determined: the store is then unavailable.
std::string StorePath();

enum class ReadResult { Read, Missing, Failed };

// Reads the whole file into `text`; on Failed, `error` says why.
ReadResult ReadWholeFile(const std::string& path, std::string& text, std::string& error);

// Creates the file's folder if needed and replaces the file with `text` in one step; on failure
// `error` is the whole message (which file, what failed) and the old file is untouched.
bool ReplaceWholeFile(const std::string& path, const std::string& text, std::string& error);

// Renames `path` to `aside`, replacing whatever `aside` was; false when that failed.
bool MoveAside(const std::string& path, const std::string& aside);

}  // namespace cpd::store
