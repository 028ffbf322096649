// The controllers the simulated mode can plug: well-known pads whose names the library
// recognises, one it does not, and a pen tablet that it must ignore.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace monitor {

struct PadModel {
  const char* key;    // what options and scenario files call it
  const char* label;  // what the plug menu shows
  const char* name;   // what SDL reports
  uint16_t vid;
  uint16_t pid;
  int axes;
  int buttons;
  int hats;
};

const std::vector<PadModel>& PadCatalogue();

// Null when no model has this key.
const PadModel* FindPad(const std::string& key);

// "xbox, dualsense, ..." for messages.
std::string PadKeys();

// The device path for a pad plugged while `taken` are in use: the first free one from
// /dev/input/event20 on, so that a pad unplugged and plugged again gets its old path (and its
// old slot) back.
std::string FreeDevicePath(const std::vector<std::string>& taken);

}  // namespace monitor
