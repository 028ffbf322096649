#include "pad_catalogue.h"

#include <algorithm>

namespace monitor {

namespace {

constexpr int FIRST_EVENT_NUMBER = 20;

}  // namespace

const std::vector<PadModel>& PadCatalogue() {
  static const std::vector<PadModel> catalogue(sim::PAD_CATALOGUE.begin(),
                                               sim::PAD_CATALOGUE.end());
  return catalogue;
}

const PadModel* FindPad(const std::string& key) {
  const std::vector<PadModel>& catalogue = PadCatalogue();
  const auto found = std::find_if(catalogue.begin(), catalogue.end(),
                                  [&](const PadModel& model) { return key == model.key; });
  return found != catalogue.end() ? &*found : nullptr;
}

std::string PadKeys() {
  std::string keys;
  for (const PadModel& model : PadCatalogue()) {
    keys += keys.empty() ? "" : ", ";
    keys += model.key;
  }
  return keys;
}

std::string FreeDevicePath(const std::vector<std::string>& taken) {
  for (int number = FIRST_EVENT_NUMBER;; ++number) {
    std::string path = "/dev/input/event" + std::to_string(number);
    if (std::find(taken.begin(), taken.end(), path) == taken.end()) {
      return path;
    }
  }
}

}  // namespace monitor
