// The default store's functional core: no file system, no locks, no exceptions out of parsing.
#include "store_document.h"

#include <json/reader.h>
#include <json/writer.h>

#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <utility>

namespace cpd::store {

namespace {

// Every error line the core words, side by side. A read line ends in what the read does instead;
// a refusal says why the file stays as it is.
std::string NotAStoreLine(const std::string& path) {
  return path + " is not a valid store file; reading it as empty";
}
std::string UnreadableLine(const std::string& path, const std::string& reason) {
  return "cannot read " + path + ": " + reason + "; reading it as empty";
}
std::string NotRegularLine(const std::string& path, const std::string& what) {
  return path + " is " + what + ", not a regular file; reading the store as empty and leaving it " +
         "alone";
}
std::string TooLargeLine(const std::string& path, std::uint64_t bytes) {
  return path + " is larger than 1 MiB (" + std::to_string(bytes) +
         " bytes); reading the store as empty and leaving it alone";
}
std::string RefusalLine(const std::string& path, const std::string& why) {
  return "refusing to write " + path + ": " + why;
}

// How deeply arrays and objects of a store file may nest. The reader descends recursively on the
// calling thread, which is a host's thread with a stack of unknown size; a store's own values are
// strings one level down, so a file nested deeper than this is kept aside as corrupt before the
// reader ever sees it.
constexpr int MAX_NESTING = 64;

Json::CharReaderBuilder StoreReader() {
  Json::CharReaderBuilder builder;
  builder["collectComments"] = false;
  // Text after the object would be dropped by the next write; a file like that is kept aside
  // whole instead.
  builder["failIfExtra"] = true;
  // Never reached after NestsTooDeeply; should the two ever disagree, the reader throws, which
  // ParseStore catches.
  builder["stackLimit"] = MAX_NESTING + 2;
  return builder;
}

StoreDocument Corrupt(std::string error) {
  StoreDocument document;
  document.state = DocumentState::Corrupt;
  document.error = std::move(error);
  return document;
}

// Skips a comment starting at `at` (a '/'); returns the index of its last character.
size_t SkipComment(const std::string& text, size_t at) {
  if (at + 1 >= text.size()) {
    return at;
  }
  if (text[at + 1] == '/') {
    const size_t end = text.find('\n', at);
    return end == std::string::npos ? text.size() - 1 : end;
  }
  if (text[at + 1] == '*') {
    const size_t end = text.find("*/", at + 2);
    return end == std::string::npos ? text.size() - 1 : end + 1;
  }
  return at;
}

// Whether arrays and objects nest deeper than MAX_NESTING anywhere, outside strings and comments.
bool NestsTooDeeply(const std::string& text) {
  int depth = 0;
  bool inString = false;
  for (size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (inString) {
      at += c == '\\' ? 1 : 0;
      inString = c != '"';
    } else if (c == '"') {
      inString = true;
    } else if (c == '/') {
      at = SkipComment(text, at);
    } else if (c == '[' || c == '{') {
      if (++depth > MAX_NESTING) {
        return true;
      }
    } else if ((c == ']' || c == '}') && depth > 0) {
      --depth;
    }
  }
  return false;
}

StoreDocument ParseOrThrow(const std::string& text) {
  if (NestsTooDeeply(text)) {
    return Corrupt("arrays and objects nest deeper than " + std::to_string(MAX_NESTING) +
                   " levels");
  }
  // Made per call: a static one would be destroyed at exit while a host thread (the library's
  // policy watcher making its last write) may still read a store.
  const Json::CharReaderBuilder builder = StoreReader();
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  StoreDocument document;
  std::string errors;
  if (!reader->parse(text.data(), text.data() + text.size(), &document.values, &errors)) {
    return Corrupt(errors);
  }
  if (!document.values.isObject()) {
    return Corrupt("the text is not one JSON object");
  }
  return document;
}

struct CivilDate {
  long long year;
  unsigned month;
  unsigned day;
};

// The proleptic Gregorian date of a day counted from 1970-01-01, without the C library's
// non-reentrant or platform-specific calls.
CivilDate DateOfDay(long long days) {
  const long long shifted = days + 719468;
  const long long era = (shifted >= 0 ? shifted : shifted - 146096) / 146097;
  const auto dayOfEra = static_cast<unsigned>(shifted - era * 146097);
  const unsigned yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const unsigned monthIndex = (5 * dayOfYear + 2) / 153;
  const unsigned day = dayOfYear - (153 * monthIndex + 2) / 5 + 1;
  const unsigned month = monthIndex < 10 ? monthIndex + 3 : monthIndex - 9;
  return {static_cast<long long>(yearOfEra) + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

std::string UtcStamp(std::time_t now) {
  const auto seconds = static_cast<long long>(now);
  long long days = seconds / 86400;
  long long secondOfDay = seconds % 86400;
  if (secondOfDay < 0) {
    secondOfDay += 86400;
    --days;
  }
  const CivilDate date = DateOfDay(days);
  char stamp[64];
  std::snprintf(stamp, sizeof stamp, "%04lld%02u%02uT%02lld%02lld%02lldZ", date.year, date.month,
                date.day, secondOfDay / 3600, secondOfDay / 60 % 60, secondOfDay % 60);
  return stamp;
}

}  // namespace

StoreDocument ParseStore(const std::string& text) noexcept {
  try {
    return ParseOrThrow(text);
  } catch (const std::exception& error) {
    // The reader throws instead of failing when nesting exceeds its stack limit.
    try {
      return Corrupt(error.what());
    } catch (...) {
      return {DocumentState::Corrupt, Json::Value(), {}};
    }
  } catch (...) {
    return {DocumentState::Corrupt, Json::Value(), {}};
  }
}

std::string SerializeStore(const Json::Value& values) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "  ";
  // Bytes outside ASCII are written as they are: escaping would turn a value that is not valid
  // UTF-8 into replacement characters, so it would not read back as it was stored.
  builder["emitUTF8"] = true;
  return Json::writeString(builder, values) + "\n";
}

std::string StringValue(const Json::Value& values, const std::string& key) {
  if (!values.isObject()) {
    return "";
  }
  const Json::Value* value = values.find(key.data(), key.data() + key.size());
  return value != nullptr && value->isString() ? value->asString() : "";
}

FileVerdict JudgeFile(const std::string& path, const FoundFile& file) {
  FileVerdict verdict;
  switch (file.found) {
    case FileFound::Missing:
      break;
    case FileFound::Read: {
      StoreDocument document = ParseStore(file.text);
      if (document.state == DocumentState::Valid) {
        verdict.values = std::move(document.values);
      } else {
        verdict.readError = NotAStoreLine(path);
        verdict.keepAside = true;
      }
      break;
    }
    case FileFound::Unreadable:
      verdict.readError = UnreadableLine(path, file.detail);
      verdict.keepAside = true;
      break;
    case FileFound::NotRegular:
      verdict.readError = NotRegularLine(path, file.detail);
      verdict.writeRefusal = RefusalLine(path, "it is " + file.detail + ", not a regular file");
      return verdict;
    case FileFound::TooLarge:
      verdict.readError = TooLargeLine(path, file.bytes);
      verdict.writeRefusal =
          RefusalLine(path, "it is larger than 1 MiB (" + std::to_string(file.bytes) + " bytes)");
      return verdict;
  }
  if (file.readOnly) {
    verdict.writeRefusal = RefusalLine(path, "the file is read-only");
  }
  return verdict;
}

std::string OversizeRefusal(const std::string& path, std::uint64_t bytes) {
  if (bytes <= MAX_STORE_BYTES) {
    return "";
  }
  return RefusalLine(path, "the store would grow to " + std::to_string(bytes) +
                               " bytes, over 1 MiB, and could not be read again");
}

std::string CorruptCopyName(const std::string& path, std::time_t now, int attempt) {
  std::string name = path + ".corrupt-" + UtcStamp(now);
  if (attempt > 1) {
    name += "-" + std::to_string(attempt);
  }
  return name;
}

bool AppendRead(FoundFile& file, const char* data, std::size_t size) {
  file.text.append(data, size);
  if (file.text.size() <= MAX_STORE_BYTES) {
    return true;
  }
  file.found = FileFound::TooLarge;
  file.bytes = file.text.size();
  file.text.clear();
  return false;
}

}  // namespace cpd::store
