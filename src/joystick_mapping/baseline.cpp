#include "joystick_mapping/baseline.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "common/log.h"

namespace cpd {

namespace {

constexpr std::chrono::milliseconds SAMPLE_PAUSE{5};

size_t TotalInputs(const InputCounts& counts) {
  if (counts.numAxes < 0 || counts.numButtons < 0 || counts.numHats < 0) {
    return 0;
  }
  return static_cast<size_t>(counts.numAxes) + static_cast<size_t>(counts.numButtons) +
         static_cast<size_t>(counts.numHats);
}

// Flat input numbering: axes, then buttons, then hats, each read with its own number.
int32_t ReadInput(SDL_Joystick* handle, const InputCounts& counts, int32_t flat) {
  if (flat < counts.numAxes) {
    return SDL_JoystickGetAxis(handle, flat);
  }
  flat -= counts.numAxes;
  if (flat < counts.numButtons) {
    return SDL_JoystickGetButton(handle, flat);
  }
  return SDL_JoystickGetHat(handle, flat - counts.numButtons);
}

// One column per input, one value per pass; no columns when there are no passes, since nothing
// can be said about an input that was never read. Every pass reads a fresh snapshot and is
// followed by the pause, the last one included.
std::vector<std::vector<int32_t>> TakeSamples(SDL_Joystick* handle, const InputCounts& counts,
                                              int32_t sampleCount) {
  std::vector<std::vector<int32_t>> columns(sampleCount > 0 ? TotalInputs(counts) : 0);
  for (std::vector<int32_t>& column : columns) {
    column.reserve(static_cast<size_t>(sampleCount));
  }
  for (int32_t pass = 0; pass < sampleCount; ++pass) {
    SDL_JoystickUpdate();
    for (size_t flat = 0; flat < columns.size(); ++flat) {
      columns[flat].push_back(ReadInput(handle, counts, static_cast<int32_t>(flat)));
    }
    std::this_thread::sleep_for(SAMPLE_PAUSE);
  }
  return columns;
}

// Walking the sorted values, a value takes over only with a strictly longer run, so among
// equally frequent values the smallest stays.
int32_t ModeOfSorted(const std::vector<int32_t>& sorted) {
  int32_t mode = 0;
  size_t bestRun = 0;
  size_t run = 0;
  for (size_t i = 0; i < sorted.size(); ++i) {
    run = i > 0 && sorted[i] == sorted[i - 1] ? run + 1 : 1;
    if (run > bestRun) {
      bestRun = run;
      mode = sorted[i];
    }
  }
  return mode;
}

}  // namespace

InputStatistics SummariseSamples(std::vector<int32_t> samples) {
  InputStatistics statistics;
  if (samples.empty()) {
    return statistics;
  }
  int64_t sum = 0;
  for (const int32_t sample : samples) {
    sum += sample;
  }
  statistics.average = static_cast<int32_t>(sum / static_cast<int64_t>(samples.size()));
  std::sort(samples.begin(), samples.end());
  statistics.median = samples[samples.size() / 2];
  statistics.range = static_cast<int32_t>(static_cast<int64_t>(samples.back()) - samples.front());
  statistics.mode = ModeOfSorted(samples);
  return statistics;
}

JoystickBaseline get_sdl_joystick_baseline(SDL_Joystick* handle, int32_t sampleCount) {
  JoystickBaseline baseline;
  InputCounts& counts = baseline.first;
  counts.numAxes = SDL_JoystickNumAxes(handle);
  counts.numButtons = SDL_JoystickNumButtons(handle);
  counts.numHats = SDL_JoystickNumHats(handle);
  const std::vector<std::vector<int32_t>> columns = TakeSamples(handle, counts, sampleCount);
  BaselineStatistics& statistics = baseline.second;
  for (size_t flat = 0; flat < columns.size(); ++flat) {
    const InputStatistics input = SummariseSamples(columns[flat]);
    statistics.averages.push_back(input.average);
    statistics.medians.push_back(input.median);
    statistics.modes.push_back(input.mode);
    statistics.ranges.push_back(input.range);
    CPD_LOG_DEBUG("index[%d] medianReport[%d] modeReport[%d] rangeReport[%d] avgReport[%d]",
                  static_cast<int>(flat), input.median, input.mode, input.range, input.average);
  }
  CPD_LOG_DEBUG("numAxes[%d] numButtons[%d] numHats[%d]", counts.numAxes, counts.numButtons,
                counts.numHats);
  return baseline;
}

}  // namespace cpd
