// Packets per second over the last second, from arrival times.
#pragma once

#include <chrono>
#include <deque>

namespace monitor {

class RateMeter {
 public:
  using Clock = std::chrono::steady_clock;

  void Count(Clock::time_point now);
  double PerSecond(Clock::time_point now);

 private:
  void Forget(Clock::time_point now);
  std::deque<Clock::time_point> mArrivals;
};

}  // namespace monitor
