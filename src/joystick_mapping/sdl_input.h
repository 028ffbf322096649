// The door to SDL2's joystick subsystem: set-up, enumeration by device path, opening, and
// reading a controller's identity. Called only from the polling thread, which owns every SDL call.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "joystick_mapping/joystick_device.h"
#include "joystick_mapping/joystick_list.h"

namespace cpd {

// 1 when SDL's joystick subsystem is (or already was) up, 0 when it could not be started.
int32_t InitJoystickInput();

// SDL_Quit.
void QuitJoystickInput();

// SDL loads and unloads libraries in SDL_Init and SDL_Quit, where the loader's lock can hold the
// polling thread up: since when (steady-clock time) it has been inside one of them, or
// std::nullopt when it is not.
std::optional<std::chrono::steady_clock::time_point> InsideSdlLoaderCallSince();

// The attached controllers that have a device path, by path.
JoystickList GetJoystickList();

// How many entries GetJoystickList would give now, made with the same SDL calls but without
// building the list.
int32_t CountJoysticks();

// Opens SDL device `deviceIndex` into `device._ptr` (null on failure, reported on stdout).
bool OpenJoystick(int32_t deviceIndex, JoystickDevice& device);

// Samples the open controller's inputs for its baseline (about a third of a second) and reads
// its counts, name, path, product and vendor id.
void ReadJoystickInfo(JoystickDevice& device);

// Whether SDL can drive the open controller's motors.
bool HasMotors(SDL_Joystick* joystick);

// Runs the controller's motors at these speeds for `duration` (SDL stops them after it, in a
// later SDL_JoystickUpdate); speeds already running only have their time extended. False when
// SDL could not.
bool RunMotors(SDL_Joystick* joystick, uint16_t low, uint16_t high,
               std::chrono::milliseconds duration);

}  // namespace cpd
