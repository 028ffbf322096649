#include "scenario.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>

#include <string>
#include <vector>

namespace monitor {
namespace {

Scenario Parse(const std::string& text) {
  Scenario scenario;
  std::string error;
  EXPECT_TRUE(ParseScenario(text, "test.json", scenario, error)) << error;
  return scenario;
}

std::string ErrorOf(const std::string& text) {
  Scenario scenario;
  std::string error;
  EXPECT_FALSE(ParseScenario(text, "test.json", scenario, error));
  return error;
}

std::string Steps(const std::string& steps) {
  return R"({"steps": [)" + steps + "]}";
}

TEST(ScenarioParsing, ReadsEveryKindOfStep) {
  const Scenario scenario = Parse(R"({
    "description": "all kinds",
    "steps": [
      {"at": 0, "plug": "xbox", "as": "pad", "path": "/dev/input/event7"},
      {"at": 0, "await_devices": 1, "timeout": 5000},
      {"at": 10, "pad": "pad", "button": 3, "value": 1},
      {"at": 20, "pad": "pad", "axis": 4, "value": -32768},
      {"at": 30, "pad": "pad", "hat": 0, "value": 9},
      {"at": 40, "unplug": "pad"}
    ],
    "end": 100})");
  EXPECT_EQ(scenario.description, "all kinds");
  EXPECT_EQ(scenario.endMs, 100);
  ASSERT_EQ(scenario.steps.size(), 6U);
  EXPECT_EQ(scenario.steps[0].kind, StepKind::PLUG);
  EXPECT_EQ(scenario.steps[0].model, "xbox");
  EXPECT_EQ(scenario.steps[0].pad, "pad");
  EXPECT_EQ(scenario.steps[0].path, "/dev/input/event7");
  EXPECT_EQ(scenario.steps[1].kind, StepKind::AWAIT_DEVICES);
  EXPECT_EQ(scenario.steps[1].value, 1);
  EXPECT_EQ(scenario.steps[1].timeoutMs, 5000);
  EXPECT_EQ(scenario.steps[2].kind, StepKind::BUTTON);
  EXPECT_EQ(scenario.steps[2].index, 3);
  EXPECT_EQ(scenario.steps[3].kind, StepKind::AXIS);
  EXPECT_EQ(scenario.steps[3].value, -32768);
  EXPECT_EQ(scenario.steps[4].kind, StepKind::HAT);
  EXPECT_EQ(scenario.steps[4].value, 9);
  EXPECT_EQ(scenario.steps[5].kind, StepKind::UNPLUG);
  EXPECT_EQ(scenario.steps[5].at, 40);
}

TEST(ScenarioParsing, ARumbleAsksASlotAndItsHoldStopsTheMotors) {
  const Scenario scenario = Parse(Steps(R"(
      {"at": 0, "plug": "xbox", "as": "pad"}, {"at": 0, "await_devices": 1},
      {"at": 100, "rumble": 0, "low": 30000, "high": 65535, "for": 500},
      {"at": 200, "rumble": 7, "low": 0, "high": 1})"));
  ASSERT_EQ(scenario.steps.size(), 5U);
  const ScenarioStep& rumble = scenario.steps[2];
  EXPECT_EQ(rumble.kind, StepKind::RUMBLE);
  EXPECT_EQ(rumble.index, 0);
  EXPECT_EQ(rumble.speeds, (MotorSpeeds{30000, 65535}));
  EXPECT_TRUE(rumble.pad.empty());
  EXPECT_EQ(scenario.steps[3].index, 7);
  const ScenarioStep& stop = scenario.steps[4];
  EXPECT_TRUE(stop.release);
  EXPECT_EQ(stop.at, 600);
  EXPECT_EQ(stop.kind, StepKind::RUMBLE);
  EXPECT_EQ(stop.index, 0);
  EXPECT_EQ(stop.speeds, (MotorSpeeds{0, 0}));
  EXPECT_EQ(DescribeStep(rumble), "rumble slot 0: low 30000, high 65535");
  EXPECT_EQ(DescribeStep(stop), "rumble slot 0: low 0, high 0");
}

TEST(ScenarioParsing, APlugWithoutANameIsCalledByItsModel) {
  const Scenario scenario = Parse(Steps(R"({"at": 0, "plug": "dualsense"})"));
  EXPECT_EQ(scenario.steps[0].pad, "dualsense");
  EXPECT_TRUE(scenario.steps[0].path.empty());
}

TEST(ScenarioParsing, DefaultsEndOneSecondAfterTheLastStepAndAwaitsTwentySeconds) {
  const Scenario scenario =
      Parse(Steps(R"({"at": 0, "plug": "xbox"}, {"at": 250, "await_devices": 1})"));
  EXPECT_EQ(scenario.endMs, 250 + DEFAULT_TAIL_MS);
  EXPECT_EQ(scenario.steps[1].timeoutMs, DEFAULT_AWAIT_TIMEOUT_MS);
}

TEST(ScenarioParsing, AHoldAddsItsReleaseInTimeOrder) {
  const Scenario scenario = Parse(Steps(R"(
      {"at": 0, "plug": "xbox", "as": "pad"},
      {"at": 100, "pad": "pad", "button": 0, "value": 1, "for": 300},
      {"at": 200, "pad": "pad", "axis": 1, "value": 500})"));
  ASSERT_EQ(scenario.steps.size(), 4U);
  EXPECT_EQ(scenario.steps[2].kind, StepKind::AXIS);
  const ScenarioStep& release = scenario.steps[3];
  EXPECT_TRUE(release.release);
  EXPECT_EQ(release.at, 400);
  EXPECT_EQ(release.kind, StepKind::BUTTON);
  EXPECT_EQ(release.index, 0);
  EXPECT_EQ(release.value, 0);
  EXPECT_EQ(scenario.endMs, 400 + DEFAULT_TAIL_MS);
}

TEST(ScenarioParsing, AReleaseGoesBeforeAPressOfTheSameMoment) {
  const Scenario scenario = Parse(Steps(R"(
      {"at": 0, "plug": "xbox", "as": "pad"},
      {"at": 100, "pad": "pad", "button": 0, "value": 1, "for": 100},
      {"at": 200, "pad": "pad", "button": 0, "value": 1})"));
  ASSERT_EQ(scenario.steps.size(), 4U);
  EXPECT_TRUE(scenario.steps[2].release);
  EXPECT_EQ(scenario.steps[3].value, 1);
}

TEST(ScenarioParsing, APadMayBePluggedAgainAfterItWasUnplugged) {
  const Scenario scenario = Parse(Steps(R"(
      {"at": 0, "plug": "xbox", "as": "pad"}, {"at": 10, "unplug": "pad"},
      {"at": 10, "plug": "dualsense", "as": "pad"})"));
  EXPECT_EQ(scenario.steps.size(), 3U);
}

TEST(ScenarioParsing, AcceptsComments) {
  Parse("// a scenario\n" + Steps(R"({"at": 0, "plug": "xbox"} /* the pad */)"));
}

TEST(ScenarioParsing, DescribesSteps) {
  const Scenario scenario = Parse(Steps(R"(
      {"at": 0, "plug": "xbox", "as": "pad"}, {"at": 0, "await_devices": 1},
      {"at": 0, "await_devices": 2}, {"at": 5, "pad": "pad", "hat": 0, "value": 4},
      {"at": 6, "unplug": "pad"})"));
  std::vector<std::string> texts;
  for (const ScenarioStep& step : scenario.steps) {
    texts.push_back(DescribeStep(step));
  }
  EXPECT_EQ(texts, (std::vector<std::string>{"plug xbox as pad", "await 1 device",
                                             "await 2 devices", "pad hat 0 = 4", "unplug pad"}));
}

struct BadScenario {
  const char* name;
  const char* text;
  const char* message;
};

// Names the case after its expected message, so that test lists read well and stay the same.
[[maybe_unused]] void PrintTo(const BadScenario& bad, std::ostream* out) {
  *out << bad.name;
}

class ScenarioErrors : public ::testing::TestWithParam<BadScenario> {};

TEST_P(ScenarioErrors, NameTheFileAndWhatIsWrong) {
  const std::string error = ErrorOf(GetParam().text);
  EXPECT_EQ(error.rfind("test.json: ", 0), 0U) << error;
  EXPECT_NE(error.find(GetParam().message), std::string::npos) << error;
}

INSTANTIATE_TEST_SUITE_P(
    BadFiles, ScenarioErrors,
    ::testing::Values(
        BadScenario{"EmptyFile", "", "not valid JSON"},
        BadScenario{"UnclosedArray", "{\"steps\": [}", "not valid JSON"},
        BadScenario{"TrailingComma", R"({"steps": [{"at": 0, "plug": "xbox"},]})",
                    "not valid JSON"},
        BadScenario{"DuplicateKey", R"({"steps": [{"at": 0, "plug": "xbox", "plug": "x"}]})",
                    "not valid JSON"},
        BadScenario{"ArrayRoot", "[1, 2]", "a scenario is a JSON object"},
        BadScenario{"NoSteps", "{}", "needs \"steps\""},
        BadScenario{"EmptySteps", R"({"steps": []})", "needs \"steps\""},
        BadScenario{"UnknownRootKey", R"({"steps": [], "stpes": 1})", "unknown key \"stpes\""},
        BadScenario{"DescriptionNotText",
                    R"({"description": 4, "steps": [{"at": 0, "plug": "xbox"}]})",
                    "\"description\" must be a string"},
        BadScenario{"StepNotObject", R"({"steps": [3]})", "step 1 is not an object"},
        BadScenario{"NoTime", R"({"steps": [{"plug": "xbox"}]})", "step 1 needs \"at\""},
        BadScenario{"NegativeTime", R"({"steps": [{"at": -1, "plug": "xbox"}]})",
                    "\"at\" must be a whole number"},
        BadScenario{"FractionalTime", R"({"steps": [{"at": 1.5, "plug": "xbox"}]})",
                    "\"at\" must be a whole number"},
        BadScenario{"NoAction", R"({"steps": [{"at": 0}]})",
                    R"(needs one of "plug", "unplug", "button", "axis", "hat", "await_devices", )"
                    R"("rumble")"},
        BadScenario{"TwoActions", R"({"steps": [{"at": 0, "plug": "xbox", "unplug": "xbox"}]})",
                    "one action per step"},
        BadScenario{"UnknownPad", R"({"steps": [{"at": 0, "plug": "joycon"}]})",
                    "unknown pad \"joycon\""},
        BadScenario{"RelativePath", R"({"steps": [{"at": 0, "plug": "xbox", "path": "event3"}]})",
                    "absolute path"},
        BadScenario{"HoldOnPlug", R"({"steps": [{"at": 0, "plug": "xbox", "for": 10}]})",
                    "unknown key \"for\" for a plug step"},
        BadScenario{"PluggedTwice",
                    R"({"steps": [{"at": 0, "plug": "xbox"}, {"at": 0, "plug": "xbox"}]})",
                    "step 2 plugs \"xbox\", which is plugged already"},
        BadScenario{"UnplugUnknown", R"({"steps": [{"at": 0, "unplug": "pad"}]})",
                    "\"pad\", which is not plugged"},
        BadScenario{"TimeGoesBack",
                    R"({"steps": [{"at": 5, "plug": "xbox"}, {"at": 4, "unplug": "xbox"}]})",
                    "step 2 comes at 4 ms, before the step above it"},
        BadScenario{"InputWithoutPad",
                    R"({"steps": [{"at": 0, "plug": "xbox"}, {"at": 1, "button": 0, "value": 1}]})",
                    "needs \"pad\""},
        BadScenario{
            "InputWithoutValue",
            R"({"steps": [{"at": 0, "plug": "xbox"}, {"at": 1, "pad": "xbox", "button": 0}]})",
            "needs \"value\""},
        BadScenario{"ButtonValueTwo", R"({"steps": [{"at": 0, "plug": "xbox"},
                                   {"at": 1, "pad": "xbox", "button": 0, "value": 2}]})",
                    "\"value\" must be a whole number from 0 to 1"},
        BadScenario{"AxisOutOfRange", R"({"steps": [{"at": 0, "plug": "xbox"},
                                   {"at": 1, "pad": "xbox", "axis": 0, "value": 40000}]})",
                    "from -32768 to 32767"},
        BadScenario{"NegativeHat", R"({"steps": [{"at": 0, "plug": "xbox"},
                                   {"at": 1, "pad": "xbox", "hat": -1, "value": 1}]})",
                    "\"hat\" must be a whole number from 0"},
        BadScenario{"ZeroHold", R"({"steps": [{"at": 0, "plug": "xbox"},
                                   {"at": 1, "pad": "xbox", "button": 0, "value": 1, "for": 0}]})",
                    "\"for\" must be a whole number of milliseconds above 0"},
        BadScenario{"RumbleWithoutHigh", R"({"steps": [{"at": 0, "rumble": 0, "low": 1}]})",
                    "step 1 needs \"high\": a motor speed, 0 to 65535"},
        BadScenario{"RumbleTooStrong",
                    R"({"steps": [{"at": 0, "rumble": 0, "low": 65536, "high": 0}]})",
                    "\"low\" must be a whole number from 0 to 65535"},
        BadScenario{"RumbleSlotNegative",
                    R"({"steps": [{"at": 0, "rumble": -1, "low": 0, "high": 0}]})",
                    "\"rumble\" must be a whole number from 0 to 65535"},
        BadScenario{"RumbleNamingAPad", R"({"steps": [{"at": 0, "plug": "xbox"},
                                   {"at": 1, "rumble": 0, "pad": "xbox", "low": 0, "high": 0}]})",
                    "unknown key \"pad\" for a rumble step"},
        BadScenario{"AwaitText", R"({"steps": [{"at": 0, "await_devices": "two"}]})",
                    "\"await_devices\" must be a whole number"},
        BadScenario{"EndBeforeLastStep", R"({"steps": [{"at": 10, "plug": "xbox"}], "end": 5})",
                    "\"end\" must be a whole number of milliseconds, not before the last step"}));

