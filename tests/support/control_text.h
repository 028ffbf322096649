// Texts that describe controls to a person ("press A Button", "squeeze LEFT TRIGGER"). The
// library words no control for its hosts, so these texts live beside the tests, not in it.
#pragma once

#include <string>

#include "joystick_mapping/control_model.h"

namespace cpd {

// "squeeze" a trigger, "move" a stick, "press" anything else.
std::string InputActionVerb(InputType type);

// "LEFT_SHOULDER" -> "LEFT SHOULDER"; a one-word name becomes a button: "A" -> "A Button".
std::string InputDisplayName(const std::string& name);

// Two lower-case hexadecimal digits per byte, no separators.
std::string ToHexString(const std::string& bytes);

}  // namespace cpd
