// Default secure store: every value lives in one JSON object in one file, readable only by its
// owner. The file is
//   $CPD_JOYSTICK_STORE, else $XDG_CONFIG_HOME/cpd-joystick/store.json,
//   else ~/.config/cpd-joystick/store.json.
// Writes go to a temporary file that is flushed to disk and then renamed over the old one, so a
// crash in the middle of a write leaves the previous contents intact. A file that cannot be read
// as a store reads as empty, with one error line each time; the next successful write sets it
// aside as <file>.corrupt rather than losing it.
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <json/json.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include "cpd_joystick/sd_config.h"

namespace {

std::mutex gStoreMutex;

std::string NonEmptyEnv(const char* name) {
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nobody sets it here
  return value != nullptr ? value : "";
}

std::string HomeDirectory() {
  std::string home = NonEmptyEnv("HOME");
  if (home.empty()) {
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr && entry.pw_dir != nullptr) {
      home = entry.pw_dir;
    }
  }
  return home;
}

// Empty when no location can be determined: the store is then unavailable.
std::string StorePath() {
  if (std::string path = NonEmptyEnv("CPD_JOYSTICK_STORE"); !path.empty()) {
    return path;
  }
  std::string base = NonEmptyEnv("XDG_CONFIG_HOME");
  if (base.empty() || base.front() != '/') {
    const std::string home = HomeDirectory();
    if (home.empty()) {
      return "";
    }
    base = home + "/.config";
  }
  return base + "/cpd-joystick/store.json";
}

std::string ErrorText(int error) {
  return std::generic_category().message(error);
}

void ReportError(const std::string& message) {
  std::fprintf(stderr, "cpd-joystick store: %s\n", message.c_str());
}

std::string ParentDirectory(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) {
    return ".";
  }
  return slash == 0 ? "/" : path.substr(0, slash);
}

// Creates `directory` and its missing parents, owner-only.
bool MakeDirectories(const std::string& directory) {
  struct stat info {};
  if (::stat(directory.c_str(), &info) == 0) {
    return S_ISDIR(info.st_mode);
  }
  const std::string parent = ParentDirectory(directory);
  if (parent != directory && !MakeDirectories(parent)) {
    return false;
  }
  return ::mkdir(directory.c_str(), 0700) == 0 || errno == EEXIST;
}

enum class FileState { Missing, Valid, Corrupt };

// Reads the whole file; false with errno set when it cannot be read.
bool ReadFile(const std::string& path, std::string& text) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    return false;
  }
  char buffer[4096];
  ssize_t result = 0;
  while ((result = ::read(descriptor, buffer, sizeof buffer)) != 0) {
    if (result < 0 && errno == EINTR) {
      continue;
    }
    if (result < 0) {
      const int savedErrno = errno;
      ::close(descriptor);
      errno = savedErrno;
      return false;
    }
    text.append(buffer, static_cast<size_t>(result));
  }
  ::close(descriptor);
  return true;
}

// Reads the store file into `values` (an object of strings). A missing file is an empty store.
FileState ReadStore(const std::string& path, Json::Value& values) {
  values = Json::Value(Json::objectValue);
  std::string text;
  if (!ReadFile(path, text)) {
    if (errno == ENOENT) {
      return FileState::Missing;
    }
    ReportError("cannot read " + path + ": " + ErrorText(errno) + "; reading it as empty");
    return FileState::Corrupt;
  }
  Json::CharReaderBuilder builder;
  builder["collectComments"] = false;
  Json::Value root;
  std::string errors;
  std::istringstream stream(text);
  if (!Json::parseFromStream(builder, stream, &root, &errors) || !root.isObject()) {
    ReportError(path + " is not a valid store file; reading it as empty");
    return FileState::Corrupt;
  }
  for (const std::string& key : root.getMemberNames()) {
    if (root[key].isString()) {
      values[key] = root[key];
    }
  }
  return FileState::Valid;
}

bool WriteFully(int descriptor, const std::string& text) {
  size_t written = 0;
  while (written < text.size()) {
    const ssize_t result = ::write(descriptor, text.data() + written, text.size() - written);
    if (result < 0 && errno == EINTR) {
      continue;
    }
    if (result <= 0) {
      return false;
    }
    written += static_cast<size_t>(result);
  }
  return true;
}

void SyncDirectory(const std::string& directory) {
  const int descriptor = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor >= 0) {
    ::fsync(descriptor);
    ::close(descriptor);
  }
}

bool WriteStore(const std::string& path, const Json::Value& values) {
  const std::string directory = ParentDirectory(path);
  if (!MakeDirectories(directory)) {
    ReportError("cannot create " + directory + ": " + ErrorText(errno));
    return false;
  }
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "  ";
  const std::string text = Json::writeString(builder, values) + "\n";

  std::string temporary = path + ".XXXXXX";
  const int descriptor = ::mkstemp(temporary.data());  // created with mode 0600
  if (descriptor < 0) {
    ReportError("cannot create a temporary file beside " + path + ": " + ErrorText(errno));
    return false;
  }
  const bool written = WriteFully(descriptor, text) && ::fsync(descriptor) == 0;
  const int savedErrno = errno;
  ::close(descriptor);
  if (!written || ::rename(temporary.c_str(), path.c_str()) != 0) {
    ReportError("cannot write " + path + ": " + ErrorText(written ? errno : savedErrno));
    ::unlink(temporary.c_str());
    return false;
  }
  SyncDirectory(directory);
  return true;
}

}  // namespace

namespace sd {

SDConfig* SDConfig::GetInstance() {
  static SDConfig instance;
  return StorePath().empty() ? nullptr : &instance;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): the client library's interface
std::string SDConfig::GetSecure(const std::string& key) {
  const std::string path = StorePath();
  std::lock_guard<std::mutex> lock(gStoreMutex);
  Json::Value values;
  ReadStore(path, values);
  const Json::Value& value = values[key];
  return value.isString() ? value.asString() : "";
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): the client library's interface
bool SDConfig::SetSecure(const std::string& key, const std::string& value) {
  const std::string path = StorePath();
  if (path.empty()) {
    return false;
  }
  std::lock_guard<std::mutex> lock(gStoreMutex);
  Json::Value values;
  if (ReadStore(path, values) == FileState::Corrupt) {
    const std::string aside = path + ".corrupt";
    if (::rename(path.c_str(), aside.c_str()) == 0) {
      ReportError("kept the unreadable store file as " + aside);
    }
  }
  values[key] = value;
  return WriteStore(path, values);
}

}  // namespace sd
