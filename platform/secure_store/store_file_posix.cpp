// The default store's file on POSIX systems: $CPD_JOYSTICK_STORE, else
// $XDG_CONFIG_HOME/cpd-joystick/store.json, else ~/.config/cpd-joystick/store.json, readable only
// by its owner. A write goes to a temporary file that is flushed to disk and then renamed over
// the old one.
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>
#include <vector>

#include "store_file.h"

namespace cpd::store {

namespace {

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

std::string ErrorText(int error) {
  return std::generic_category().message(error);
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

}  // namespace

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

ReadResult ReadWholeFile(const std::string& path, std::string& text, std::string& error) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    if (errno == ENOENT) {
      return ReadResult::Missing;
    }
    error = ErrorText(errno);
    return ReadResult::Failed;
  }
  char buffer[4096];
  ssize_t result = 0;
  while ((result = ::read(descriptor, buffer, sizeof buffer)) != 0) {
    if (result < 0 && errno == EINTR) {
      continue;
    }
    if (result < 0) {
      error = ErrorText(errno);
      ::close(descriptor);
      return ReadResult::Failed;
    }
    text.append(buffer, static_cast<size_t>(result));
  }
  ::close(descriptor);
  return ReadResult::Read;
}

bool ReplaceWholeFile(const std::string& path, const std::string& text, std::string& error) {
  const std::string directory = ParentDirectory(path);
  if (!MakeDirectories(directory)) {
    error = "cannot create " + directory + ": " + ErrorText(errno);
    return false;
  }
  std::string temporary = path + ".XXXXXX";
  const int descriptor = ::mkstemp(temporary.data());  // created with mode 0600
  if (descriptor < 0) {
    error = "cannot create a temporary file beside " + path + ": " + ErrorText(errno);
    return false;
  }
  const bool written = WriteFully(descriptor, text) && ::fsync(descriptor) == 0;
  const int savedErrno = errno;
  ::close(descriptor);
  if (!written || ::rename(temporary.c_str(), path.c_str()) != 0) {
    error = "cannot write " + path + ": " + ErrorText(written ? errno : savedErrno);
    ::unlink(temporary.c_str());
    return false;
  }
  SyncDirectory(directory);
  return true;
}

bool MoveAside(const std::string& path, const std::string& aside) {
  return ::rename(path.c_str(), aside.c_str()) == 0;
}

}  // namespace cpd::store
