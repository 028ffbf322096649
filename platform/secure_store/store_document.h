// The default store's decisions over plain text and plain facts, with no file system and no
// locks: what a store file's text holds, the text a set of values is written as, what a file
// found at the store's path allows, and the name a corrupt file is kept under.
#pragma once

#include <json/value.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>

namespace cpd::store {

// A store file larger than this is never read into memory, and no write makes one.
constexpr std::uint64_t MAX_STORE_BYTES = std::uint64_t{1} << 20;

enum class DocumentState { Valid, Corrupt };

struct StoreDocument {
  DocumentState state = DocumentState::Valid;
  // Every member of the file, strings or not: members this store did not write survive its writes.
  Json::Value values{Json::objectValue};
  // Why the text is not a store (Corrupt only).
  std::string error;
};

// The values of a store file's text. Never throws: anything that is not one JSON object,
// including nesting deeper than the reader follows, is Corrupt with no values.
StoreDocument ParseStore(const std::string& text) noexcept;

// The text a store file holds for `values` (an object), ending in a line break.
std::string SerializeStore(const Json::Value& values);

// The text stored under `key`; empty when there is none or it is not a string.
std::string StringValue(const Json::Value& values, const std::string& key);

// What the file system side found at the store's path.
enum class FileFound {
  Missing,     // nothing there: an empty store
  Read,        // a regular file, read whole
  Unreadable,  // a regular file that could not be read
  NotRegular,  // a symbolic link, folder, device, pipe or socket: never opened
  TooLarge,    // a regular file over MAX_STORE_BYTES: not read
};

struct FoundFile {
  FileFound found = FileFound::Missing;
  std::string text;         // Read: the whole file
  std::string detail;       // Unreadable: the system's reason; NotRegular: what it is ("a folder")
  std::uint64_t bytes = 0;  // TooLarge: its size
  bool readOnly = false;    // a regular file whose owner has made it read-only
};

// Adds a chunk the reader got to `file`; false once the file has grown past MAX_STORE_BYTES, which
// makes it TooLarge (with its size so far) and drops the text.
bool AppendRead(FoundFile& file, const char* data, std::size_t size);

// What the store makes of a found file: the values it reads, the error line a read reports, the
// error line that refuses a write (the file then stays as it is), and whether a write must keep
// the file aside first because it cannot be read as a store.
struct FileVerdict {
  Json::Value values{Json::objectValue};
  std::string readError;
  std::string writeRefusal;
  bool keepAside = false;
};

FileVerdict JudgeFile(const std::string& path, const FoundFile& file);

// The error line refusing to write a store text of `bytes` bytes at `path`; empty when it fits.
std::string OversizeRefusal(const std::string& path, std::uint64_t bytes);

// The name a corrupt store file is kept under, made at `now` (UTC):
// "<path>.corrupt-20261123T221501Z" for attempt 1, then "...Z-2", "...Z-3" while names are taken.
std::string CorruptCopyName(const std::string& path, std::time_t now, int attempt);

}  // namespace cpd::store
