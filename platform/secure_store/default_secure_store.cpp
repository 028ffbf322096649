// Default secure store: every value lives in one JSON object in one file (where, and how it is
// replaced, is the file side's business: store_file.h; what a file's text holds and allows is
// store_document.h). A crash in the middle of a write leaves the previous contents intact; two
// processes sharing the file take turns (store_hold.h). A file that cannot be read as a store
// reads as empty, with one error line each time; the next write keeps it as
// <file>.corrupt-<UTC time> rather than losing it. What is not a regular file, a read-only file
// and an oversized file are never written. Nothing thrown inside leaves a call.
#include <cstdio>
#include <ctime>
#include <exception>
#include <string>

#include "cpd_joystick/sd_config.h"
#include "cpd_joystick/store_update.h"
#include "store_document.h"
#include "store_file.h"
#include "store_hold.h"

namespace {

namespace store = cpd::store;

// Plenty for a store kept aside once per write within one second.
constexpr int MOST_COPIES_PER_SECOND = 1000;

void ReportError(const std::string& message) noexcept {
  std::fprintf(stderr, "cpd-joystick store: %s\n", message.c_str());
}

void ReportUnexpected(const char* call, const char* what) noexcept {
  std::fprintf(stderr, "cpd-joystick store: %s failed unexpectedly: %s\n", call, what);
}

bool KeepCorruptCopy(const std::string& path, std::string& error) {
  const std::time_t now = std::time(nullptr);
  for (int attempt = 1; attempt <= MOST_COPIES_PER_SECOND; ++attempt) {
    const std::string copy = store::CorruptCopyName(path, now, attempt);
    switch (store::KeepCopy(path, copy, error)) {
      case store::CopyResult::Kept:
        ReportError("kept the unreadable store file as " + copy);
        return true;
      case store::CopyResult::NameTaken:
        break;
      case store::CopyResult::Failed:
        return false;
    }
  }
  error = "cannot keep " + path + " aside: every name for a copy made this second is taken";
  return false;
}

std::string ReadHeld(const std::string& path, const std::string& key) {
  const store::FileVerdict verdict = store::JudgeFile(path, store::ReadStoreFile(path));
  if (!verdict.readError.empty()) {
    ReportError(verdict.readError);
  }
  return store::StringValue(verdict.values, key);
}

bool WriteHeld(const std::string& path, const std::string& key, const std::string& value) {
  store::FileVerdict verdict = store::JudgeFile(path, store::ReadStoreFile(path));
  if (!verdict.writeRefusal.empty()) {
    ReportError(verdict.writeRefusal);
    return false;
  }
  verdict.values[key] = value;
  const std::string text = store::SerializeStore(verdict.values);
  if (const std::string refusal = store::OversizeRefusal(path, text.size()); !refusal.empty()) {
    ReportError(refusal);
    return false;
  }
  std::string error;
  if (verdict.keepAside && !KeepCorruptCopy(path, error)) {
    ReportError(error + "; nothing stored");
    return false;
  }
  if (!store::ReplaceWholeFile(path, text, error)) {
    ReportError(error);
    return false;
  }
  return true;
}

std::string Get(const std::string& key) {
  const std::string path = store::StorePath();
  if (path.empty()) {
    return "";
  }
  const store::StoreHold hold(path, store::Purpose::Read);
  if (!hold.Held()) {
    ReportError(hold.Error() + "; reading the store as empty");
    return "";
  }
  return ReadHeld(path, key);
}

bool Set(const std::string& key, const std::string& value) {
  const std::string path = store::StorePath();
  if (path.empty()) {
    return false;
  }
  const store::StoreHold hold(path, store::Purpose::Write);
  if (!hold.Held()) {
    ReportError(hold.Error() + "; nothing stored");
    return false;
  }
  return WriteHeld(path, key, value);
}

int BeginUpdate() {
  const std::string path = store::StorePath();
  if (path.empty()) {
    ReportError("no location for the store; no update begun");
    return 0;
  }
  std::string error;
  if (!store::BeginUpdate(path, error)) {
    ReportError(error + "; no update begun");
    return 0;
  }
  return 1;
}

}  // namespace

namespace sd {

SDConfig* SDConfig::GetInstance() {
  static SDConfig instance;
  try {
    return store::StorePath().empty() ? nullptr : &instance;
  } catch (const std::exception& error) {
    ReportUnexpected("GetInstance", error.what());
  } catch (...) {
    ReportUnexpected("GetInstance", "unknown exception");
  }
  return nullptr;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): the client library's interface
std::string SDConfig::GetSecure(const std::string& key) {
  try {
    return Get(key);
  } catch (const std::exception& error) {
    ReportUnexpected("GetSecure", error.what());
  } catch (...) {
    ReportUnexpected("GetSecure", "unknown exception");
  }
  return {};
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): the client library's interface
bool SDConfig::SetSecure(const std::string& key, const std::string& value) {
  try {
    return Set(key, value);
  } catch (const std::exception& error) {
    ReportUnexpected("SetSecure", error.what());
  } catch (...) {
    ReportUnexpected("SetSecure", "unknown exception");
  }
  return false;
}

}  // namespace sd

extern "C" int cpd_joystick_store_begin_update(void) {
  try {
    return BeginUpdate();
  } catch (const std::exception& error) {
    ReportUnexpected("cpd_joystick_store_begin_update", error.what());
  } catch (...) {
    ReportUnexpected("cpd_joystick_store_begin_update", "unknown exception");
  }
  return 0;
}

extern "C" void cpd_joystick_store_end_update(void) {
  if (!store::EndUpdate()) {
    ReportError("an update ended that this thread had not begun; nothing changed");
  }
}
