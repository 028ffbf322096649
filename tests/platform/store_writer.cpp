// A second process for the default store's Windows tests (on Linux they fork instead).
//
//   store_writer                      writes without end, alternating two large values, until it
//                                     is killed
//   store_writer append TAG CYCLES    updates one key CYCLES times, appending a line each time
//   store_writer keys PREFIX COUNT    writes COUNT keys of its own
//
// It touches the file named by CPD_TEST_WRITER_STARTED once it is under way, so the test knows
// when to kill it or to start its own half of the work. The two workloads exit with the number
// of failed calls.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "cpd_joystick/sd_config.h"
#include "store_workload.h"
#include "test_environment.h"

namespace {

void SayStarted() {
  std::ofstream(std::filesystem::u8path(cpd::test::EnvironmentValue("CPD_TEST_WRITER_STARTED")))
      << "started\n";
}

int WriteForEver() {
  const std::string first(size_t{256} * 1024, 'a');
  const std::string second(size_t{256} * 1024, 'b');
  sd::SDConfig* store = sd::SDConfig::GetInstance();
  if (store == nullptr || !store->SetSecure("joystickPolicyList", second)) {
    return 1;
  }
  SayStarted();
  for (int i = 0;; ++i) {
    store->SetSecure("joystickPolicyList", (i % 2 == 0) ? first : second);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    return WriteForEver();
  }
  const std::string mode = argv[1];
  const std::string name = argv[2];
  const int count = std::stoi(argv[3]);
  SayStarted();
  const int failures = mode == "append" ? cpd::test::AppendLines(name, count, 2)
                                        : cpd::test::WriteKeys(name, count, 2);
  return std::min(failures, 99);
}
