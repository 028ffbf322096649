// The pads plugged into the simulator by this monitor, and the keyboard's hold on each. Used
// from the screen's thread and the scenario player's thread.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "key_bindings.h"
#include "motors.h"
#include "pad_catalogue.h"
#include "pad_drive.h"
#include "scenario.h"
#include "simulator.h"

namespace monitor {

class SimulatedPads {
 public:
  explicit SimulatedPads(const SimulatorApi& api) : mApi(api) {}

  // Plugs a catalogue pad at `path` (the first free path when empty); `name` is the id a
  // scenario gives it. Returns the path.
  std::string Plug(const PadModel& model, const std::string& path, const std::string& name = "");
  // False when no pad of this monitor is at `path`.
  bool Unplug(const std::string& path);
  // The label of the pad plugged last, unplugged now; empty when none is plugged.
  std::string UnplugLast();
  // Pulls the pad at `path` out and puts it back at once, as a loose cable does: the number of
  // controllers stays the same, so the library sees the old handle detach. False when no pad of
  // this monitor is there.
  bool Replug(const std::string& path);
  size_t Count() const;
  // The speeds the motors of the pad at `path` run at, as the simulator reads them; nothing when
  // no pad of this monitor is there or the simulator cannot read motors.
  std::optional<MotorView> Motors(const std::string& path);

  // Scenario steps on the pad a scenario named; false when no such pad is plugged.
  bool UnplugNamed(const std::string& name);
  bool SetInput(const std::string& name, StepKind kind, int index, int value);

  // Applies a drive action to the pad at `path`, whose layout is `layout`.
  DriveNote Drive(const std::string& path, uint16_t layout, const Action& action);
  // Writes the held inputs again for a pad whose layout changed, so that they follow it.
  void Refresh(const std::string& path, uint16_t layout);

 private:
  struct Pad {
    int id;
    const PadModel* model;
    std::string path;
    std::string name;
    DriveState drive;
  };

  Pad* ByPath(const std::string& path);
  Pad* ByName(const std::string& name);
  void Write(const Pad& pad, uint16_t layout) const;

  SimulatorApi mApi;
  mutable std::mutex mMutex;
  std::vector<Pad> mPads;  // in plug order
};

}  // namespace monitor
