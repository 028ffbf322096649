// The monitor's listener: it keeps what it hears for the screen and, in JSON mode, writes it out.
#pragma once

#include "cpd_joystick/joystick_api.h"
#include "json_writer.h"
#include "monitor_state.h"

namespace monitor {

class MonitorListener : public CpdJoystickNotify {
 public:
  // `json` may be null (screen mode).
  MonitorListener(MonitorState& state, JsonWriter* json) : mState(state), mJson(json) {}

  void OnJoystickData(const JoystickDataPacket* data, int32_t length) override;
  void OnDevListUpdate() override;
  void OnJoystickEvent(std::string event, const EventRecord& record) override;

 private:
  MonitorState& mState;
  JsonWriter* mJson;
};

}  // namespace monitor
