// Fuzzes the default secure store's core in memory: arbitrary bytes as a store file's text, then
// what a write makes of it. Besides the sanitizers, it checks that parsing never throws, that a
// corrupt text is kept aside rather than written over, and that a write keeps every member the
// file held, reads back equal and is written the same way again.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "store_document.h"

namespace {

namespace store = cpd::store;

constexpr const char* KEY = "joystickPolicyList";
constexpr const char* CHOICE = "[\n   {\n      \"mapping\" : 6\n   }\n]\n";

[[noreturn]] void Fail(const char* what, const std::string& text) {
  std::fprintf(stderr, "default store fuzz: %s\ntext:\n%s\n", what, text.c_str());
  std::abort();
}

// The store's write of `values` with the choice and the fuzzed bytes as one more value.
void CheckWrite(Json::Value values, const std::string& text) {
  values[KEY] = CHOICE;
  values["fuzzed bytes"] = text;
  const std::string written = store::SerializeStore(values);
  const store::StoreDocument again = store::ParseStore(written);
  if (again.state != store::DocumentState::Valid) {
    Fail("a written store does not parse", written);
  }
  if (!(again.values == values)) {
    Fail("values change across a write", written);
  }
  if (store::StringValue(again.values, KEY) != CHOICE ||
      store::StringValue(again.values, "fuzzed bytes") != text) {
    Fail("a written value does not read back", written);
  }
  if (store::SerializeStore(again.values) != written) {
    Fail("a store read back is written differently", written);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  store::FoundFile file;
  file.found = store::FileFound::Read;
  file.text = text;
  const store::FileVerdict verdict = store::JudgeFile("store.json", file);
  if (verdict.keepAside == verdict.readError.empty() || !verdict.writeRefusal.empty()) {
    Fail("a text is read as corrupt but not kept aside, or the other way round", text);
  }
  if (verdict.keepAside && !verdict.values.empty()) {
    Fail("a corrupt text has values", text);
  }
  CheckWrite(verdict.values, text);
  return 0;
}
