// The interactive monitor between the keys and the library: mode, selection, status line, and
// what each action does. The terminal shell feeds it keys and draws the views it makes.
#pragma once

#include <string>

#include "key_bindings.h"
#include "session.h"
#include "view.h"

namespace monitor {

class App {
 public:
  App(Session& session, bool simulated, bool showLog);

  // False once the user asked to quit.
  bool HandleKey(int key);
  View MakeView();

 private:
  void Do(const Action& action);
  void SetLayout(uint16_t layout);
  void Plug(size_t entry);
  void UnplugSelected();
  void UnplugLast();
  void Replug();
  void ToggleRumble();
  void Drive(const Action& action);
  void EnterDrive();
  bool NeedsSimulator();
  const DeviceRow* Selected() const;
  void Say(const std::string& text, bool warning = false);
  // What the monitor did to the simulator, in the event pane beside what the library said.
  void Note(const std::string& text);

  Session& mSession;
  bool mSimulated;
  bool mShowLog;
  bool mQuit = false;
  Mode mMode = Mode::COMMAND;
  std::string mSelectedPath;  // follows the controller when the list changes
  size_t mSelected = 0;
  StateSnapshot mLast;
  std::string mStatus;
  bool mStatusIsWarning = false;
};

}  // namespace monitor
