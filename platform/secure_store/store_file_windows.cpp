// The default store's file on Windows: %CPD_JOYSTICK_STORE%, else
// %APPDATA%\cpd-joystick\store.json (the roaming application-data folder, private to the user by
// its inherited permissions). Paths travel as UTF-8 and meet the system only through the
// wide-character functions, so user names outside ASCII work. A write goes to a temporary file
// beside the store that is flushed to disk and then moved over the old one with write-through.
// Processes take turns on the store with LockFileEx on a lock file beside it.
#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <string>

#include "store_file.h"

namespace cpd::store {

namespace {

std::wstring Wide(const std::string& text) {
  if (text.empty()) {
    return {};
  }
  const int length =
      MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::wstring wide(static_cast<size_t>(length), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(), length);
  return wide;
}

std::string Utf8(const std::wstring& wide) {
  if (wide.empty()) {
    return {};
  }
  const int length = WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()),
                                         nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<size_t>(length), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), text.data(), length,
                      nullptr, nullptr);
  return text;
}

std::string ErrorText(DWORD error) {
  wchar_t* buffer = nullptr;
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, error, 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
  std::wstring text = length > 0 && buffer != nullptr ? std::wstring(buffer, length) : L"";
  LocalFree(buffer);
  while (!text.empty() && (text.back() == L'\n' || text.back() == L'\r' || text.back() == L'.')) {
    text.pop_back();
  }
  return (text.empty() ? "error" : Utf8(text)) + " (" + std::to_string(error) + ")";
}

std::wstring NonEmptyEnv(const wchar_t* name) {
  const DWORD size = GetEnvironmentVariableW(name, nullptr, 0);
  if (size == 0) {
    return {};
  }
  std::wstring value(size, L'\0');
  const DWORD length = GetEnvironmentVariableW(name, value.data(), size);
  value.resize(length < size ? length : 0);
  return value;
}

std::wstring RoamingAppData() {
  if (std::wstring folder = NonEmptyEnv(L"APPDATA"); !folder.empty()) {
    return folder;
  }
  wchar_t* known = nullptr;
  std::wstring folder;
  if (SHGetKnownFolderPath(FOLDERID_RoamingAppData, 0, nullptr, &known) == S_OK) {
    folder = known;
  }
  CoTaskMemFree(known);
  return folder;
}

bool IsSeparator(wchar_t character) {
  return character == L'\\' || character == L'/';
}

std::wstring ParentDirectory(const std::wstring& path) {
  const size_t separator = path.find_last_of(L"\\/");
  return separator == std::wstring::npos ? L"." : path.substr(0, separator);
}

// Creates `directory` and its missing parents.
bool MakeDirectories(const std::wstring& directory) {
  const DWORD attributes = GetFileAttributesW(directory.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES) {
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  }
  const std::wstring parent = ParentDirectory(directory);
  const bool isRoot = parent == directory || parent.empty() || parent == L"." ||
                      (parent.size() == 2 && parent[1] == L':');
  if (!isRoot && !MakeDirectories(parent)) {
    return false;
  }
  return CreateDirectoryW(directory.c_str(), nullptr) != 0 ||
         GetLastError() == ERROR_ALREADY_EXISTS;
}

bool WriteFully(HANDLE file, const std::string& text) {
  size_t written = 0;
  while (written < text.size()) {
    const DWORD chunk = static_cast<DWORD>(std::min<size_t>(text.size() - written, 1U << 20));
    DWORD done = 0;
    if (WriteFile(file, text.data() + written, chunk, &done, nullptr) == 0 || done == 0) {
      return false;
    }
    written += done;
  }
  return true;
}

// A name beside `path` that no other writer of this or another process uses at the same time.
std::wstring TemporaryBeside(const std::wstring& path) {
  static std::atomic<unsigned> counter{0};
  return path + L".tmp-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
         std::to_wstring(counter.fetch_add(1));
}

FoundFile Unreadable(const std::string& reason, bool readOnly = false) {
  FoundFile file;
  file.found = FileFound::Unreadable;
  file.detail = reason;
  file.readOnly = readOnly;
  return file;
}

