#include "app.h"

#include <algorithm>

namespace monitor {

App::App(Session& session, bool simulated, bool showLog)
    : mSession(session), mSimulated(simulated), mShowLog(showLog) {
  mStatus = simulated ? "simulated: p plugs a pad, Tab drives the selected one, ? shows every key"
                      : "? shows every key";
}

bool App::HandleKey(int key) {
  Do(ActionFor(mMode, key));
  return !mQuit;
}

void App::Do(const Action& action) {
  switch (action.kind) {
    case ActionKind::QUIT:
      mQuit = true;
      break;
    case ActionKind::SELECT_PREVIOUS:
      mSelected = mSelected > 0 ? mSelected - 1 : 0;
      mSelectedPath.clear();
      break;
    case ActionKind::SELECT_NEXT:
      mSelected = mLast.devices.empty() ? 0 : std::min(mSelected + 1, mLast.devices.size() - 1);
      mSelectedPath.clear();
      break;
    case ActionKind::SET_LAYOUT:
      mMode = mMode == Mode::LAYOUT_MENU ? Mode::COMMAND : mMode;
      SetLayout(static_cast<uint16_t>(action.value));
      break;
    case ActionKind::LAYOUT_MENU:
      mMode = Selected() != nullptr ? Mode::LAYOUT_MENU : mMode;
      break;
    case ActionKind::PLUG_MENU:
      mMode = NeedsSimulator() ? Mode::PLUG_MENU : mMode;
      break;
    case ActionKind::PLUG:
      mMode = Mode::COMMAND;
      Plug(static_cast<size_t>(action.value));
      break;
    case ActionKind::UNPLUG:
      UnplugSelected();
      break;
    case ActionKind::UNPLUG_LAST:
      UnplugLast();
      break;
    case ActionKind::REPLUG:
      Replug();
      break;
    case ActionKind::TOGGLE_RUMBLE:
      ToggleRumble();
      break;
    case ActionKind::TOGGLE_LOG:
      mShowLog = !mShowLog;
      break;
    case ActionKind::HELP:
      mMode = Mode::HELP;
      break;
    case ActionKind::DRIVE_MODE:
      EnterDrive();
      break;
    case ActionKind::COMMAND_MODE:
    case ActionKind::CANCEL:
      mMode = Mode::COMMAND;
      break;
    case ActionKind::TOGGLE_CONTROL:
    case ActionKind::STEP_TRIGGER:
    case ActionKind::STEP_STICK:
    case ActionKind::RELEASE_ALL:
      Drive(action);
      break;
    case ActionKind::NONE:
      break;
  }
}

void App::SetLayout(uint16_t layout) {
  const DeviceRow* device = Selected();
  if (device == nullptr) {
    Say("no controller to give a layout to", true);
    return;
  }
  const uint16_t slot = device->slot;
  const std::string path = device->path;
  const int32_t result = mSession.SetLayout(slot, layout);
  const std::string call = "JoysticAPI_SetMapping(" + std::to_string(slot) + ", " +
                           std::to_string(layout) + ") = " + std::to_string(result);
  const std::string where = slot == NO_SLOT ? "no slot" : "slot " + std::to_string(slot);
  if (result < 0) {
    Say(where + ": " + call + ", layout unchanged", true);
    return;
  }
  Say(where + ": " + call + ", now " + LayoutNameOf(mLast.layouts, layout));
  if (SimulatedPads* pads = mSession.Pads()) {
    pads->Refresh(path, layout);
  }
}

void App::Plug(size_t entry) {
  if (!NeedsSimulator() || entry >= sim::PAD_CATALOGUE.size()) {
    return;
  }
  const PadModel& model = sim::PAD_CATALOGUE[entry];
  const std::string path = mSession.Pads()->Plug(model, "");
  Note("plugged a " + std::string(model.label) + " at " + path);
  Say("plugged a " + std::string(model.label) + " at " + path +
      "; the library opens it in about a second");
}

void App::UnplugSelected() {
  if (!NeedsSimulator()) {
    return;
  }
  const DeviceRow* device = Selected();
  if (device == nullptr || !mSession.Pads()->Unplug(device->path)) {
    Say("the selected controller is not a pad this monitor plugged (U unplugs the last one)", true);
    return;
  }
  Note("unplugged " + device->name + " at " + device->path);
  Say("unplugged " + device->name + " at " + device->path);
}

void App::UnplugLast() {
  if (!NeedsSimulator()) {
    return;
  }
  const std::string label = mSession.Pads()->UnplugLast();
  if (!label.empty()) {
    Note("unplugged the " + label);
  }
  Say(label.empty() ? "no simulated pad is plugged" : "unplugged the " + label, label.empty());
}

void App::Replug() {
  if (!NeedsSimulator()) {
    return;
  }
  const DeviceRow* device = Selected();
  if (device == nullptr || !mSession.Pads()->Replug(device->path)) {
    Say("the selected controller is not a pad this monitor plugged", true);
    return;
  }
  Note("replugged " + device->name + " at " + device->path);
  Say("replugged " + device->name + ": the library sees it detach and opens it again");
}

void App::ToggleRumble() {
  const DeviceRow* device = Selected();
  if (device == nullptr) {
    Say("no controller to rumble", true);
    return;
  }
  const MotorSpeeds asked = NextTestRumble(mSession.MotorsOf(*device));
  const int32_t answer = mSession.SetVibration(device->slot, asked);
  Say(DescribeVibration(device->slot, asked, answer), answer != 0);
}

void App::EnterDrive() {
  if (!NeedsSimulator()) {
    return;
  }
  if (Selected() == nullptr) {
    Say("no controller to drive: press p to plug one", true);
    return;
  }
  mMode = Mode::DRIVE;
  Say("driving " + Selected()->name + ": a key press latches, press again to release");
}

void App::Drive(const Action& action) {
  const DeviceRow* device = Selected();
  if (mSession.Pads() == nullptr || device == nullptr) {
    return;
  }
  const DriveNote note = mSession.Pads()->Drive(device->path, device->layout, action);
  if (!note.text.empty()) {
    Say(note.text, note.warning);
  }
}

bool App::NeedsSimulator() {
  if (mSession.Pads() != nullptr) {
    return true;
  }
  Say("plugging and driving pads needs --simulate", true);
  return false;
}

const DeviceRow* App::Selected() const {
  return mSelected < mLast.devices.size() ? &mLast.devices[mSelected] : nullptr;
}

void App::Note(const std::string& text) {
  mSession.State().AddEvent("simulator", text);
}

void App::Say(const std::string& text, bool warning) {
  mStatus = text;
  mStatusIsWarning = warning;
}

View App::MakeView() {
  mLast = mSession.State().Snapshot();
  if (!mSelectedPath.empty()) {
    const auto found =
        std::find_if(mLast.devices.begin(), mLast.devices.end(),
                     [&](const DeviceRow& device) { return device.path == mSelectedPath; });
    if (found != mLast.devices.end()) {
      mSelected = static_cast<size_t>(found - mLast.devices.begin());
    }
  }
  mSelected = mLast.devices.empty() ? 0 : std::min(mSelected, mLast.devices.size() - 1);
  mSelectedPath = mLast.devices.empty() ? "" : mLast.devices[mSelected].path;
  if (mMode == Mode::DRIVE && mLast.devices.empty()) {
    mMode = Mode::COMMAND;
  }

  View view;
  view.simulated = mSimulated;
  view.simulatedPads = mSession.Pads() != nullptr ? mSession.Pads()->Count() : 0;
  view.pollMs = mSession.PollMs();
  view.devices = mLast.devices;
  view.selected = mSelected;
  if (const DeviceRow* device = Selected()) {
    const auto packet = mLast.packets.find(device->slot);
    view.hasPacket = device->opened && packet != mLast.packets.end();
    view.packet = view.hasPacket ? packet->second : JoystickDataPacket{};
    view.motors = mSession.MotorsOf(*device);
  }
  view.events = mLast.events;
  view.logs = mLast.logs;
  view.showLog = mShowLog;
  view.mode = mMode;
  view.layouts = mLast.layouts;
  view.status = mStatus;
  view.statusIsWarning = mStatusIsWarning;
  return view;
}

}  // namespace monitor
