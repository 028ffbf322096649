// Default secure store: every value lives in one JSON object in one file (where, and how it is
// replaced, is the file side's business: store_file.h). A crash in the middle of a write leaves
// the previous contents intact. A file that cannot be read as a store reads as empty, with one
// error line each time; the next successful write sets it aside as <file>.corrupt rather than
// losing it.
#include <json/json.h>

#include <cstdio>
#include <mutex>
#include <sstream>
#include <string>

#include "cpd_joystick/sd_config.h"
#include "store_file.h"

namespace {

std::mutex gStoreMutex;

void ReportError(const std::string& message) {
  std::fprintf(stderr, "cpd-joystick store: %s\n", message.c_str());
}

enum class FileState { Missing, Valid, Corrupt };

// Reads the store file into `values` (an object of strings). A missing file is an empty store.
FileState ReadStore(const std::string& path, Json::Value& values) {
  values = Json::Value(Json::objectValue);
  std::string text;
  std::string error;
  switch (cpd::store::ReadWholeFile(path, text, error)) {
    case cpd::store::ReadResult::Missing:
      return FileState::Missing;
    case cpd::store::ReadResult::Failed:
      ReportError("cannot read " + path + ": " + error + "; reading it as empty");
      return FileState::Corrupt;
    case cpd::store::ReadResult::Read:
      break;
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

bool WriteStore(const std::string& path, const Json::Value& values) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "  ";
  const std::string text = Json::writeString(builder, values) + "\n";
  std::string error;
  if (!cpd::store::ReplaceWholeFile(path, text, error)) {
    ReportError(error);
    return false;
  }
  return true;
}

}  // namespace

namespace sd {

SDConfig* SDConfig::GetInstance() {
  static SDConfig instance;
  return cpd::store::StorePath().empty() ? nullptr : &instance;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): the client library's interface
std::string SDConfig::GetSecure(const std::string& key) {
  const std::string path = cpd::store::StorePath();
  std::lock_guard<std::mutex> lock(gStoreMutex);
  Json::Value values;
  ReadStore(path, values);
  const Json::Value& value = values[key];
  return value.isString() ? value.asString() : "";
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): the client library's interface
bool SDConfig::SetSecure(const std::string& key, const std::string& value) {
  const std::string path = cpd::store::StorePath();
  if (path.empty()) {
    return false;
  }
  std::lock_guard<std::mutex> lock(gStoreMutex);
  Json::Value values;
  if (ReadStore(path, values) == FileState::Corrupt) {
    const std::string aside = path + ".corrupt";
    if (cpd::store::MoveAside(path, aside)) {
      ReportError("kept the unreadable store file as " + aside);
    }
  }
  values[key] = value;
  return WriteStore(path, values);
}

}  // namespace sd
