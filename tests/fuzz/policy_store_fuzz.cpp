// Fuzzes a stored document's whole way through the policy store: the text comes from the store, is
// loaded, looked up, updated, and written back by the watcher. A second store loads what was
// written. Besides the sanitizers, it checks that the written text reads back as an array and
// that the update changed only the chosen model: every other model the first store answered is
// answered the same by the second.
//
// Input: 7 header bytes (vid and pid big-endian, mapping index big-endian, a choice byte), then
// the document text. An odd choice byte updates one of the models named in the text instead of
// the header's.
#include <json/json.h>

#include <cctype>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "common/log_sink.h"
#include "cpd_joystick/sd_config.h"
#include "fuzz_support.h"
#include "joystick_policy/joystick_policy.h"
#include "joystick_policy/policy_document.h"

namespace {

std::mutex gStoreMutex;
std::string gStoredText;
int gWrites = 0;

void PutInStore(const std::string& text) {
  std::lock_guard<std::mutex> lock(gStoreMutex);
  gStoredText = text;
  gWrites = 0;
}

std::string TakeFromStore(int& writes) {
  std::lock_guard<std::mutex> lock(gStoreMutex);
  writes = gWrites;
  return gStoredText;
}

using cpd::fuzz::Model;

std::map<Model, int32_t> Answers(cpd::JoystickPolicy& policy, const std::vector<Model>& models) {
  std::map<Model, int32_t> answers;
  for (const Model& model : models) {
    answers[model] = policy.GetMappingIndex(model.vid, model.pid);
  }
  return answers;
}

}  // namespace

namespace sd {

SDConfig* SDConfig::GetInstance() {
  static SDConfig instance;
  return &instance;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): the store's interface
std::string SDConfig::GetSecure(const std::string& /*key*/) {
  std::lock_guard<std::mutex> lock(gStoreMutex);
  return gStoredText;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): the store's interface
bool SDConfig::SetSecure(const std::string& /*key*/, const std::string& value) {
  std::lock_guard<std::mutex> lock(gStoreMutex);
  gStoredText = value;
  ++gWrites;
  return true;
}

}  // namespace sd

// Formats every line, so that an argument that does not fit its conversion shows up. The buffer
// takes a whole document: text cut off at a small buffer costs the formatter a call per 64
// characters dropped, which was a sixth of the run.
extern "C" void quvaniLogPrint(int /*unused*/, int /*level*/, const char* /*tag*/,
                               const char* format, ...) {
  thread_local std::vector<char> line(size_t{1} << 17);
  va_list arguments;
  va_start(arguments, format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): started just above
  std::vsnprintf(line.data(), line.size(), format, arguments);
  va_end(arguments);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  cpd::fuzz::Input input;
  if (!cpd::fuzz::ReadInput(data, size, input)) {
    return 0;
  }
  const std::string& document = input.document;
  const Model chosen = input.chosen;
  const uint16_t mappingIndex = input.mappingIndex;
  const std::vector<Model>& models = input.models;

  PutInStore(document);
  std::map<Model, int32_t> expected;
  {
    auto policy = std::make_shared<cpd::JoystickPolicy>();
    policy->Init();
    expected = Answers(*policy, models);
    policy->SetMappingIndex(chosen.vid, chosen.pid, mappingIndex, "fuzz");
  }  // the watcher has written the change, at the latest in its last pass

  int writes = 0;
  const std::string stored = TakeFromStore(writes);
  if (chosen.vid == 0) {
    if (writes != 0) {
      cpd::fuzz::Fail("a refused choice was written", stored);
    }
    return 0;
  }
  if (writes == 0) {
    cpd::fuzz::Fail("the choice never reached the store", stored);
  }
  if (!cpd::fuzz::ReadsAsArray(stored)) {
    cpd::fuzz::Fail("the stored text does not read back as an array", stored);
  }
  if (!cpd::fuzz::AnswersComparable(document)) {
    return 0;
  }
  // A text that fails to parse is not searched, only appended to: an integer entry for the model
  // that the reader still got hold of (0 included) keeps answering ahead of the new one.
  const int32_t before = expected[chosen];
  const bool searched = cpd::fuzz::Parses(document);
  expected[chosen] = mappingIndex;

  auto reloaded = std::make_shared<cpd::JoystickPolicy>();
  reloaded->Init();
  for (const auto& [model, answer] : Answers(*reloaded, models)) {
    const bool shadowed = !searched && !(model < chosen) && !(chosen < model) && answer == before;
    if (answer != expected[model] && !shadowed) {
      cpd::fuzz::Fail("a model's answer changed across the update", stored);
    }
  }
  return 0;
}
