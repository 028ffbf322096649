#include "joystick_mapping/report_translation.h"

#include "common/log.h"

namespace cpd {

namespace {

// The translation's lines name the operation hosts know it by, whichever entry point ran it.
constexpr const char* REPORT_ORIGIN = "GetXboxReportFromSDLmap";

void LogPressed(const std::vector<PressedRead>& pressed) {
  for (const PressedRead& read : pressed) {
    if (read.hat) {
      CPD_LOG_DEBUG_IN(REPORT_ORIGIN, "SDL_JoystickGetHat index[%d] buttonValue[%d] mapValue[%d]",
                       read.index, read.value, read.mapValue);
    } else {
      CPD_LOG_DEBUG_IN(REPORT_ORIGIN,
                       "SDL_JoystickGetButton index[%d] buttonValue[%d] mapValue[%d]", read.index,
                       read.value, read.mapValue);
    }
  }
}

void ReadKind(RawInputs::Kind& kind, SDL_Joystick* joystick,
              int32_t (*read)(SDL_Joystick*, int32_t)) {
  for (int32_t number = 0; number < kind.count; ++number) {
    kind.values[static_cast<size_t>(number)] = read(joystick, number);
  }
}

}  // namespace

void ReadRawInputs(SDL_Joystick* joystick, RawInputs& raw) {
  SDL_JoystickUpdate();
  ReadKind(raw.axes, joystick, [](SDL_Joystick* from, int32_t number) -> int32_t {
    return SDL_JoystickGetAxis(from, number);
  });
  ReadKind(raw.buttons, joystick, [](SDL_Joystick* from, int32_t number) -> int32_t {
    return SDL_JoystickGetButton(from, number);
  });
  ReadKind(raw.hats, joystick, [](SDL_Joystick* from, int32_t number) -> int32_t {
    return SDL_JoystickGetHat(from, number);
  });
}

void GetXboxReportFromSDLmap(const JoystickDevice& device, const std::vector<InputId>& inputs,
                             XboxGamepad& gamepad) {
  const BindingSnapshot bindings = SnapshotOf(device.mapping.bindings);
  ReportReader reader;
  reader.Shape(bindings, inputs);
  reader.Read(device._ptr, bindings, inputs, gamepad);
}

void ReportReader::Read(SDL_Joystick* joystick, const BindingSnapshot& bindings,
                        const std::vector<InputId>& inputs, XboxGamepad& gamepad, bool logReads) {
  ReadRawInputs(joystick, mRaw);
  TranslateReport(mRaw, bindings, inputs, gamepad, logReads ? &mPressed : nullptr);
  if (logReads) {
    LogPressed(mPressed);
  }
}

}  // namespace cpd
