#include "options.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace monitor {
namespace {

ParsedCommandLine Parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "cpd-joystick-monitor");
  return ParseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

TEST(CommandLine, NothingMeansTheScreenOnHardware) {
  const ParsedCommandLine parsed = Parse({});
  ASSERT_TRUE(parsed.run);
  EXPECT_FALSE(parsed.options.simulate);
  EXPECT_FALSE(parsed.options.json);
  EXPECT_EQ(parsed.options.every, 1U);
  EXPECT_EQ(parsed.options.durationSeconds, 0);
}

TEST(CommandLine, SimulateTakesAnOptionalScenario) {
  ParsedCommandLine parsed = Parse({"--simulate"});
  ASSERT_TRUE(parsed.run);
  EXPECT_TRUE(parsed.options.simulate);
  EXPECT_TRUE(parsed.options.scenarioFile.empty());

  parsed = Parse({"--simulate", "demo.json", "--json"});
  ASSERT_TRUE(parsed.run);
  EXPECT_TRUE(parsed.options.simulate);
  EXPECT_EQ(parsed.options.scenarioFile, "demo.json");
  EXPECT_TRUE(parsed.options.json);

  parsed = Parse({"--simulate", "--json"});
  ASSERT_TRUE(parsed.run);
  EXPECT_TRUE(parsed.options.scenarioFile.empty());
  EXPECT_TRUE(parsed.options.json);
}

TEST(CommandLine, ReadsEveryOption) {
  const ParsedCommandLine parsed =
      Parse({"--simulate", "--plug", "xbox", "--plug", "pen-tablet", "--json", "--every", "10",
             "--duration", "2.5", "--log", "--once"});
  ASSERT_TRUE(parsed.run) << parsed.message;
  EXPECT_EQ(parsed.options.plug, (std::vector<std::string>{"xbox", "pen-tablet"}));
  EXPECT_EQ(parsed.options.every, 10U);
  EXPECT_DOUBLE_EQ(parsed.options.durationSeconds, 2.5);
  EXPECT_TRUE(parsed.options.log);
  EXPECT_TRUE(parsed.options.once);
}

TEST(CommandLine, PollIntervalIsOneToThirtyAndDefaultsToWhatTheLibraryStartsWith) {
  ParsedCommandLine parsed = Parse({"--poll-ms", "4"});
  ASSERT_TRUE(parsed.run) << parsed.message;
  EXPECT_EQ(parsed.options.pollMs, 4U);
  EXPECT_EQ(PollIntervalOf(parsed.options), 4U);
  parsed = Parse({});
  ASSERT_EQ(unsetenv("CPD_JOYSTICK_POLL_MS"), 0);
  EXPECT_EQ(PollIntervalOf(parsed.options), 30U);
  ASSERT_EQ(setenv("CPD_JOYSTICK_POLL_MS", "7", 1), 0);
  EXPECT_EQ(PollIntervalOf(parsed.options), 7U);
  ASSERT_EQ(setenv("CPD_JOYSTICK_POLL_MS", "70", 1), 0);
  EXPECT_EQ(PollIntervalOf(parsed.options), 30U);  // the library ignores it too
  ASSERT_EQ(unsetenv("CPD_JOYSTICK_POLL_MS"), 0);
}

TEST(CommandLine, HelpEndsTheRunWithoutAnError) {
  const ParsedCommandLine parsed = Parse({"--help"});
  EXPECT_FALSE(parsed.run);
  EXPECT_EQ(parsed.exitCode, 0);
  EXPECT_NE(parsed.message.find("--simulate [FILE]"), std::string::npos);
}

struct BadLine {
  std::vector<const char*> arguments;
  const char* message;
};

[[maybe_unused]] void PrintTo(const BadLine& bad, std::ostream* out) {
  for (const char* argument : bad.arguments) {
    *out << argument << ' ';
  }
}

class BadCommandLines : public ::testing::TestWithParam<BadLine> {};

TEST_P(BadCommandLines, ExitWithTwoAndSayWhy) {
  const ParsedCommandLine parsed = Parse(GetParam().arguments);
  EXPECT_FALSE(parsed.run);
  EXPECT_EQ(parsed.exitCode, EXIT_BAD_INPUT);
  EXPECT_NE(parsed.message.find(GetParam().message), std::string::npos) << parsed.message;
  EXPECT_NE(parsed.message.find("--help"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Options, BadCommandLines,
    ::testing::Values(BadLine{{"--bogus"}, "--bogus"}, BadLine{{"extra"}, "extra"},
                      BadLine{{"--plug", "xbox"}, "--plug requires --simulate"},
                      BadLine{{"--simulate", "--plug", "joycon"}, "unknown pad 'joycon'"},
                      BadLine{{"--simulate", "--plug"}, "--plug"},
                      BadLine{{"--every", "0"}, "'0' is not a whole number from 1"},
                      BadLine{{"--every", "-3"}, "'-3' is not a whole number"},
                      BadLine{{"--duration", "0"}, "'0' is not a number of seconds above 0"},
                      BadLine{{"--duration", "soon"}, "'soon' is not a number of seconds"},
                      BadLine{{"--poll-ms", "0"}, "'0' is not a poll interval from 1 to 30 ms"},
                      BadLine{{"--poll-ms", "31"}, "'31' is not a poll interval from 1 to 30"},
                      BadLine{{"--simulate", "a.json", "b.json"}, "b.json"}));

}  // namespace
}  // namespace monitor
