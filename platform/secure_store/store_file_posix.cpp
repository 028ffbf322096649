// The default store's file on POSIX systems: $CPD_JOYSTICK_STORE, else
// $XDG_CONFIG_HOME/cpd-joystick/store.json, else ~/.config/cpd-joystick/store.json, readable only
// by its owner. A write goes to a temporary file that is flushed to disk and then renamed over
// the old one. Processes take turns on the store with flock on a lock file beside it.
#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
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

FoundFile Unreadable(const std::string& reason, bool readOnly = false) {
  FoundFile file;
  file.found = FileFound::Unreadable;
  file.detail = reason;
  file.readOnly = readOnly;
  return file;
}

FoundFile NotRegular(mode_t mode) {
  FoundFile file;
  file.found = FileFound::NotRegular;
  if (S_ISLNK(mode)) {
    file.detail = "a symbolic link";
  } else if (S_ISDIR(mode)) {
    file.detail = "a folder";
  } else if (S_ISFIFO(mode)) {
    file.detail = "a named pipe";
  } else if (S_ISSOCK(mode)) {
    file.detail = "a socket";
  } else {
    file.detail = "a device";
  }
  return file;
}

// Read-only when its owner's write permission is off (what `chmod 400` and `chmod a-w` do), or
// when this process may not write it. The mode bits decide for root too, who may write any file:
// renaming a new file over it would otherwise undo the owner's choice silently.
bool IsReadOnly(const std::string& path, const struct stat& info) {
  return (info.st_mode & S_IWUSR) == 0 ||
         ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0;
}

// Reads at most one byte more than a store may hold, so that a file that grew after it was
// looked at is still not read whole.
FoundFile ReadOpenFile(int descriptor) {
  FoundFile file;
  struct stat info {};
  if (::fstat(descriptor, &info) != 0) {
    return Unreadable(ErrorText(errno));
  }
  if (!S_ISREG(info.st_mode)) {
    return NotRegular(info.st_mode);
  }
  if (static_cast<std::uint64_t>(info.st_size) > MAX_STORE_BYTES) {
    file.found = FileFound::TooLarge;
    file.bytes = static_cast<std::uint64_t>(info.st_size);
    return file;
  }
  char buffer[4096];
  ssize_t result = 0;
  while ((result = ::read(descriptor, buffer, sizeof buffer)) != 0) {
    if (result < 0 && errno == EINTR) {
      continue;
    }
    if (result < 0) {
      return Unreadable(ErrorText(errno));
    }
    if (!AppendRead(file, buffer, static_cast<size_t>(result))) {
      return file;
    }
  }
  file.found = FileFound::Read;
  return file;
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

FoundFile ReadStoreFile(const std::string& path) {
  FoundFile file;
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) {
    return errno == ENOENT ? file : Unreadable(ErrorText(errno));
  }
  if (!S_ISREG(info.st_mode)) {
    return NotRegular(info.st_mode);
  }
  // Not following a link that replaced the file since, and not waiting on a pipe that did.
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) {
    if (errno == ENOENT) {
      return file;
    }
    return errno == ELOOP ? NotRegular(S_IFLNK)
                          : Unreadable(ErrorText(errno), IsReadOnly(path, info));
  }
  file = ReadOpenFile(descriptor);
  ::close(descriptor);
  file.readOnly = IsReadOnly(path, info);
  return file;
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
    error = "cannot create a temporary file in " + directory + ": " + ErrorText(errno);
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

CopyResult KeepCopy(const std::string& path, const std::string& copy, std::string& error) {
  // A second name for the same file: the store keeps its contents until it is replaced.
  if (::link(path.c_str(), copy.c_str()) == 0) {
    return CopyResult::Kept;
  }
  if (errno == EEXIST) {
    return CopyResult::NameTaken;
  }
  // A file system without hard links: moved instead, to a name that the lock keeps free.
  struct stat info {};
  if (::lstat(copy.c_str(), &info) == 0) {
    return CopyResult::NameTaken;
  }
  if (::rename(path.c_str(), copy.c_str()) == 0) {
    return CopyResult::Kept;
  }
  error = "cannot keep " + path + " as " + copy + ": " + ErrorText(errno);
  return CopyResult::Failed;
}

LockOpen OpenLockFile(const std::string& lockPath, bool createFolder, LockHandle& handle,
                      std::string& error) {
  const std::string folder = ParentDirectory(lockPath);
  if (createFolder && !MakeDirectories(folder)) {
    error = "cannot create " + folder + ": " + ErrorText(errno);
    return LockOpen::Failed;
  }
  constexpr int FLAGS = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  int descriptor = ::open(lockPath.c_str(), O_RDWR | O_CREAT | FLAGS, 0600);
  const int createError = errno;
  if (descriptor < 0 && (createError == EACCES || createError == EROFS || createError == EPERM)) {
    // A lock file made while the folder was writable still serves: flock needs no write access.
    descriptor = ::open(lockPath.c_str(), O_RDONLY | FLAGS);
  }
  if (descriptor < 0) {
    if (errno == ENOENT) {
      error = "cannot create a file in " + folder + ": " + ErrorText(createError);
      return LockOpen::Unavailable;
    }
    error = "cannot open the lock file " + lockPath + ": " + ErrorText(errno);
    return LockOpen::Failed;
  }
  struct stat info {};
  if (::fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode)) {
    ::close(descriptor);
    error = "the lock file " + lockPath + " is not a regular file";
    return LockOpen::Failed;
  }
  handle = descriptor;
  return LockOpen::Opened;
}

LockAttempt TryLockFile(LockHandle handle, std::string& error) {
  if (::flock(static_cast<int>(handle), LOCK_EX | LOCK_NB) == 0) {
    return LockAttempt::Held;
  }
  if (errno == EWOULDBLOCK || errno == EINTR) {
    return LockAttempt::Busy;
  }
  error = ErrorText(errno);
  return LockAttempt::Failed;
}

void CloseLockFile(LockHandle handle) {
  ::close(static_cast<int>(handle));  // which releases the lock
}

}  // namespace cpd::store
