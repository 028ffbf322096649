// Hosts that unload the library while it polls, unload it right after the last unregister, or
// return from main while it polls: each must end normally, under every sanitizer build too.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

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

std::string UnloadCommand(int rounds, const std::string& mode) {
  return std::string("'") + CPD_UNLOAD_HOST + "' '" + CPD_SIMULATOR + "' '" +
         CPD_CONTROLLER_MODULE + "' " + std::to_string(rounds) + " " + mode;
}

void ExpectUnloadedEveryRound(int rounds, const std::string& mode) {
  const HostRun run = RunHost(UnloadCommand(rounds, mode), "unload-" + mode);
  ASSERT_EQ(run.status, 0) << run.output;
  EXPECT_NE(run.output.find("library unmapped after " + std::to_string(rounds) + "\n"),
            std::string::npos)
      << run.output;
  EXPECT_EQ(run.output.find("left running"), std::string::npos) << run.output;
  EXPECT_EQ(run.output.find("polling thread left"), std::string::npos) << run.output;
}

TEST(Unload, WhilePollingWithTheListenerStillRegisteredEndsTheThreadFirst) {
  ExpectUnloadedEveryRound(20, "registered");
}

TEST(Unload, RightAfterTheLastUnregisterIsClean) {
  ExpectUnloadedEveryRound(20, "unregistered");
}

TEST(Unload, AlternatingWithAndWithoutUnregisterIsClean) {
  ExpectUnloadedEveryRound(20, "alternate");
}

TEST(Unload, HostReturningFromMainWhilePollingExitsNormally) {
  for (int run = 0; run < 10; ++run) {
    const HostRun result = RunHost(std::string("'") + CPD_EXIT_HOST + "'", "exit");
    ASSERT_EQ(result.status, 0) << "run " << run << "\n" << result.output;
    EXPECT_EQ(result.output.find("left running"), std::string::npos) << result.output;
  }
}

}  // namespace
