// The monitor reads the layout table through LayoutBinding; what it reads must be exactly what
// installing the layout writes into a controller's mapping, control by control.
#include <gtest/gtest.h>

#include "joystick_mapping/layout_table.h"
#include "joystick_mapping/layouts.h"

namespace {

using cpd::InputBinding;
using cpd::InputId;
using cpd::JoystickDevice;

struct Install {
  cpd::MappingIndex kind;
  void (*install)(JoystickDevice&);
};

const Install INSTALLS[] = {
    {cpd::MAPPING_PS, cpd::setDualSenseSDLMapping},
    {cpd::MAPPING_SWITCH_MOD1, cpd::setSwitchSDLMapping},
    {cpd::MAPPING_SWITCH_MOD2, cpd::setSwitch2SDLMapping},
    {cpd::MAPPING_ANDROID, cpd::setAndroidSDLMapping},
    {cpd::MAPPING_LOGIC, cpd::setLogicRumblepadSDLMapping},
    {cpd::MAPPING_XBOX, cpd::setXboxSDLMapping},
};

TEST(LayoutBinding, ReadsWhatInstallingTheLayoutWrites) {
  for (const Install& layout : INSTALLS) {
    JoystickDevice device;
    layout.install(device);
    ASSERT_EQ(device.mapping.mappingIndex, layout.kind);
    ASSERT_EQ(device.mapping.bindings.size(), 24U) << "every control but GUIDE";
    for (const auto& [control, written] : device.mapping.bindings) {
      EXPECT_EQ(cpd::LayoutBinding(layout.kind, control), written)
          << "layout " << layout.kind << " control " << cpd::InputIdToString(control);
    }
    EXPECT_EQ(device.mapping.bindings.count(InputId::GUIDE), 0U);
  }
}

TEST(LayoutBinding, AnUnknownLayoutOrControlIsUnbound) {
  EXPECT_EQ(cpd::LayoutBinding(cpd::MAPPING_NONE, InputId::A), InputBinding{});
  EXPECT_EQ(cpd::LayoutBinding(7, InputId::A), InputBinding{});
  EXPECT_EQ(cpd::LayoutBinding(cpd::MAPPING_XBOX, static_cast<InputId>(25)), InputBinding{});
}

TEST(LayoutBinding, DpadOfAPlayStationPadIsFourButtonsAndOfAnXboxPadOneHat) {
  EXPECT_EQ(cpd::LayoutBinding(cpd::MAPPING_PS, InputId::DPAD_LEFT),
            (InputBinding{cpd::InputType::BUTTON, 13, cpd::BUTTON_PRESSED}));
  EXPECT_EQ(cpd::LayoutBinding(cpd::MAPPING_XBOX, InputId::DPAD_LEFT),
            (InputBinding{cpd::InputType::DPAD, 0, 8}));
  EXPECT_EQ(cpd::LayoutBinding(cpd::MAPPING_LOGIC, InputId::LEFT_TRIGGER),
            (InputBinding{cpd::InputType::BUTTON, 6, cpd::BUTTON_PRESSED}));
}

}  // namespace
