// Runs the monitor as a separate program, the way a script does: no terminal, standard output
// and standard error read whole.
#pragma once

#include <json/json.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace monitor::test {

struct ProgramRun {
  int exitCode = -1;  // -1 when it did not exit by itself
  bool timedOut = false;
  std::string out;
  std::string err;
};

struct RunOptions {
  std::chrono::seconds timeout{120};
  // Variables set for the run, "NAME=value".
  std::vector<std::string> environment;
  // Called whenever standard output grew; answering true sends SIGTERM once.
  std::function<bool(const std::string& out)> terminateWhen;
};

ProgramRun RunMonitor(const std::vector<std::string>& arguments, const RunOptions& options = {});

// Each line of `out` as JSON; a line that is not valid JSON fails the calling test.
std::vector<Json::Value> JsonLines(const std::string& out);

// Lines of `lines` whose "type" is `type`.
std::vector<Json::Value> OfType(const std::vector<Json::Value>& lines, const std::string& type);

// A scratch file with `text` in it, removed by the destructor.
class ScratchFile {
 public:
  explicit ScratchFile(const std::string& text);
  ~ScratchFile();
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  const std::string& Path() const { return mPath; }

 private:
  std::string mPath;
};

}  // namespace monitor::test
