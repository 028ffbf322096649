// What each of two processes sharing one default store does in the tests that check they never
// drop each other's writes: the test's own process and a forked child on POSIX, a store_writer
// program on Windows.
#pragma once

#include <chrono>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "cpd_joystick/sd_config.h"
#include "cpd_joystick/store_update.h"

namespace cpd::test {

constexpr int WORKLOAD_CYCLES = 200;
inline const std::string APPENDED_KEY = "appended";

// A pause of up to a millisecond, so that the two processes meet at different moments each time.
inline void RandomPause(std::mt19937& random) {
  std::this_thread::sleep_for(
      std::chrono::microseconds(std::uniform_int_distribution<int>(0, 1000)(random)));
}

// `cycles` times: begin an update, read APPENDED_KEY, append the line "<tag> <i>", write it back,
// end. An update refused (the other process held the store for 2 s) is tried again. Returns the
// number of refused updates and failed writes.
inline int AppendLines(const std::string& tag, int cycles, unsigned seed) {
  std::mt19937 random(seed);
  sd::SDConfig* store = sd::SDConfig::GetInstance();
  int failures = 0;
  for (int i = 0; i < cycles; ++i) {
    RandomPause(random);
    while (cpd_joystick_store_begin_update() != 1) {
      if (++failures > 10) {
        return failures;
      }
    }
    const std::string value = store->GetSecure(APPENDED_KEY);
    failures +=
        store->SetSecure(APPENDED_KEY, value + tag + " " + std::to_string(i) + "\n") ? 0 : 1;
    cpd_joystick_store_end_update();
  }
  return failures;
}

// `count` plain writes of the keys "<prefix><i>". Returns the number of failed writes.
inline int WriteKeys(const std::string& prefix, int count, unsigned seed) {
  std::mt19937 random(seed);
  sd::SDConfig* store = sd::SDConfig::GetInstance();
  int failures = 0;
  for (int i = 0; i < count; ++i) {
    RandomPause(random);
    failures += store->SetSecure(prefix + std::to_string(i), "value " + std::to_string(i)) ? 0 : 1;
  }
  return failures;
}

// The lines AppendLines writes for `tag`, in order.
inline std::vector<std::string> AppendedLines(const std::string& tag, int cycles) {
  std::vector<std::string> lines;
  lines.reserve(static_cast<size_t>(cycles));
  for (int i = 0; i < cycles; ++i) {
    lines.push_back(tag + " " + std::to_string(i));
  }
  return lines;
}

// The lines of `value` that start with `tag` and a blank, in order.
inline std::vector<std::string> LinesOf(const std::string& value, const std::string& tag) {
  std::vector<std::string> lines;
  std::istringstream text(value);
  std::string line;
  while (std::getline(text, line)) {
    if (line.rfind(tag + " ", 0) == 0) {
      lines.push_back(line);
    }
  }
  return lines;
}

}  // namespace cpd::test
