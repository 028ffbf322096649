#include "pad_catalogue.h"

#include <algorithm>

namespace monitor {

namespace {

constexpr int FIRST_EVENT_NUMBER = 20;

}  // namespace

std::string PadKeys() {
  std::string keys;
  for (const PadModel& model : sim::PAD_CATALOGUE) {
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
