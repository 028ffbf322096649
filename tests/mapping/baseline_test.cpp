// The burst measurement at open time, on SDL2's virtual joysticks whose inputs a script changes
// from one sampling pass to the next.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "joystick_mapping/baseline.h"
#include "log_capture.h"
#include "virtual_joystick.h"

namespace {

using cpd::BaselineStatistics;
using cpd::InputStatistics;
using cpd::JoystickBaseline;
using cpd::test::DebugBody;
using cpd::test::LogBodies;
using cpd::test::VirtualInputs;
using cpd::test::VirtualJoystick;
using Values = std::vector<int32_t>;

constexpr int32_t SAMPLES = 64;

std::string InputLine(int index, int median, int mode, int range, int average) {
  return DebugBody("index[" + std::to_string(index) + "] medianReport[" + std::to_string(median) +
                   "] modeReport[" + std::to_string(mode) + "] rangeReport[" +
                   std::to_string(range) + "] avgReport[" + std::to_string(average) + "]");
}

std::string CountsLine(int axes, int buttons, int hats) {
  return DebugBody("numAxes[" + std::to_string(axes) + "] numButtons[" + std::to_string(buttons) +
                   "] numHats[" + std::to_string(hats) + "]");
}

void ExpectStatistics(const BaselineStatistics& statistics, const Values& averages,
                      const Values& medians, const Values& modes, const Values& ranges) {
  EXPECT_EQ(statistics.averages, averages);
  EXPECT_EQ(statistics.medians, medians);
  EXPECT_EQ(statistics.modes, modes);
  EXPECT_EQ(statistics.ranges, ranges);
}

class Baseline : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(mSession.ok()) << SDL_GetError();
    cpd::test::ClearLogs();
  }

  cpd::test::SdlJoystickSession mSession;
};

TEST_F(Baseline, AxisReadingZeroAndOneEquallyOftenHasMedianOneModeZeroAverageZero) {
  VirtualJoystick pad(VirtualInputs{1, 0, 0});
  ASSERT_TRUE(pad.ok()) << SDL_GetError();
  pad.SetScript([](int pass, VirtualJoystick& joystick) {
    joystick.SetAxis(0, static_cast<int16_t>(pass % 2));
  });
  const JoystickBaseline baseline = cpd::get_sdl_joystick_baseline(pad.handle(), SAMPLES);
  ExpectStatistics(baseline.second, {0}, {1}, {0}, {1});
  EXPECT_EQ(LogBodies(), (std::vector<std::string>{InputLine(0, 1, 0, 1, 0), CountsLine(1, 0, 0)}));
}

TEST_F(Baseline, ButtonNeverPressedIsZeroThroughout) {
  VirtualJoystick pad(VirtualInputs{0, 1, 0});
  ASSERT_TRUE(pad.ok()) << SDL_GetError();
  const JoystickBaseline baseline = cpd::get_sdl_joystick_baseline(pad.handle(), SAMPLES);
  ExpectStatistics(baseline.second, {0}, {0}, {0}, {0});
  EXPECT_EQ(LogBodies(), (std::vector<std::string>{InputLine(0, 0, 0, 0, 0), CountsLine(0, 1, 0)}));
}

TEST_F(Baseline, HatHeldUpForTheWholeBurstReadsOne) {
  VirtualJoystick pad(VirtualInputs{0, 0, 1});
  ASSERT_TRUE(pad.ok()) << SDL_GetError();
  pad.SetHat(0, SDL_HAT_UP);
  const JoystickBaseline baseline = cpd::get_sdl_joystick_baseline(pad.handle(), SAMPLES);
  ExpectStatistics(baseline.second, {1}, {1}, {1}, {0});
  EXPECT_EQ(LogBodies(), (std::vector<std::string>{InputLine(0, 1, 1, 0, 1), CountsLine(0, 0, 1)}));
}

TEST_F(Baseline, AxisPinnedAtMinus32768AveragesMinus32768WithNoRange) {
  VirtualJoystick pad(VirtualInputs{1, 0, 0});
  ASSERT_TRUE(pad.ok()) << SDL_GetError();
  pad.SetAxis(0, -32768);
  const JoystickBaseline baseline = cpd::get_sdl_joystick_baseline(pad.handle(), SAMPLES);
  ExpectStatistics(baseline.second, {-32768}, {-32768}, {-32768}, {0});
}

TEST_F(Baseline, InputsAreNumberedAxesThenButtonsThenHats) {
  VirtualJoystick pad(VirtualInputs{2, 2, 1});
  ASSERT_TRUE(pad.ok()) << SDL_GetError();
  pad.SetAxis(0, 100);
  pad.SetAxis(1, -200);
  pad.SetButton(1, true);
  pad.SetHat(0, SDL_HAT_LEFT);
  const JoystickBaseline baseline = cpd::get_sdl_joystick_baseline(pad.handle(), SAMPLES);
  EXPECT_EQ(baseline.first.numAxes, 2);
  EXPECT_EQ(baseline.first.numButtons, 2);
  EXPECT_EQ(baseline.first.numHats, 1);
  ExpectStatistics(baseline.second, {100, -200, 0, 1, 8}, {100, -200, 0, 1, 8},
                   {100, -200, 0, 1, 8}, {0, 0, 0, 0, 0});
  EXPECT_EQ(LogBodies(), (std::vector<std::string>{
                             InputLine(0, 100, 100, 0, 100), InputLine(1, -200, -200, 0, -200),
                             InputLine(2, 0, 0, 0, 0), InputLine(3, 1, 1, 0, 1),
                             InputLine(4, 8, 8, 0, 8), CountsLine(2, 2, 1)}));
}