FoundFile NotRegular(const char* what) {
  FoundFile file;
  file.found = FileFound::NotRegular;
  file.detail = what;
  return file;
}

bool IsMissing(DWORD error) {
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

// Reads at most one byte more than a store may hold, so that a file that grew after it was
// looked at is still not read whole.
FoundFile ReadOpenFile(HANDLE handle) {
  FoundFile file;
  if (GetFileType(handle) != FILE_TYPE_DISK) {
    return NotRegular("a device");
  }
  LARGE_INTEGER size{};
  if (GetFileSizeEx(handle, &size) == 0) {
    return Unreadable(ErrorText(GetLastError()));
  }
  if (static_cast<std::uint64_t>(size.QuadPart) > MAX_STORE_BYTES) {
    file.found = FileFound::TooLarge;
    file.bytes = static_cast<std::uint64_t>(size.QuadPart);
    return file;
  }
  char buffer[4096];
  for (;;) {
    DWORD done = 0;
    if (ReadFile(handle, buffer, sizeof buffer, &done, nullptr) == 0) {
      return Unreadable(ErrorText(GetLastError()));
    }
    if (done == 0) {
      break;
    }
    if (!AppendRead(file, buffer, done)) {
      return file;
    }
  }
  file.found = FileFound::Read;
  return file;
}

// A reader or a virus scanner may hold the old file open for a moment; moving over it is then
// refused briefly, so the move is tried a few times before the write counts as failed.
bool MoveOver(const std::wstring& from, const std::wstring& to) {
  constexpr int ATTEMPTS = 20;
  for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
    if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) !=
        0) {
      return true;
    }
    const DWORD error = GetLastError();
    if (error != ERROR_ACCESS_DENIED && error != ERROR_SHARING_VIOLATION) {
      return false;
    }
    Sleep(10);
    SetLastError(error);
  }
  return false;
}

}  // namespace

std::string StorePath() {
  if (std::wstring path = NonEmptyEnv(L"CPD_JOYSTICK_STORE"); !path.empty()) {
    return Utf8(path);
  }
  std::wstring base = RoamingAppData();
  if (base.empty()) {
    return "";
  }
  if (!IsSeparator(base.back())) {
    base += L'\\';
  }
  return Utf8(base + L"cpd-joystick\\store.json");
}

