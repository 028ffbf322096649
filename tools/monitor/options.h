// The command line, read into plain options. Bad input gives a message and exit code 2.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace monitor {

struct Options {
  bool simulate = false;
  std::string scenarioFile;       // --simulate FILE
  std::vector<std::string> plug;  // catalogue keys plugged at the start
  bool json = false;
  unsigned every = 1;  // one packet line in `every`, per slot
  bool once = false;
  double durationSeconds = 0;  // 0: until stopped
  bool log = false;            // the library's log lines, in the pane or as JSON lines
  uint16_t pollMs = 0;         // --poll-ms; 0: as the library starts (CPD_JOYSTICK_POLL_MS or 30)
};

// The poll interval the run uses: --poll-ms, else a valid CPD_JOYSTICK_POLL_MS, else 30.
uint16_t PollIntervalOf(const Options& options);

constexpr int EXIT_BAD_INPUT = 2;

struct ParsedCommandLine {
  bool run = false;  // false: print `message` and exit with `exitCode`
  int exitCode = 0;
  std::string message;
  Options options;
};

ParsedCommandLine ParseCommandLine(int argc, const char* const* argv);

}  // namespace monitor