TEST_F(Baseline, EveryPassReadsAFreshSnapshotAndPausesAfterwards) {
  VirtualJoystick pad(VirtualInputs{1, 1, 1});
  ASSERT_TRUE(pad.ok()) << SDL_GetError();
  // Each pass sees the value its own update set: 0, 1, ..., 63 on the axis.
  pad.SetScript([](int pass, VirtualJoystick& joystick) {
    joystick.SetAxis(0, static_cast<int16_t>(pass));
    joystick.SetButton(0, pass >= 60);
  });
  const int updatesBefore = pad.updates();
  const auto start = std::chrono::steady_clock::now();
  const JoystickBaseline baseline = cpd::get_sdl_joystick_baseline(pad.handle(), SAMPLES);
  const auto elapsed = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(pad.updates() - updatesBefore, SAMPLES);
  EXPECT_GE(elapsed, std::chrono::milliseconds(5 * SAMPLES));
  // 0..63: median at position 32, every value once so the smallest is the mode, 2016 / 64.
  ExpectStatistics(baseline.second, {31, 0, 0}, {32, 0, 0}, {0, 0, 0}, {63, 1, 0});
}

TEST_F(Baseline, AJoystickWithoutInputsGivesOnlyTheCounts) {
  VirtualJoystick pad(VirtualInputs{0, 0, 0});
  ASSERT_TRUE(pad.ok()) << SDL_GetError();
  const JoystickBaseline baseline = cpd::get_sdl_joystick_baseline(pad.handle(), SAMPLES);
  EXPECT_EQ(baseline.first.numAxes, 0);
  ExpectStatistics(baseline.second, {}, {}, {}, {});
  EXPECT_EQ(LogBodies(), (std::vector<std::string>{CountsLine(0, 0, 0)}));
}

TEST_F(Baseline, NegativeCountsFromSdlGiveEmptyStatisticsAndAreKept) {
  const JoystickBaseline baseline = cpd::get_sdl_joystick_baseline(nullptr, SAMPLES);
  EXPECT_EQ(baseline.first.numAxes, -1);
  EXPECT_EQ(baseline.first.numButtons, -1);
  EXPECT_EQ(baseline.first.numHats, -1);
  ExpectStatistics(baseline.second, {}, {}, {}, {});
  EXPECT_EQ(LogBodies(), (std::vector<std::string>{CountsLine(-1, -1, -1)}));
}

TEST_F(Baseline, NoPassesMeansNothingToSay) {
  VirtualJoystick pad(VirtualInputs{1, 1, 1});
  ASSERT_TRUE(pad.ok()) << SDL_GetError();
  for (const int32_t samples : {0, -1, INT32_MIN}) {
    cpd::test::ClearLogs();
    const JoystickBaseline baseline = cpd::get_sdl_joystick_baseline(pad.handle(), samples);
    EXPECT_EQ(baseline.first.numButtons, 1);
    ExpectStatistics(baseline.second, {}, {}, {}, {});
    EXPECT_EQ(LogBodies(), (std::vector<std::string>{CountsLine(1, 1, 1)}));
  }
}

TEST(BaselineStatistics, MedianIsTheUpperOfTheTwoMiddleValues) {
  EXPECT_EQ(cpd::SummariseSamples({4, 1, 3, 2}).median, 3);
  EXPECT_EQ(cpd::SummariseSamples({5, 1, 3}).median, 3);
}

TEST(BaselineStatistics, ModeIsTheSmallestOfTheMostFrequentValues) {
  EXPECT_EQ(cpd::SummariseSamples({7, 3, 7, 3, 9}).mode, 3);
  EXPECT_EQ(cpd::SummariseSamples({7, 3, 7, 9}).mode, 7);
  EXPECT_EQ(cpd::SummariseSamples({-2, 5}).mode, -2);
}

TEST(BaselineStatistics, AverageTruncatesTowardZero) {
  const Values halfMinusOne = [] {
    Values samples(64, 0);
    for (size_t i = 0; i < 32; ++i) {
      samples[i] = -1;
    }
    return samples;
  }();
  EXPECT_EQ(cpd::SummariseSamples(halfMinusOne).average, 0);
  EXPECT_EQ(cpd::SummariseSamples({-3, -4}).average, -3);
  EXPECT_EQ(cpd::SummariseSamples({3, 4}).average, 3);
}

TEST(BaselineStatistics, RangeSpansTheWholeAxis) {
  const InputStatistics statistics = cpd::SummariseSamples({32767, -32768});
  EXPECT_EQ(statistics.range, 65535);
  EXPECT_EQ(statistics.average, 0);
  EXPECT_EQ(statistics.median, 32767);
  EXPECT_EQ(statistics.mode, -32768);
}

TEST(BaselineStatistics, LongBurstsOfFullDeflectionDoNotOverflow) {
  const InputStatistics statistics = cpd::SummariseSamples(Values(100000, 32767));
  EXPECT_EQ(statistics.average, 32767);
  EXPECT_EQ(cpd::SummariseSamples(Values(100000, -32768)).average, -32768);
}

TEST(BaselineStatistics, ExtremeSamplesNeverOverflow) {
  const InputStatistics statistics = cpd::SummariseSamples({INT32_MAX, INT32_MIN, INT32_MAX});
  EXPECT_EQ(statistics.average, INT32_MAX / 3);
  EXPECT_EQ(statistics.median, INT32_MAX);
  EXPECT_EQ(statistics.mode, INT32_MAX);
}

TEST(BaselineStatistics, NoSamplesGiveZeros) {
  const InputStatistics statistics = cpd::SummariseSamples({});
  EXPECT_EQ(statistics.average, 0);
  EXPECT_EQ(statistics.median, 0);
  EXPECT_EQ(statistics.mode, 0);
  EXPECT_EQ(statistics.range, 0);
}

}  // namespace
