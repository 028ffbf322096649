#include "joystick_policy/policy_document.h"

#include <json/json.h>

#include <cstdio>
#include <exception>

namespace cpd::policy {

namespace {

constexpr const char* MEMBER_DESCRIBE = "describe";
constexpr const char* MEMBER_MAPPING = "mapping";
constexpr const char* MEMBER_VIDPID = "vidpid";

// The reader throws on texts nested deeper than it will follow. Such a text is treated like any
// other that fails to parse, except that nothing of its partial tree is kept: writing that tree
// back would give a text that cannot be read either.
bool ParseDocument(const std::string& text, Json::Value& root, bool collectComments = true) {
  try {
    Json::Reader reader;
    return reader.parse(text, root, collectComments);
  } catch (const std::exception&) {
    root = Json::Value();
    return false;
  }
}

// "vidpid" is read the way Json::Value::asString does (a missing member is the empty text),
// except that arrays and objects, on which asString throws, simply name no model.
bool NamesAModel(const Json::Value& vidpid) {
  return !vidpid.isArray() && !vidpid.isObject();
}

bool NamesModel(const Json::Value& vidpid, const std::string& key) {
  return NamesAModel(vidpid) && vidpid.asString() == key;
}

// Non-const access adds a missing "vidpid" as null to every object it passes, and the rewritten
// document keeps that trace: the stored text is what other readers of the store see, so one
// document and one choice always give the same text.
bool ChangeFirstEntry(Json::Value& root, const std::string& vidpid, uint16_t mappingIndex,
                      const std::string& describe) {
  for (Json::Value& element : root) {
    if (!element.isObject()) {
      continue;
    }
    if (NamesModel(element[MEMBER_VIDPID], vidpid)) {
      element[MEMBER_DESCRIBE] = describe;
      element[MEMBER_MAPPING] = static_cast<Json::Int>(mappingIndex);
      return true;
    }
  }
  return false;
}

void AppendEntry(Json::Value& root, const std::string& vidpid, uint16_t mappingIndex,
                 const std::string& describe) {
  // A root that is neither an array nor null holds no entries, and JsonCpp refuses to append to
  // it; the choice starts a new array instead. A null root becomes an array by the append.
  if (!root.isArray() && !root.isNull()) {
    root = Json::Value(Json::arrayValue);
  }
  Json::Value entry(Json::objectValue);
  entry[MEMBER_VIDPID] = vidpid;
  entry[MEMBER_DESCRIBE] = describe;
  entry[MEMBER_MAPPING] = static_cast<Json::Int>(mappingIndex);
  root.append(entry);
}

// Three blanks per level, " : ", members in name order, a final line break: the stored form that
// other readers of the store expect, byte for byte. toStyledString would indent with a tab;
// StyledWriter keeps the form.
std::string StyledText(const Json::Value& root) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
  Json::StyledWriter writer;
#pragma GCC diagnostic pop
  return writer.write(root);
}

// `root` is left holding the edited tree that the text was written from.
std::string EditedText(const std::string& document, const std::string& vidpid,
                       uint16_t mappingIndex, const std::string& describe, bool keepComments,
                       Json::Value& root) {
  root = Json::Value();
  if (!document.empty()) {
    ParseDocument(document, root, keepComments);
  }
  // A document that parsed only partly is searched too: appending there would leave the model's
  // older entry ahead of the new one, and lookups would go on answering with the old choice.
  const bool searchable = root.isArray() && !root.empty();
  if (!searchable || !ChangeFirstEntry(root, vidpid, mappingIndex, describe)) {
    AppendEntry(root, vidpid, mappingIndex, describe);
  }
  return StyledText(root);
}

}  // namespace

std::string MakeVidPidKey(uint16_t vid, uint16_t pid) {
  char key[12] = {};
  std::snprintf(key, sizeof key, "%.4x:%.4x", static_cast<unsigned>(vid),
                static_cast<unsigned>(pid));
  return key;
}

DocumentAnswers ReadAnswers(const std::string& document) {
  DocumentAnswers answers;
  if (document.empty()) {
    return answers;
  }
  Json::Value root;
  const bool parsed = ParseDocument(document, root);
  // A failed parse that still left an array, or anything at all, is searched, so a document cut
  // short still answers the models it holds; only one that left nothing is "render failed".
  if (!parsed && !root.isArray() && root.empty()) {
    answers.unanswered = LookupOutcome::RENDER_FAILED;
    return answers;
  }
  answers.unanswered = LookupOutcome::NOT_FOUND;
  if (!root.isArray()) {
    return answers;
  }
  for (const Json::Value& element : root) {
    if (!element.isObject()) {
      continue;
    }
    const Json::Value& vidpid = element[MEMBER_VIDPID];
    const Json::Value& mapping = element[MEMBER_MAPPING];
    if (NamesAModel(vidpid) && mapping.isInt()) {
      answers.mappingIndexes.emplace(vidpid.asString(), mapping.asInt());  // the first one wins
    }
  }
  return answers;
}

LookupResult LookupMappingIndex(const DocumentAnswers& answers, const std::string& vidpid) {
  const auto found = answers.mappingIndexes.find(vidpid);
  if (found == answers.mappingIndexes.end()) {
    return {answers.unanswered, 0};
  }
  return {LookupOutcome::FOUND, found->second};
}

LookupResult LookupMappingIndex(const std::string& document, const std::string& vidpid) {
  return LookupMappingIndex(ReadAnswers(document), vidpid);
}

std::string UpdateMappingIndex(const std::string& document, const std::string& vidpid,
                               uint16_t mappingIndex, const std::string& describe) {
  Json::Value edited;
  std::string updated = EditedText(document, vidpid, mappingIndex, describe, true, edited);
  Json::Value check;
  // The styled writer puts the next value on the line of a line comment that ends in a blank,
  // turning it into part of the comment. The text may then no longer read, or read as something
  // else: a user's choice swallowed by the comment. A document whose comments would change it
  // like that is written without them.
  if (!ParseDocument(updated, check) || !(check == edited)) {
    updated = EditedText(document, vidpid, mappingIndex, describe, false, edited);
  }
  return updated;
}

std::string MergeChoices(std::string document, const std::vector<Choice>& choices) {
  for (const Choice& choice : choices) {
    document = UpdateMappingIndex(document, choice.vidpid, choice.mappingIndex, choice.describe);
  }
  return document;
}

}  // namespace cpd::policy
