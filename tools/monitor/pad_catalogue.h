// The controllers the simulated mode can plug: the simulator's own catalogue.
#pragma once

#include <string>
#include <vector>

#include "pad_models.h"

namespace monitor {

using sim::PadModel;

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
