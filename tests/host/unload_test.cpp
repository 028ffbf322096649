// Hosts that load and unload the library round after round, while it polls or right after the
// last unregister, or return from main while it polls: on the simulator and on the system's SDL2,
// each must end normally, under every sanitizer build too.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string TemporaryPath(const std::string& stem) {
  return ::testing::TempDir() + stem + "-" + std::to_string(getpid());
}

std::string ReadAll(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

struct HostRun {
  int status = -1;
  std::string output;
};

// Runs `command` with the default store and sink pointed at temporary files.
HostRun RunHost(const std::string& command, const std::string& stem) {
  const std::string log = TemporaryPath(stem + ".log");
  const std::string store = TemporaryPath(stem + ".store");
  std::remove(log.c_str());
  std::remove(store.c_str());
  const std::string full =
      "CPD_JOYSTICK_LOG='" + log + "' CPD_JOYSTICK_STORE='" + store + "' " + command + " 2>&1";
  HostRun run;
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(full.c_str(), "r"), pclose);
  if (!pipe) {
    return run;
  }
  char buffer[512];
  while (std::fgets(buffer, sizeof buffer, pipe.get()) != nullptr) {
    run.output += buffer;
  }
  run.status = pclose(pipe.release());
  run.output += ReadAll(log);
  for (const std::string& left : {log, store, store + ".lock"}) {
    std::remove(left.c_str());
  }
  return run;
}

std::string Quoted(const std::string& text) {
  return "'" + text + "'";
}

// The unload host on the library itself, with `arguments` after --target.
std::string UnloadCommand(const std::string& arguments) {
  return Quoted(CPD_UNLOAD_HOST) + " --target " + Quoted(CPD_LIBRARY) + " " + arguments;
}

const std::string ON_SIMULATOR = " --preload " + Quoted(CPD_SIMULATOR);
const std::string ON_VIRTUAL_PADS = " --preload " + Quoted(CPD_VIRTUAL_PADS);

// The error lines of a run, but for the one a pad that leaves during the open pass causes.
std::vector<std::string> UnexpectedErrorLines(const std::string& output) {
  std::vector<std::string> errors;
  std::istringstream lines(output);
  std::string line;
  while (std::getline(lines, line)) {
    if (line.find("ERROR") != std::string::npos &&
        line.find("\"SDL_JoystickOpen failed\"") == std::string::npos) {
      errors.push_back(line);
    }
  }
  return errors;
}

// Every round went through, and nothing was left running, waited for in vain or refused.
void ExpectEveryRound(const HostRun& run, int rounds) {
  ASSERT_EQ(run.status, 0) << run.output;
  EXPECT_NE(run.output.find("unload_host: " + std::to_string(rounds) + " rounds"),
            std::string::npos)
      << run.output;
  EXPECT_EQ(UnexpectedErrorLines(run.output), std::vector<std::string>()) << run.output;
}

// How many rounds ended with the library unmapped.
int UnmappedRounds(const HostRun& run) {
  const std::string marker = "library unmapped after ";
  const size_t at = run.output.find(marker);
  return at == std::string::npos ? -1 : std::atoi(run.output.c_str() + at + marker.size());
}

void ExpectUnloadLoop(const std::string& arguments, const std::string& stem, int rounds,
                      int unmapped) {
  const HostRun run = RunHost(UnloadCommand(arguments), stem);
  ExpectEveryRound(run, rounds);
  EXPECT_EQ(UnmappedRounds(run), unmapped) << run.output;
}

// The host's own repeat of the crash: the system's SDL2, nothing attached, unloaded while the
// listener is still registered. The library stays where its thread runs.
TEST(Unload, RealSdlUnloadWhileRegisteredKeepsTheLibraryForItsThread) {
  ExpectUnloadLoop("--rounds 10 --mode registered", "unload-real-registered", 10, 0);
}

TEST(Unload, RealSdlUnregisterThenUnloadUnmapsEveryRound) {
  ExpectUnloadLoop("--rounds 20 --mode unregistered", "unload-real-unregistered", 20, 20);
}

// Fifty rounds, alternating, with pauses in every phase: every round that unregistered first
// ends with the library gone (the listener the round before left registered goes with it).
TEST(Unload, RealSdlFiftyRoundsAlternating) {
  ExpectUnloadLoop("--rounds 50 --mode alternate", "unload-real-alternate", 50, 25);
}

