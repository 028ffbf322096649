// The policy document: a JSON array of {"describe", "mapping", "vidpid"} objects, one per
// controller model, kept in the secure store under POLICY_STORE_KEY. These are plain functions over
// the document text; JoystickPolicy adds the locking, the logging and the store.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace cpd::policy {

inline constexpr const char* POLICY_STORE_KEY = "joystickPolicyList";

// "%.4x:%.4x": four lower-case hexadecimal digits each, so 0x054C, 0x0CE6 gives "054c:0ce6".
std::string MakeVidPidKey(uint16_t vid, uint16_t pid);

enum class LookupOutcome {
  EMPTY_DOCUMENT,  // no policy at all; nothing worth a log line
  RENDER_FAILED,   // the text failed to parse and left nothing to search
  NOT_FOUND,
  FOUND,
};

struct LookupResult {
  LookupOutcome outcome = LookupOutcome::NOT_FOUND;
  int32_t mappingIndex = 0;  // 0 unless FOUND
};

// What lookups need of a document, read from its text once: a lookup then parses nothing.
struct DocumentAnswers {
  // The outcome for a model without an answer: EMPTY_DOCUMENT, RENDER_FAILED or NOT_FOUND.
  LookupOutcome unanswered = LookupOutcome::EMPTY_DOCUMENT;
  std::map<std::string, int32_t> mappingIndexes;  // by "vidpid"
};

// The first entry for a model whose "mapping" is an integer answers it; entries of that model
// with any other "mapping" are passed over rather than read as 0. Never throws for any document
// text, except when memory runs out.
DocumentAnswers ReadAnswers(const std::string& document);
LookupResult LookupMappingIndex(const DocumentAnswers& answers, const std::string& vidpid);
// The same for a text read just for this one lookup.
LookupResult LookupMappingIndex(const std::string& document, const std::string& vidpid);

// The styled text of `document` with the choice recorded: the first entry for `vidpid` gets the
// new "describe" and "mapping", else a new entry is appended. Unknown members and elements that
// are not objects are written back as they came. Throws only when memory runs out.
std::string UpdateMappingIndex(const std::string& document, const std::string& vidpid,
                               uint16_t mappingIndex, const std::string& describe);

// One layout choice for one model, as recorded by UpdateMappingIndex.
struct Choice {
  std::string vidpid;
  uint16_t mappingIndex = 0;
  std::string describe;
};

// `document` with every choice recorded in turn, as UpdateMappingIndex records one; `document`
// itself, unchanged, when there are none.
std::string MergeChoices(std::string document, const std::vector<Choice>& choices);

}  // namespace cpd::policy
