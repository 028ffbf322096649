// The monitor as a program: options, the device list once, JSON lines without a terminal, and a
// clean end on SIGTERM. In the sanitizer builds this runs the sanitized monitor.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "program.h"

namespace monitor::test {
namespace {

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(MonitorProgram, HelpListsTheOptions) {
  const ProgramRun run = RunMonitor({"--help"});
  EXPECT_EQ(run.exitCode, 0);
  for (const char* option :
       {"--simulate [FILE]", "--plug", "--json", "--every", "--once", "--duration", "--log"}) {
    EXPECT_TRUE(Contains(run.out, option)) << option;
  }
}

TEST(MonitorProgram, ABadOptionExitsWithTwoAndSaysWhy) {
  const ProgramRun run = RunMonitor({"--every", "0"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_TRUE(run.out.empty());
  EXPECT_TRUE(Contains(run.err, "--every: '0' is not a whole number from 1")) << run.err;
}

TEST(MonitorProgram, ABadScenarioFileExitsWithTwoAndNamesTheStep) {
  const ScratchFile file(R"({"steps": [{"at": 0, "plug": "xbox"}, {"at": 5, "unplug": "pad"}]})");
  const ProgramRun run = RunMonitor({"--simulate", file.Path(), "--json"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_TRUE(run.out.empty());
  EXPECT_TRUE(Contains(run.err, file.Path() + ": step 2 names \"pad\", which is not plugged"))
      << run.err;
}

TEST(MonitorProgram, ScenarioFilesThatAreNoScenarioExitWithTwoAndSayWhy) {
  const ScratchFile deep(std::string(1100, '[') + std::string(1100, ']'));
  const std::vector<std::pair<std::string, std::string>> cases = {
      {deep.Path(), "not valid JSON: nested deeper than 100 levels"},
      {"/dev/zero", "longer than 1024 KiB, not a scenario file"}};
  for (const auto& [path, message] : cases) {
    const ProgramRun run = RunMonitor({"--simulate", path, "--json"});
    EXPECT_EQ(run.exitCode, 2) << path;
    EXPECT_TRUE(run.out.empty()) << path;
    std::string expected = path;
    expected += ": ";
    expected += message;
    EXPECT_TRUE(Contains(run.err, expected)) << run.err;
  }
}

TEST(MonitorProgram, AScenarioFifoWithoutWriterExitsWithTwo) {
  const std::string path = ::testing::TempDir() + "monitor-fifo-" + std::to_string(getpid());
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const ProgramRun run = RunMonitor({"--simulate", path, "--json"});
  unlink(path.c_str());
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_TRUE(Contains(run.err, path + ": nothing more to read after 5 s")) << run.err;
}

TEST(MonitorProgram, AMissingScenarioFileExitsWithTwo) {
  const ProgramRun run = RunMonitor({"--simulate", "/nonexistent/demo.json"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_TRUE(Contains(run.err, "/nonexistent/demo.json: cannot read the scenario file"));
}

TEST(MonitorProgram, OncePrintsTheSimulatedControllersAndTheirLayouts) {
  const ProgramRun run =
      RunMonitor({"--simulate", "--plug", "xbox", "--plug", "dualsense", "--once"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_TRUE(Contains(run.out, "2 controllers listed")) << run.out;
  EXPECT_TRUE(Contains(run.out, "xbox wireless controller")) << run.out;
  EXPECT_TRUE(Contains(run.out, "045e:0b13 /dev/input/event20")) << run.out;
  EXPECT_TRUE(Contains(run.out, "MAPPING_XBOX")) << run.out;
  EXPECT_TRUE(Contains(run.out, "MAPPING_PS")) << run.out;
}

TEST(MonitorProgram, OnceWithJsonPrintsOneDeviceListLine) {
  const ProgramRun run = RunMonitor({"--simulate", "--plug", "switch-pro", "--once", "--json"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  const std::vector<Json::Value> lines = JsonLines(run.out);
  ASSERT_EQ(lines.size(), 1U) << run.out;
  EXPECT_EQ(lines[0]["type"].asString(), "devices");
  EXPECT_EQ(lines[0]["count"].asInt(), 1);
  EXPECT_EQ(lines[0]["devices"][0]["layoutName"].asString(), "MAPPING_SWITCH_MOD1");
}

TEST(MonitorProgram, WithoutATerminalItWritesJsonLinesAndSaysSo) {
  const ProgramRun run = RunMonitor({"--simulate", "--plug", "xbox", "--duration", "3"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_TRUE(Contains(run.err, "no terminal, writing JSON lines instead (--json)")) << run.err;
  const std::vector<Json::Value> lines = JsonLines(run.out);
  EXPECT_EQ(OfType(lines, "devices").size(), 1U);
  EXPECT_EQ(OfType(lines, "event").size(), 1U);
  EXPECT_GE(OfType(lines, "packet").size(), 10U);
  EXPECT_TRUE(OfType(lines, "log").empty());
  int64_t previous = 0;
  for (const Json::Value& line : lines) {
    EXPECT_GE(line["t"].asInt64(), previous) << line;
    previous = line["t"].asInt64();
  }
}

TEST(MonitorProgram, EveryKeepsOnePacketInN) {
  const ProgramRun run =
      RunMonitor({"--simulate", "--plug", "xbox", "--json", "--every", "10", "--duration", "3"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  const std::vector<Json::Value> packets = OfType(JsonLines(run.out), "packet");
  ASSERT_GE(packets.size(), 3U);
  EXPECT_LE(packets.size(), 15U);  // about 33 a second, a tenth of them, for at most 3 s
  for (size_t index = 1; index < packets.size(); ++index) {
    EXPECT_EQ(packets[index]["number"].asInt() - packets[index - 1]["number"].asInt(), 10);
  }
}

TEST(MonitorProgram, LogLinesComeOnlyWhenAskedFor) {
  const ProgramRun run =
      RunMonitor({"--simulate", "--plug", "xbox", "--json", "--log", "--duration", "2"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  const std::vector<Json::Value> logs = OfType(JsonLines(run.out), "log");
  ASSERT_FALSE(logs.empty());
  bool entered = false;
  for (const Json::Value& log : logs) {
    entered = entered || Contains(log["text"].asString(), R"("Debug:" "joystick process enter)");
    EXPECT_NE(log["text"].asString().front(), '/') << "the path is cut to the file name";
  }
  EXPECT_TRUE(entered);
}

TEST(MonitorProgram, ARumbleStepRunsTheMotorsAndTheJsonLinesFollowTheirSpeeds) {
  const ScratchFile file(R"({"steps": [
      {"at": 0, "plug": "xbox", "as": "pad"}, {"at": 0, "plug": "generic", "as": "cheap"},
      {"at": 0, "await_devices": 2},
      {"at": 300, "rumble": 0, "low": 30000, "high": 65535, "for": 600},
      {"at": 300, "rumble": 1, "low": 30000, "high": 65535},
      {"at": 300, "rumble": 3, "low": 1, "high": 1}],
    "end": 1500})");
  const ProgramRun run = RunMonitor({"--simulate", file.Path(), "--json"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  const std::vector<Json::Value> lines = JsonLines(run.out);

  std::vector<std::string> steps;
  for (const Json::Value& step : OfType(lines, "step")) {
    if (step["action"].asString() == "rumble") {
      steps.push_back(step["text"].asString() + (step["ok"].asBool() ? " ok" : " refused"));
    }
  }
  EXPECT_EQ(steps, (std::vector<std::string>{"rumble slot 0: low 30000, high 65535 ok",
                                             "rumble slot 1: low 30000, high 65535 refused",
                                             "rumble slot 3: low 1, high 1 refused",
                                             "rumble slot 0: low 0, high 0 ok"}));

  // The generic pad has no motors and the empty slot none to run: only the Xbox pad's speeds
  // change, as the simulator reads them.
  std::vector<std::string> motors;
  for (const Json::Value& line : OfType(lines, "motors")) {
    motors.push_back(std::to_string(line["slot"].asInt()) + " " + line["path"].asString() + " " +
                     std::to_string(line["low"].asInt()) + " " +
                     std::to_string(line["high"].asInt()) + " " + line["source"].asString());
  }
  EXPECT_EQ(motors, (std::vector<std::string>{"0 /dev/input/event20 30000 65535 simulator",
                                              "0 /dev/input/event20 0 0 simulator"}))
      << run.out;
}

TEST(MonitorProgram, SigtermEndsTheRunCleanly) {
  RunOptions options;
  options.timeout = std::chrono::seconds(60);
  options.terminateWhen = [](const std::string& out) {
    return out.find(R"("type":"packet")") != std::string::npos;
  };
  const ProgramRun run = RunMonitor({"--simulate", "--plug", "xbox", "--json"}, options);
  EXPECT_FALSE(run.timedOut);
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_FALSE(OfType(JsonLines(run.out), "packet").empty());
}

TEST(MonitorProgram, TheSimulatorMustBeWhereItIsLooked) {
  RunOptions options;
  options.environment = {"CPD_JOYSTICK_SIM_DIR=/nonexistent"};
  const ProgramRun run = RunMonitor({"--simulate", "--once"}, options);
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_TRUE(Contains(run.err, "the SDL2 simulator is not at /nonexistent/libSDL2-2.0.so.0"))
      << run.err;
}

}  // namespace
}  // namespace monitor::test
