// Fuzzes a stored document's way through the policy store: the text comes from the store, is
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
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "joystick_policy/joystick_policy.h"
#include "joystick_policy/policy_document.h"
#include "log_capture.h"
#include "recording_store.h"

namespace {

// The shared in-memory store holds the document; the shared sink formats every line, so that an
// argument that does not fit its conversion shows up, and keeps none.
void PutInStore(const std::string& text) {
  cpd::test::SetLogCapture(cpd::test::LogCapture::FORMAT);
  cpd::test::ResetStore();
  cpd::test::SetStoredValue(cpd::policy::POLICY_STORE_KEY, text);
}

std::string TakeFromStore(size_t& writes) {
  writes = cpd::test::CountStoreCalls("SetSecure");
  return cpd::test::StoredValue(cpd::policy::POLICY_STORE_KEY);
}

struct Model {
  uint16_t vid = 0;
  uint16_t pid = 0;
  bool operator<(const Model& other) const {
    return vid != other.vid ? vid < other.vid : pid < other.pid;
  }
};

bool IsLowerHex(char c) {
  return std::isdigit(static_cast<unsigned char>(c)) || (c >= 'a' && c <= 'f');
}

// Every quoted "xxxx:xxxx" key in the raw text, found without any JSON reader.
std::vector<Model> ModelsNamedIn(const std::string& text) {
  std::vector<Model> models;
  for (size_t i = 0; i + 11 <= text.size(); ++i) {
    if (text[i] != '"' || text[i + 5] != ':' || text[i + 10] != '"') {
      continue;
    }
    bool hex = true;
    for (size_t j : {1, 2, 3, 4, 6, 7, 8, 9}) {
      hex = hex && IsLowerHex(text[i + j]);
    }
    if (hex) {
      models.push_back(
          {static_cast<uint16_t>(std::strtoul(text.substr(i + 1, 4).c_str(), nullptr, 16)),
           static_cast<uint16_t>(std::strtoul(text.substr(i + 6, 4).c_str(), nullptr, 16))});
    }
  }
  return models;
}

std::map<Model, int32_t> Answers(cpd::JoystickPolicy& policy, const std::vector<Model>& models) {
  std::map<Model, int32_t> answers;
  for (const Model& model : models) {
    answers[model] = policy.GetMappingIndex(model.vid, model.pid);
  }
  return answers;
}

[[noreturn]] void Fail(const char* what, const std::string& stored) {
  std::fprintf(stderr, "policy fuzz: %s\nstored text:\n%s\n", what, stored.c_str());
  std::abort();
}

bool ReadsAsArray(const std::string& text) {
  try {
    Json::Reader reader;
    Json::Value root;
    return reader.parse(text, root, true) && root.isArray();
  } catch (const std::exception&) {
    return false;
  }
}

bool Parses(const std::string& text) {
  try {
    Json::Reader reader;
    Json::Value root;
    return reader.parse(text, root, true);
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 7) {
    return 0;
  }
  const auto word = [data](size_t at) {
    return static_cast<uint16_t>(data[at] << 8 | data[at + 1]);
  };
  Model chosen{word(0), word(2)};
  const uint16_t mappingIndex = word(4);
  const uint8_t choice = data[6];
  const std::string document(reinterpret_cast<const char*>(data + 7), size - 7);

  std::vector<Model> models = ModelsNamedIn(document);
  if ((choice & 1U) != 0 && !models.empty()) {
    chosen = models[(choice >> 1U) % models.size()];
  }
  models.push_back(chosen);

  PutInStore(document);
  std::map<Model, int32_t> expected;
  {
    auto policy = std::make_shared<cpd::JoystickPolicy>();
    policy->Init();
    expected = Answers(*policy, models);
    policy->SetMappingIndex(chosen.vid, chosen.pid, mappingIndex, "fuzz");
  }  // the watcher has written the change, at the latest in its last pass

  size_t writes = 0;
  const std::string stored = TakeFromStore(writes);
  if (chosen.vid == 0) {
    if (writes != 0) {
      Fail("a refused choice was written", stored);
    }
    return 0;
  }
  if (writes == 0) {
    Fail("the choice never reached the store", stored);
  }
  if (!ReadsAsArray(stored)) {
    Fail("the stored text does not read back as an array", stored);
  }
  // The styled writer cuts member names at a NUL character, so "vidpid\u0000" comes back as
  // "vidpid" and may start to name a model; answers are only compared for texts without one.
  if (document.find('\0') != std::string::npos || document.find("\\u0000") != std::string::npos) {
    return 0;
  }
  // A text that fails to parse is not searched, only appended to: an integer entry for the model
  // that the reader still got hold of (0 included) keeps answering ahead of the new one.
  const int32_t before = expected[chosen];
  const bool searched = Parses(document);
  expected[chosen] = mappingIndex;

  auto reloaded = std::make_shared<cpd::JoystickPolicy>();
  reloaded->Init();
  for (const auto& [model, answer] : Answers(*reloaded, models)) {
    const bool shadowed = !searched && !(model < chosen) && !(chosen < model) && answer == before;
    if (answer != expected[model] && !shadowed) {
      Fail("a model's answer changed across the update", stored);
    }
  }
  return 0;
}
