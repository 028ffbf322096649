#include "options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>

#include "pad_catalogue.h"

namespace monitor {

namespace {

constexpr const char* DESCRIPTION =
    "Live view of the controllers the joystick bridge finds, the layout each one gets, the "
    "packets a remote desktop would receive and the library's events. --simulate runs the same "
    "library on the SDL2 simulator, with pads you plug and drive from the keyboard.";

constexpr double LONGEST_RUN_SECONDS = 366.0 * 24 * 60 * 60;
constexpr unsigned LARGEST_EVERY = 1000000;

// Validators without a description, so that the help shows only the value's type name.
CLI::Validator PadKeyValidator() {
  return {[](std::string& key) -> std::string {
            return sim::FindPadModel(key) != nullptr
                       ? ""
                       : "unknown pad '" + key + "' (pads: " + PadKeys() + ")";
          },
          ""};
}

CLI::Validator EveryValidator() {
  return {[](std::string& text) -> std::string {
            unsigned long value = 0;
            return CLI::detail::lexical_cast(text, value) && value >= 1 && value <= LARGEST_EVERY
                       ? ""
                       : "'" + text + "' is not a whole number from 1 to " +
                             std::to_string(LARGEST_EVERY);
          },
          ""};
}

CLI::Validator PollValidator() {
  return {[](std::string& text) -> std::string {
            unsigned long value = 0;
            return CLI::detail::lexical_cast(text, value) && value >= 1 && value <= 30
                       ? ""
                       : "'" + text + "' is not a poll interval from 1 to 30 ms";
          },
          ""};
}

CLI::Validator SecondsValidator() {
  return {[](std::string& text) -> std::string {
            double value = 0;
            return CLI::detail::lexical_cast(text, value) && value > 0 &&
                           value <= LONGEST_RUN_SECONDS
                       ? ""
                       : "'" + text + "' is not a number of seconds above 0 (at most a year)";
          },
          ""};
}

void Describe(CLI::App& app, Options& options) {
  CLI::Option* simulate =
      app.add_option("--simulate", options.scenarioFile,
                     "run on the SDL2 simulator; with FILE, replay that scenario")
          ->expected(0, 1)
          ->type_name("[FILE]");
  app.add_option("--plug", options.plug, "plug this simulated pad at the start (repeatable)")
      ->check(PadKeyValidator())
      ->needs(simulate)
      ->type_name("PAD");
  app.add_flag("--json", options.json,
               "write one JSON object per line (devices, events, packets) instead of the screen");
  app.add_option("--every", options.every, "with --json, one packet line in N per controller")
      ->check(EveryValidator())
      ->type_name("N");
  app.add_flag("--once", options.once, "print the device list once and exit");
  app.add_option("--duration", options.durationSeconds, "end the run after SECONDS")
      ->check(SecondsValidator())
      ->type_name("SECONDS");
  app.add_option("--poll-ms", options.pollMs,
                 "poll every N ms (1 to 30; below 30 a changed pad is sent at once)")
      ->check(PollValidator())
      ->type_name("N");
  app.add_flag("--log", options.log,
               "show the library's log lines (the pane on screen, \"log\" lines with --json)");
}

}  // namespace

uint16_t PollIntervalOf(const Options& options) {
  if (options.pollMs != 0) {
    return options.pollMs;
  }
  // Shown as the library reads it: a value it would refuse leaves the default. The monitor
  // changes its environment only before its first thread starts.
  // NOLINTNEXTLINE(concurrency-mt-unsafe)
  if (const char* text = std::getenv("CPD_JOYSTICK_POLL_MS")) {
    char* end = nullptr;
    const long value = std::strtol(text, &end, 10);
    if (end != text && *end == '\0' && value >= 1 && value <= 30) {
      return static_cast<uint16_t>(value);
    }
  }
  return 30;
}

ParsedCommandLine ParseCommandLine(int argc, const char* const* argv) {
  ParsedCommandLine parsed;
  CLI::App app(DESCRIPTION, "cpd-joystick-monitor");
  Describe(app, parsed.options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    parsed.message = app.help();
    return parsed;
  } catch (const CLI::ParseError& error) {
    parsed.exitCode = EXIT_BAD_INPUT;
    parsed.message = std::string("cpd-joystick-monitor: ") + error.what() +
                     "\nRun with --help for the options.\n";
    return parsed;
  }
  parsed.options.simulate = app.count("--simulate") > 0;
  parsed.run = true;
  return parsed;
}

}  // namespace monitor
