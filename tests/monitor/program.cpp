#include "program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>

namespace monitor::test {

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void BecomeMonitor(const std::vector<std::string>& arguments,
                                const RunOptions& options, int outPipe, int errPipe) {
  dup2(outPipe, STDOUT_FILENO);
  dup2(errPipe, STDERR_FILENO);
  const int nothing = ::open("/dev/null", O_RDONLY);
  dup2(nothing, STDIN_FILENO);
  for (const std::string& variable : options.environment) {
    putenv(const_cast<char*>(variable.c_str()));  // NOLINT: the child owns its copy
  }
  std::vector<char*> argv;
  std::string program = CPD_MONITOR_PROGRAM;
  argv.push_back(program.data());
  std::vector<std::string> copies = arguments;
  for (std::string& argument : copies) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  execv(program.c_str(), argv.data());
  _exit(127);
}

// Reads both pipes until both close or the deadline passes.
void Collect(pid_t child, const RunOptions& options, std::array<int, 2> pipes, ProgramRun& run) {
  const Clock::time_point deadline = Clock::now() + options.timeout;
  bool terminated = false;
  std::array<bool, 2> open = {true, true};
  while (open[0] || open[1]) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) {
      run.timedOut = true;
      kill(child, SIGKILL);
      break;
    }
    std::array<pollfd, 2> watched = {pollfd{open[0] ? pipes[0] : -1, POLLIN, 0},
                                     pollfd{open[1] ? pipes[1] : -1, POLLIN, 0}};
    if (poll(watched.data(), watched.size(), static_cast<int>(left.count())) <= 0) {
      continue;
    }
    for (size_t which = 0; which < 2; ++which) {
      if (watched[which].revents == 0) {
        continue;
      }
      char buffer[65536];
      const ssize_t got = read(pipes[which], buffer, sizeof buffer);
      if (got <= 0) {
        open[which] = false;
        continue;
      }
      (which == 0 ? run.out : run.err).append(buffer, static_cast<size_t>(got));
    }
    if (!terminated && options.terminateWhen && options.terminateWhen(run.out)) {
      kill(child, SIGTERM);
      terminated = true;
    }
  }
}

}  // namespace

ProgramRun RunMonitor(const std::vector<std::string>& arguments, const RunOptions& options) {
  int out[2];
  int err[2];
  if (pipe(out) != 0 || pipe(err) != 0) {
    ADD_FAILURE() << "no pipes";
    return {};
  }
  const pid_t child = fork();
  if (child == 0) {
    close(out[0]);
    close(err[0]);
    BecomeMonitor(arguments, options, out[1], err[1]);
  }
  close(out[1]);
  close(err[1]);
  ProgramRun run;
  Collect(child, options, {out[0], err[0]}, run);
  close(out[0]);
  close(err[0]);
  int status = 0;
  waitpid(child, &status, 0);
  run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return run;
}

std::vector<Json::Value> JsonLines(const std::string& out) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  std::vector<Json::Value> lines;
  std::istringstream stream(out);
  std::string line;
  while (std::getline(stream, line)) {
    Json::Value value;
    std::string errors;
    if (!reader->parse(line.data(), line.data() + line.size(), &value, &errors)) {
      ADD_FAILURE() << "not a JSON line: " << line << " (" << errors << ")";
      continue;
    }
    lines.push_back(value);
  }
  return lines;
}

std::vector<Json::Value> OfType(const std::vector<Json::Value>& lines, const std::string& type) {
  std::vector<Json::Value> chosen;
  for (const Json::Value& line : lines) {
    if (line["type"].asString() == type) {
      chosen.push_back(line);
    }
  }
  return chosen;
}

ScratchFile::ScratchFile(const std::string& text) {
  std::string pattern = ::testing::TempDir() + "monitor-scratch-XXXXXX";
  const int descriptor = mkstemp(pattern.data());
  if (descriptor >= 0) {
    close(descriptor);
  }
  mPath = pattern;
  std::ofstream(mPath) << text;
}

ScratchFile::~ScratchFile() {
  std::remove(mPath.c_str());
}

}  // namespace monitor::test