FoundFile ReadStoreFile(const std::string& path) {
  const std::wstring wide = Wide(path);
  WIN32_FILE_ATTRIBUTE_DATA attributes{};
  if (GetFileAttributesExW(wide.c_str(), GetFileExInfoStandard, &attributes) == 0) {
    const DWORD code = GetLastError();
    return IsMissing(code) ? FoundFile{} : Unreadable(ErrorText(code));
  }
  if ((attributes.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    return NotRegular("a symbolic link or junction");
  }
  if ((attributes.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    return NotRegular("a folder");
  }
  const bool readOnly = (attributes.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
  // Shared for deletion too, so that a writer of another store can move a new file over it.
  // Not following a link that replaced the file since.
  HANDLE handle = CreateFileW(wide.c_str(), GENERIC_READ,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    const DWORD code = GetLastError();
    return IsMissing(code) ? FoundFile{} : Unreadable(ErrorText(code), readOnly);
  }
  FoundFile file = ReadOpenFile(handle);
  CloseHandle(handle);
  file.readOnly = readOnly;
  return file;
}

bool ReplaceWholeFile(const std::string& path, const std::string& text, std::string& error) {
  const std::wstring target = Wide(path);
  const std::wstring directory = ParentDirectory(target);
  if (!MakeDirectories(directory)) {
    error = "cannot create " + Utf8(directory) + ": " + ErrorText(GetLastError());
    return false;
  }
  const std::wstring temporary = TemporaryBeside(target);
  // The name is this process's alone; a file left under it is a crashed earlier process's of the
  // same id (ids are reused), so it is overwritten rather than failing the write.
  HANDLE file = CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    error =
        "cannot create a temporary file in " + Utf8(directory) + ": " + ErrorText(GetLastError());
    return false;
  }
  const bool written = WriteFully(file, text) && FlushFileBuffers(file) != 0;
  const DWORD writeError = GetLastError();
  CloseHandle(file);
  if (!written || !MoveOver(temporary, target)) {
    error = "cannot write " + path + ": " + ErrorText(written ? GetLastError() : writeError);
    DeleteFileW(temporary.c_str());
    return false;
  }
  return true;
}

CopyResult KeepCopy(const std::string& path, const std::string& copy, std::string& error) {
  const std::wstring from = Wide(path);
  const std::wstring to = Wide(copy);
  // A second name for the same file: the store keeps its contents until it is replaced.
  if (CreateHardLinkW(to.c_str(), from.c_str(), nullptr) != 0) {
    return CopyResult::Kept;
  }
  DWORD code = GetLastError();
  if (code == ERROR_ALREADY_EXISTS || code == ERROR_FILE_EXISTS) {
    return CopyResult::NameTaken;
  }
  // A file system without hard links (FAT): moved instead, never over an existing name.
  if (MoveFileExW(from.c_str(), to.c_str(), 0) != 0) {
    return CopyResult::Kept;
  }
  code = GetLastError();
  if (code == ERROR_ALREADY_EXISTS || code == ERROR_FILE_EXISTS) {
    return CopyResult::NameTaken;
  }
  error = "cannot keep " + path + " as " + copy + ": " + ErrorText(code);
  return CopyResult::Failed;
}

LockOpen OpenLockFile(const std::string& lockPath, bool createFolder, LockHandle& handle,
                      std::string& error) {
  const std::wstring wide = Wide(lockPath);
  const std::wstring folder = ParentDirectory(wide);
  if (createFolder && !MakeDirectories(folder)) {
    error = "cannot create " + Utf8(folder) + ": " + ErrorText(GetLastError());
    return LockOpen::Failed;
  }
  constexpr DWORD SHARE_ALL = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  HANDLE file =
      CreateFileW(wide.c_str(), GENERIC_READ | GENERIC_WRITE, SHARE_ALL, nullptr, OPEN_ALWAYS,
                  FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  DWORD code = GetLastError();
  const DWORD createError = code;
  if (file == INVALID_HANDLE_VALUE && code == ERROR_ACCESS_DENIED) {
    // A lock file made while the folder was writable still serves: locking needs no write access.
    file = CreateFileW(wide.c_str(), GENERIC_READ, SHARE_ALL, nullptr, OPEN_EXISTING,
                       FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    code = GetLastError();
  }
  if (file == INVALID_HANDLE_VALUE) {
    if (IsMissing(code)) {
      error = "cannot create a file in " + Utf8(folder) + ": " + ErrorText(createError);
      return LockOpen::Unavailable;
    }
    error = "cannot open the lock file " + lockPath + ": " + ErrorText(code);
    return LockOpen::Failed;
  }
  BY_HANDLE_FILE_INFORMATION information{};
  if (GetFileType(file) != FILE_TYPE_DISK || GetFileInformationByHandle(file, &information) == 0 ||
      (information.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) !=
          0) {
    CloseHandle(file);
    error = "the lock file " + lockPath + " is not a regular file";
    return LockOpen::Failed;
  }
  handle = reinterpret_cast<LockHandle>(file);
  return LockOpen::Opened;
}

LockAttempt TryLockFile(LockHandle handle, std::string& error) {
  OVERLAPPED firstByte{};
  if (LockFileEx(reinterpret_cast<HANDLE>(handle),
                 LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &firstByte) != 0) {
    return LockAttempt::Held;
  }
  const DWORD code = GetLastError();
  if (code == ERROR_LOCK_VIOLATION || code == ERROR_IO_PENDING) {
    return LockAttempt::Busy;
  }
  error = ErrorText(code);
  return LockAttempt::Failed;
}

void CloseLockFile(LockHandle handle) {
  const auto file = reinterpret_cast<HANDLE>(handle);
  OVERLAPPED firstByte{};
  // Closing the handle releases the lock too, but only once the system gets round to it.
  UnlockFileEx(file, 0, 1, 0, &firstByte);
  CloseHandle(file);
}

}  // namespace cpd::store
