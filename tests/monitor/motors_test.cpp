#include "motors.h"

#include <gtest/gtest.h>

namespace monitor {
namespace {

MotorView Seen(MotorSource source, MotorSpeeds speeds, bool present = true) {
  return {source, present, speeds};
}

TEST(Motors, TheRumbleKeyStopsMotorsThatRunAndElseAsksForTheTestRumble) {
  EXPECT_EQ(NextTestRumble(MotorView{}), TEST_RUMBLE);
  EXPECT_EQ(NextTestRumble(Seen(MotorSource::SIMULATOR, {})), TEST_RUMBLE);
  EXPECT_EQ(NextTestRumble(Seen(MotorSource::SIMULATOR, {0, 1})), (MotorSpeeds{}));
  EXPECT_EQ(NextTestRumble(Seen(MotorSource::ASKED, TEST_RUMBLE)), (MotorSpeeds{}));
  EXPECT_EQ(NextTestRumble(Seen(MotorSource::ASKED, {})), TEST_RUMBLE);
  // Asking a pad without motors again shows the answer again.
  EXPECT_EQ(NextTestRumble(Seen(MotorSource::SIMULATOR, {}, false)), TEST_RUMBLE);
}

TEST(Motors, TheStatusLineShowsTheCallAndWhatItsAnswerMeans) {
  EXPECT_EQ(DescribeVibration(1, {30000, 65535}, 0),
            "slot 1: JoysticAPI_SetVibration(1, 30000, 65535) = 0, rumbling");
  EXPECT_EQ(DescribeVibration(1, {}, 0),
            "slot 1: JoysticAPI_SetVibration(1, 0, 0) = 0, motors stopped");
  EXPECT_EQ(DescribeVibration(2, {30000, 65535}, -2),
            "slot 2: JoysticAPI_SetVibration(2, 30000, 65535) = -2, it has no motors");
  EXPECT_EQ(DescribeVibration(0xFFFF, {1, 2}, -1),
            "no slot: JoysticAPI_SetVibration(65535, 1, 2) = -1, no open controller in that slot");
  EXPECT_EQ(DescribeVibration(0, {1, 2}, -9),
            "slot 0: JoysticAPI_SetVibration(0, 1, 2) = -9, refused");
}

TEST(Motors, AnAnswerTellsWhatWasAskedOrThatThereAreNoMotors) {
  MotorView known;
  ASSERT_TRUE(MotorsAfterAnswer({30000, 65535}, 0, known));
  EXPECT_EQ(known.source, MotorSource::ASKED);
  EXPECT_TRUE(known.present);
  EXPECT_EQ(known.speeds, (MotorSpeeds{30000, 65535}));
  ASSERT_TRUE(MotorsAfterAnswer({30000, 65535}, -2, known));
  EXPECT_FALSE(known.present);
  EXPECT_EQ(known.speeds, (MotorSpeeds{}));
  known = MotorView{};
  EXPECT_FALSE(MotorsAfterAnswer({30000, 65535}, -1, known));
  EXPECT_EQ(known.source, MotorSource::UNKNOWN);
}

TEST(Motors, OnlyChangedSpeedsAreReportedAndEachSlotStartsOff) {
  MotorReports reports;
  EXPECT_FALSE(reports.Changed(0, Seen(MotorSource::SIMULATOR, {})));
  EXPECT_TRUE(reports.Changed(0, Seen(MotorSource::SIMULATOR, TEST_RUMBLE)));
  EXPECT_FALSE(reports.Changed(0, Seen(MotorSource::SIMULATOR, TEST_RUMBLE)));
  EXPECT_TRUE(reports.Changed(1, Seen(MotorSource::ASKED, {5, 0})));
  EXPECT_TRUE(reports.Changed(0, Seen(MotorSource::SIMULATOR, {})));
  EXPECT_FALSE(reports.Changed(0, Seen(MotorSource::SIMULATOR, {})));
}

TEST(Motors, NoMotorsAndUnknownSpeedsAreNeverReported) {
  MotorReports reports;
  EXPECT_FALSE(reports.Changed(0, Seen(MotorSource::SIMULATOR, TEST_RUMBLE, false)));
  EXPECT_FALSE(reports.Changed(0, Seen(MotorSource::UNKNOWN, TEST_RUMBLE)));
  EXPECT_TRUE(reports.Changed(0, Seen(MotorSource::SIMULATOR, TEST_RUMBLE)));
}

}  // namespace
}  // namespace monitor
