#include "pad_catalogue.h"

#include <algorithm>

namespace monitor {

namespace {

constexpr int FIRST_EVENT_NUMBER = 20;

}  // namespace

const std::vector<PadModel>& PadCatalogue() {
  // Input counts are those of the real pads as SDL reports them, enough for every input the
  // layout the library gives them reads; the generic pad is short of buttons on purpose, as
  // cheap pads are, so its d-pad shows what an unrecognised controller gets.
  static const std::vector<PadModel> catalogue = {
      {"xbox", "Xbox pad", "Xbox Wireless Controller", 0x045e, 0x0b13, 6, 11, 1},
      {"dualsense", "DualSense", "DualSense Wireless Controller", 0x054c, 0x0ce6, 6, 15, 1},
      {"switch-pro", "Switch Pro", "Nintendo Switch Pro Controller", 0x057e, 0x2009, 6, 15, 1},
      {"mobapad", "mobapad pro-hd", "Mobapad Pro-HD", 0x2f24, 0x0094, 6, 15, 1},
      {"rumblepad", "Logitech Cordless Rumblepad", "Logitech Cordless RumblePad 2", 0x046d, 0xc219,
       4, 12, 1},
      {"generic", "generic USB pad", "Generic USB Joystick", 0x0079, 0x0006, 5, 12, 1},
      {"pen-tablet", "pen tablet", "Wacom Intuos Pen", 0x056a, 0x0374, 6, 4, 0},
  };
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
