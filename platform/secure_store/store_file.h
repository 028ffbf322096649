// The default store's file system side: where the file is, what is found there, replacing the
// file whole so that a crash leaves either the old or the new contents, keeping a corrupt file
// aside, and the lock file that processes sharing the store take turns on. Paths are UTF-8
// everywhere.
#pragma once

#include <cstdint>
#include <string>

#include "store_document.h"

namespace cpd::store {

// Empty when no location can be determined: the store is then unavailable.
std::string StorePath();

// What is at `path`, read whole only when it is a regular file of at most MAX_STORE_BYTES.
// A symbolic link is never followed, and nothing but a regular file is ever opened (opening a
// device or a pipe can block or have effects of its own).
FoundFile ReadStoreFile(const std::string& path);

// Creates the file's folder if needed and replaces the file with `text` in one step; on failure
// `error` is the whole message (which file or folder, what failed) and the old file is untouched.
bool ReplaceWholeFile(const std::string& path, const std::string& text, std::string& error);

enum class CopyResult { Kept, NameTaken, Failed };

// Keeps the file at `path` under the name `copy`, never replacing anything already called so
// (NameTaken). The file at `path` may be gone afterwards: it is about to be replaced.
CopyResult KeepCopy(const std::string& path, const std::string& copy, std::string& error);

// An open lock file: a descriptor on POSIX, a HANDLE on Windows.
using LockHandle = std::intptr_t;

enum class LockOpen {
  Opened,
  Unavailable,  // the folder is missing or nobody may create files in it: `error` names it
  Failed,       // `error` is the whole message
};

// Opens (creating if need be) the lock file at `lockPath`, after creating its folder when
// `createFolder`. Like the store file, a symbolic link there is not followed.
LockOpen OpenLockFile(const std::string& lockPath, bool createFolder, LockHandle& handle,
                      std::string& error);

enum class LockAttempt { Held, Busy, Failed };

// One attempt at the exclusive lock that does not wait.
LockAttempt TryLockFile(LockHandle handle, std::string& error);

// Lets go of the lock, if held, and of the file.
void CloseLockFile(LockHandle handle);

}  // namespace cpd::store