TEST(Unload, RealSdlVirtualPadsFiftyRoundsAlternating) {
  ExpectUnloadLoop("--rounds 50 --mode alternate --pads 2" + ON_VIRTUAL_PADS,
                   "unload-virtual-alternate", 50, 25);
}

// A pad comes and goes every 170 ms, so unloads also land while the thread is in SDL_Quit and
// SDL_Init between runs.
TEST(Unload, RealSdlVirtualPadsComingAndGoingFiftyRounds) {
  ExpectUnloadLoop("--rounds 50 --mode alternate --pads 2 --churn" + ON_VIRTUAL_PADS,
                   "unload-virtual-churn", 50, 25);
}

TEST(Unload, SimulatorFiftyRoundsAlternating) {
  ExpectUnloadLoop("--rounds 50 --mode alternate --pads 1" + ON_SIMULATOR, "unload-sim-alternate",
                   50, 25);
}

TEST(Unload, SimulatorPadsComingAndGoingFiftyRounds) {
  ExpectUnloadLoop("--rounds 50 --mode alternate --pads 2 --churn" + ON_SIMULATOR,
                   "unload-sim-churn", 50, 25);
}

// Twenty rounds of the plugin with one pad plugged through `preload`.
std::string PluginCommand(const std::string& preload) {
  return Quoted(CPD_UNLOAD_HOST) + " --module --target " + Quoted(CPD_CONTROLLER_MODULE) +
         " --rounds 20 --mode registered --pads 1" + preload;
}

// A plugin that unregisters from its destructor does so inside dlclose, with the loader's lock
// held. On the simulator the thread ends at once and the library goes with the plugin.
TEST(Unload, PluginUnregisteringAtItsUnloadOnTheSimulator) {
  const HostRun run = RunHost(PluginCommand(ON_SIMULATOR), "unload-plugin-sim");
  ExpectEveryRound(run, 20);
  EXPECT_EQ(UnmappedRounds(run), 20) << run.output;
}

// On the system's SDL2 the stopping thread needs the loader's lock to leave SDL_Quit, and the
// plugin's dlclose holds it: the stop does not wait for it, and the library stays loaded until
// the thread has ended and a later stop has joined it.
TEST(Unload, PluginUnregisteringAtItsUnloadOnRealSdlNeverHangs) {
  const HostRun run = RunHost(PluginCommand(ON_VIRTUAL_PADS), "unload-plugin-real");
  ExpectEveryRound(run, 20);
  // SDL did load a library in SDL_Init here, so the loader's lock really was in the way.
  EXPECT_NE(run.output.find("polling thread held up in SDL_Init or SDL_Quit, left to end alone"),
            std::string::npos)
      << run.output;
}

void ExpectExitsNormally(const char* host, const std::string& stem,
                         const std::string& mode = "return") {
  for (int run = 0; run < 10; ++run) {
    const HostRun result = RunHost(Quoted(host) + " " + mode, stem);
    ASSERT_EQ(result.status, 0) << "run " << run << "\n" << result.output;
    EXPECT_EQ(result.output.find("left running"), std::string::npos) << result.output;
    // The pad rumbled until then: a motor never runs on after its host.
    EXPECT_NE(result.output.find("exit_host: motors at exit 0 0\n"), std::string::npos)
        << result.output;
    // Exit called on the polling thread ends the process from there, before its last line.
    if (mode != "exit-from-listener") {
      EXPECT_NE(result.output.find("joystick exit"), std::string::npos) << result.output;
    }
  }
}

TEST(Unload, HostReturningFromMainWhilePollingExitsNormally) {
  ExpectExitsNormally(CPD_EXIT_HOST, "exit");
}

TEST(Unload, HostReturningFromMainWhilePollingOnRealSdlExitsNormally) {
  ExpectExitsNormally(CPD_EXIT_HOST_REAL_SDL, "exit-real");
}

TEST(Unload, HostCallingExitOnAnotherThreadWhilePollingExitsNormally) {
  ExpectExitsNormally(CPD_EXIT_HOST, "exit-thread", "exit-from-thread");
  ExpectExitsNormally(CPD_EXIT_HOST_REAL_SDL, "exit-thread-real", "exit-from-thread");
}

// The teardown then runs on the polling thread itself, which it can only tell to stop.
TEST(Unload, HostCallingExitFromInsideAListenerExitsNormally) {
  ExpectExitsNormally(CPD_EXIT_HOST, "exit-listener", "exit-from-listener");
  ExpectExitsNormally(CPD_EXIT_HOST_REAL_SDL, "exit-listener-real", "exit-from-listener");
}

}  // namespace
