#include "rate_meter.h"

namespace monitor {

namespace {

constexpr std::chrono::seconds WINDOW{1};

}  // namespace

void RateMeter::Count(Clock::time_point now) {
  mArrivals.push_back(now);
  Forget(now);
}

double RateMeter::PerSecond(Clock::time_point now) {
  Forget(now);
  return static_cast<double>(mArrivals.size());
}

void RateMeter::Forget(Clock::time_point now) {
  while (!mArrivals.empty() && now - mArrivals.front() >= WINDOW) {
    mArrivals.pop_front();
  }
}

}  // namespace monitor
