#include "scenario.h"

#include <algorithm>
#include <cstring>
#include <thread>

namespace cpd::test {

int Plug(const PadModel& model, const std::string& path) {
  const int pad = sim_plug(model.name, path.c_str(), model.vid, model.pid, model.axes,
                           model.buttons, model.hats);
  sim_set_motors(pad, model.motors ? 1 : 0);
  return pad;
}

void UnplugInReportUpdate(void* context, uint64_t /*update*/) {
  auto* state = static_cast<DetachDuringReport*>(context);
  const std::vector<sim_call> calls = sim::Journal();
  if (calls.size() < 2 || state->done.load()) {
    return;
  }
  if (std::strcmp(calls[calls.size() - 2].function, "SDL_JoystickPathForIndex") == 0) {
    state->done = true;
    sim_unplug(state->pad);
  }
}

void Scenario::SetUp() {
  sim_reset();
  ResetStore();
  ClearLogs();
}

void Scenario::TearDown() {
  for (TestListener* registered : mRegistered) {
    JoysticAPI_UnregsisterNotify(registered);
  }
  sim_reset();
}

void Scenario::Register(TestListener* which) {
  TestListener* target = which != nullptr ? which : &listener;
  mRegistered.push_back(target);
  JoysticAPI_RegsisterNotify(target);
}

void Scenario::Unregister(TestListener* which) {
  TestListener* target = which != nullptr ? which : &listener;
  mRegistered.erase(std::remove(mRegistered.begin(), mRegistered.end(), target), mRegistered.end());
  JoysticAPI_UnregsisterNotify(target);
}

bool Scenario::WaitForDevListUpdates(size_t count, TestListener* which) {
  TestListener* target = which != nullptr ? which : &listener;
  return target->WaitFor([&] { return target->DevListUpdateCount() >= count; },
                         std::chrono::seconds(15));
}

bool Scenario::WaitForPackets(size_t count, TestListener* which) {
  TestListener* target = which != nullptr ? which : &listener;
  return target->WaitFor([&] { return target->PacketCount() >= count; }, std::chrono::seconds(15));
}

bool Scenario::WaitForLog(const std::string& body, size_t count,
                          std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (CountLogBody(body) < count) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

std::vector<RecordedEvent> Scenario::EventsNamed(const std::string& name,
                                                 TestListener* which) const {
  const TestListener* target = which != nullptr ? which : &listener;
  std::vector<RecordedEvent> named;
  for (const RecordedEvent& event : target->Events()) {
    if (event.name == name) {
      named.push_back(event);
    }
  }
  return named;
}

}  // namespace cpd::test
