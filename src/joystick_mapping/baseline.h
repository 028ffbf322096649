// The burst measurement taken when a controller is opened: every input sampled many times, to
// learn the input counts and what the controller reports at rest.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "joystick_mapping/sdl.h"

namespace cpd {

// As SDL reports them; SDL answers -1 for a handle it does not know.
struct InputCounts {
  int32_t numAxes = 0;
  int32_t numButtons = 0;
  int32_t numHats = 0;
};

// One element per input: axes first, then buttons, then hats.
struct BaselineStatistics {
  std::vector<int32_t> averages;
  std::vector<int32_t> medians;
  std::vector<int32_t> modes;
  std::vector<int32_t> ranges;
};

using JoystickBaseline = std::pair<InputCounts, BaselineStatistics>;

struct InputStatistics {
  int32_t average = 0;
  int32_t median = 0;
  int32_t mode = 0;
  int32_t range = 0;
};

// The statistics of one input's samples, in the order they were taken (at least one). The
// median is the upper of two middle values, the mode the smallest of equally frequent values,
// and the average is truncated toward zero.
InputStatistics SummariseSamples(std::vector<int32_t> samples);

// Samples every input of `handle` `sampleCount` times, 5 ms apart, and logs each input's
// statistics. A negative count from SDL means there is nothing to sample: the statistics come
// back empty and the counts unchanged.
JoystickBaseline get_sdl_joystick_baseline(SDL_Joystick* handle, int32_t sampleCount);

}  // namespace cpd
