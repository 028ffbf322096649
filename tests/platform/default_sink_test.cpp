#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "common/log_sink.h"
#include "test_environment.h"

namespace {

TEST(DefaultSinkConcurrency, LinesFromManyThreadsNeverInterleave) {
  const std::string path =
      ::testing::TempDir() + "sink-concurrency-" + std::to_string(cpd::test::ProcessId()) + ".log";
  std::remove(path.c_str());
  cpd::test::SetEnvironment("CPD_JOYSTICK_LOG", path);  // read at the first line

  constexpr int THREADS = 8;
  constexpr int LINES = 300;
  std::vector<std::thread> writers;
  for (int t = 0; t < THREADS; ++t) {
    writers.emplace_back([t] {
      for (int i = 0; i < LINES; ++i) {
        quvaniLogPrint(0, (i % 2 == 0) ? 5 : 7, "CPD_LOG", "%s %s(%d): \"Debug:\" \"t%d n%d %s\"",
                       "file.cpp", "Writer", 10, t, i, std::string(100, 'x').c_str());
      }
    });
  }
  for (std::thread& writer : writers) {
    writer.join();
  }

  const std::regex shape(
      R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z (DEBUG\(5\)|ERROR\(7\)) CPD_LOG file\.cpp Writer\(10\): "Debug:" "t(\d) n(\d+) x{100}"$)");
  std::ifstream file(path);
  std::set<std::pair<int, int>> seen;
  std::string line;
  size_t count = 0;
  while (std::getline(file, line)) {
    std::smatch match;
    ASSERT_TRUE(std::regex_match(line, match, shape)) << line;
    seen.insert({std::stoi(match[2]), std::stoi(match[3])});
    ++count;
  }
  EXPECT_EQ(count, static_cast<size_t>(THREADS * LINES));
  EXPECT_EQ(seen.size(), static_cast<size_t>(THREADS * LINES));
}

}  // namespace
