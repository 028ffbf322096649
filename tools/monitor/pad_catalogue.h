// What the simulated mode says about the simulator's catalogue of pads (pad_models.h) and where
// it plugs them.
#pragma once

#include <string>
#include <vector>

#include "pad_models.h"

namespace monitor {

using sim::PadModel;

// "xbox, dualsense, ..." for messages.
std::string PadKeys();

// The device path for a pad plugged while `taken` are in use: the first free one from
// /dev/input/event20 on, so that a pad unplugged and plugged again gets its old path (and its
// old slot) back.
std::string FreeDevicePath(const std::vector<std::string>& taken);

}  // namespace monitor
