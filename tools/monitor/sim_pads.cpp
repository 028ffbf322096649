#include "sim_pads.h"

#include <algorithm>

namespace monitor {

namespace {

PadShape ShapeOf(const PadModel& model) {
  return {model.axes, model.buttons, model.hats};
}

}  // namespace

std::string SimulatedPads::Plug(const PadModel& model, const std::string& path,
                                const std::string& name) {
  std::lock_guard<std::mutex> lock(mMutex);
  std::string chosen = path;
  if (chosen.empty()) {
    std::vector<std::string> taken;
    for (const Pad& pad : mPads) {
      taken.push_back(pad.path);
    }
    chosen = FreeDevicePath(taken);
  }
  const int id = mApi.plugModel(model.key, chosen.c_str());
  mPads.push_back({id, &model, chosen, name, DriveState{}});
  return chosen;
}

bool SimulatedPads::Unplug(const std::string& path) {
  std::lock_guard<std::mutex> lock(mMutex);
  const auto found =
      std::find_if(mPads.begin(), mPads.end(), [&](const Pad& pad) { return pad.path == path; });
  if (found == mPads.end()) {
    return false;
  }
  mApi.unplug(found->id);
  mPads.erase(found);
  return true;
}

std::string SimulatedPads::UnplugLast() {
  std::lock_guard<std::mutex> lock(mMutex);
  if (mPads.empty()) {
    return "";
  }
  const Pad last = mPads.back();
  mPads.pop_back();
  mApi.unplug(last.id);
  return std::string(last.model->label) + " at " + last.path;
}

bool SimulatedPads::Replug(const std::string& path) {
  std::lock_guard<std::mutex> lock(mMutex);
  Pad* pad = ByPath(path);
  if (pad == nullptr) {
    return false;
  }
  pad->id = mApi.replug(pad->id);
  pad->drive = DriveState{};
  return true;
}

size_t SimulatedPads::Count() const {
  std::lock_guard<std::mutex> lock(mMutex);
  return mPads.size();
}

std::optional<MotorView> SimulatedPads::Motors(const std::string& path) {
  std::lock_guard<std::mutex> lock(mMutex);
  const Pad* pad = ByPath(path);
  if (pad == nullptr || mApi.motors == nullptr) {
    return std::nullopt;
  }
  MotorView view;
  view.source = MotorSource::SIMULATOR;
  view.present = mApi.motors(pad->id, &view.speeds.low, &view.speeds.high) == 1;
  return view;
}

bool SimulatedPads::UnplugNamed(const std::string& name) {
  std::string path;
  {
    std::lock_guard<std::mutex> lock(mMutex);
    const Pad* pad = ByName(name);
    if (pad == nullptr) {
      return false;
    }
    path = pad->path;
  }
  return Unplug(path);
}

bool SimulatedPads::SetInput(const std::string& name, StepKind kind, int index, int value) {
  std::lock_guard<std::mutex> lock(mMutex);
  const Pad* pad = ByName(name);
  if (pad == nullptr) {
    return false;
  }
  switch (kind) {
    case StepKind::BUTTON:
      mApi.setButton(pad->id, index, static_cast<uint8_t>(value));
      return true;
    case StepKind::AXIS:
      mApi.setAxis(pad->id, index, static_cast<int16_t>(value));
      return true;
    case StepKind::HAT:
      mApi.setHat(pad->id, index, static_cast<uint8_t>(value));
      return true;
    default:
      return false;
  }
}

DriveNote SimulatedPads::Drive(const std::string& path, uint16_t layout, const Action& action) {
  std::lock_guard<std::mutex> lock(mMutex);
  Pad* pad = ByPath(path);
  if (pad == nullptr) {
    return {"the selected controller is not a pad this monitor plugged", true};
  }
  if (!ApplyDrive(pad->drive, action)) {
    return {};
  }
  Write(*pad, layout);
  return DescribeDrive(pad->drive, action, layout, ShapeOf(*pad->model));
}

void SimulatedPads::Refresh(const std::string& path, uint16_t layout) {
  std::lock_guard<std::mutex> lock(mMutex);
  if (const Pad* pad = ByPath(path)) {
    Write(*pad, layout);
  }
}

SimulatedPads::Pad* SimulatedPads::ByPath(const std::string& path) {
  const auto found =
      std::find_if(mPads.begin(), mPads.end(), [&](const Pad& pad) { return pad.path == path; });
  return found != mPads.end() ? &*found : nullptr;
}

SimulatedPads::Pad* SimulatedPads::ByName(const std::string& name) {
  const auto found = std::find_if(mPads.begin(), mPads.end(), [&](const Pad& pad) {
    return !name.empty() && pad.name == name;
  });
  return found != mPads.end() ? &*found : nullptr;
}

void SimulatedPads::Write(const Pad& pad, uint16_t layout) const {
  const RawState raw = RawStateFor(pad.drive, layout, ShapeOf(*pad.model));
  for (size_t axis = 0; axis < raw.axes.size(); ++axis) {
    mApi.setAxis(pad.id, static_cast<int>(axis), raw.axes[axis]);
  }
  for (size_t button = 0; button < raw.buttons.size(); ++button) {
    mApi.setButton(pad.id, static_cast<int>(button), raw.buttons[button]);
  }
  for (size_t hat = 0; hat < raw.hats.size(); ++hat) {
    mApi.setHat(pad.id, static_cast<int>(hat), raw.hats[hat]);
  }
}

}  // namespace monitor