TEST(ScenarioFiles, AMissingFileIsNamed) {
  Scenario scenario;
  std::string error;
  EXPECT_FALSE(LoadScenarioFile("/nonexistent/scenario.json", scenario, error));
  EXPECT_EQ(error, "/nonexistent/scenario.json: cannot read the scenario file");
}

TEST(ScenarioFiles, NestingDeeperThanAScenarioNeedsIsRefused) {
  Scenario scenario;
  std::string error;
  EXPECT_FALSE(ParseScenario(std::string(1100, '['), "deep.json", scenario, error));
  EXPECT_EQ(error, "deep.json: not valid JSON: nested deeper than 100 levels");
}

TEST(ScenarioFiles, AnEndlessFileIsRefusedAfterOneMebibyte) {
  Scenario scenario;
  std::string error;
  EXPECT_FALSE(LoadScenarioFile("/dev/zero", scenario, error));
  EXPECT_EQ(error, "/dev/zero: longer than 1024 KiB, not a scenario file");
}

TEST(ScenarioFiles, AFolderIsRefused) {
  Scenario scenario;
  std::string error;
  EXPECT_FALSE(LoadScenarioFile("/tmp", scenario, error));
  EXPECT_EQ(error, "/tmp: is a directory, not a scenario file");
}

TEST(ScenarioFiles, AFifoWithoutWriterIsGivenUpAfterFiveSeconds) {
  const std::string path = ::testing::TempDir() + "scenario-fifo-" + std::to_string(getpid());
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  Scenario scenario;
  std::string error;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(LoadScenarioFile(path, scenario, error));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
  EXPECT_EQ(error, path + ": nothing more to read after 5 s (a pipe without a writer?)");
  unlink(path.c_str());
}

class ShippedScenarios : public ::testing::TestWithParam<const char*> {};

TEST_P(ShippedScenarios, Parse) {
  Scenario scenario;
  std::string error;
  EXPECT_TRUE(
      LoadScenarioFile(std::string(CPD_MONITOR_SCENARIOS) + "/" + GetParam(), scenario, error))
      << error;
  EXPECT_FALSE(scenario.description.empty());
  EXPECT_EQ(scenario.steps.front().kind, StepKind::PLUG);
}

INSTANTIATE_TEST_SUITE_P(Examples, ShippedScenarios,
                         ::testing::Values("one_pad_every_button.json", "hotplug_and_replug.json",
                                           "five_pads_and_a_tablet.json"));

}  // namespace
}  // namespace monitor
