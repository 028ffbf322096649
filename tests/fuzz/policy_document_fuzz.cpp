// Fuzzes the policy document's functions alone, without store, watcher or log: a lookup of every
// model the text names, an update, and the same lookups on the updated text. Besides the
// sanitizers, it checks that the updated text reads back as an array and that the update changed
// only the chosen model.
//
// Input: 7 header bytes (vid and pid big-endian, mapping index big-endian, a choice byte), then
// the document text. An odd choice byte updates one of the models named in the text instead of
// the header's.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "joystick_policy/policy_document.h"

namespace {

using cpd::fuzz::Model;

// What the policy store answers for a model: nothing for vendor 0, which it refuses.
int32_t AnswerOf(const std::string& document, const Model& model) {
  if (model.vid == 0) {
    return 0;
  }
  return cpd::policy::LookupMappingIndex(document, cpd::policy::MakeVidPidKey(model.vid, model.pid))
      .mappingIndex;
}

std::map<Model, int32_t> Answers(const std::string& document, const std::vector<Model>& models) {
  std::map<Model, int32_t> answers;
  for (const Model& model : models) {
    answers[model] = AnswerOf(document, model);
  }
  return answers;
}

void CheckKey(const Model& model) {
  char expected[12];
  std::snprintf(expected, sizeof expected, "%.4x:%.4x", static_cast<unsigned>(model.vid),
                static_cast<unsigned>(model.pid));
  if (cpd::policy::MakeVidPidKey(model.vid, model.pid) != expected) {
    cpd::fuzz::Fail("the vendor:product key is not %.4x:%.4x", expected);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  cpd::fuzz::Input input;
  if (!cpd::fuzz::ReadInput(data, size, input)) {
    return 0;
  }
  const std::string& document = input.document;
  const Model chosen = input.chosen;
  CheckKey(chosen);
  const std::map<Model, int32_t> before = Answers(document, input.models);
  if (chosen.vid == 0) {
    return 0;  // the store refuses vendor 0 before the document is touched
  }
  const std::string updated = cpd::policy::UpdateMappingIndex(
      document, cpd::policy::MakeVidPidKey(chosen.vid, chosen.pid), input.mappingIndex, "fuzz");
  if (!cpd::fuzz::ReadsAsArray(updated)) {
    cpd::fuzz::Fail("the updated text does not read back as an array", updated);
  }
  if (!cpd::fuzz::AnswersComparable(document)) {
    return 0;
  }
  std::map<Model, int32_t> expected = before;
  const int32_t previous = expected[chosen];
  const bool searched = cpd::fuzz::Parses(document);
  expected[chosen] = input.mappingIndex;
  for (const auto& [model, answer] : Answers(updated, input.models)) {
    const bool shadowed = !searched && !(model < chosen) && !(chosen < model) && answer == previous;
    if (answer != expected[model] && !shadowed) {
      cpd::fuzz::Fail("a model's answer changed across the update", updated);
    }
  }
  return 0;
}
