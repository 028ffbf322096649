// What the policy fuzz targets share: the input's layout, the models a text names, and the
// checks on a written text.
#pragma once

#include <json/json.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

namespace cpd::fuzz {

// How many of the models a text names are looked up, besides the chosen one.
constexpr size_t MOST_MODELS = 4;

struct Model {
  uint16_t vid = 0;
  uint16_t pid = 0;
  bool operator<(const Model& other) const {
    return vid != other.vid ? vid < other.vid : pid < other.pid;
  }
};

// 7 header bytes (vid and pid big-endian, mapping index big-endian, a choice byte), then the
// document text. An odd choice byte picks one of the models named in the text instead of the
// header's. `models` holds every model the text names, and the chosen one last.
struct Input {
  Model chosen;
  uint16_t mappingIndex = 0;
  std::string document;
  std::vector<Model> models;
};

inline bool IsLowerHex(char c) {
  return std::isdigit(static_cast<unsigned char>(c)) || (c >= 'a' && c <= 'f');
}

// Every quoted "xxxx:xxxx" key in the raw text, found without any JSON reader.
inline std::vector<Model> ModelsNamedIn(const std::string& text) {
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

inline bool ReadInput(const uint8_t* data, size_t size, Input& input) {
  if (size < 7) {
    return false;
  }
  const auto word = [data](size_t at) {
    return static_cast<uint16_t>(data[at] << 8 | data[at + 1]);
  };
  input.chosen = {word(0), word(2)};
  input.mappingIndex = word(4);
  const uint8_t choice = data[6];
  input.document.assign(reinterpret_cast<const char*>(data + 7), size - 7);
  input.models = ModelsNamedIn(input.document);
  if ((choice & 1U) != 0 && !input.models.empty()) {
    input.chosen = input.models[(choice >> 1U) % input.models.size()];
  }
  // Each model is looked up on its own, every lookup parsing the whole text: a few distinct ones
  // cover what a long list would, at a fraction of the time.
  std::sort(input.models.begin(), input.models.end());
  input.models.erase(
      std::unique(input.models.begin(), input.models.end(),
                  [](const Model& a, const Model& b) { return !(a < b) && !(b < a); }),
      input.models.end());
  if (input.models.size() > MOST_MODELS) {
    input.models.resize(MOST_MODELS);
  }
  input.models.push_back(input.chosen);
  return true;
}

[[noreturn]] inline void Fail(const char* what, const std::string& text) {
  std::fprintf(stderr, "policy fuzz: %s\ntext:\n%s\n", what, text.c_str());
  std::abort();
}

inline bool Parses(const std::string& text, Json::Value& root) {
  try {
    Json::Reader reader;
    return reader.parse(text, root, true);
  } catch (const std::exception&) {
    return false;
  }
}

inline bool Parses(const std::string& text) {
  Json::Value root;
  return Parses(text, root);
}

inline bool ReadsAsArray(const std::string& text) {
  Json::Value root;
  return Parses(text, root) && root.isArray();
}

// The styled writer cuts member names at a NUL character, so "vidpid\u0000" comes back as
// "vidpid" and may start to name a model; answers are only compared for texts without one.
inline bool AnswersComparable(const std::string& document) {
  return document.find('\0') == std::string::npos && document.find("\\u0000") == std::string::npos;
}

}  // namespace cpd::fuzz
