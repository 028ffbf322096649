// A process that writes the default store without end, alternating two large values, until it
// is killed. It touches the file named by CPD_TEST_WRITER_STARTED once its first write is done,
// so the killer knows the writes are under way.
#include <filesystem>
#include <fstream>
#include <string>

#include "cpd_joystick/sd_config.h"
#include "test_environment.h"

int main() {
  const std::string first(size_t{256} * 1024, 'a');
  const std::string second(size_t{256} * 1024, 'b');
  sd::SDConfig* store = sd::SDConfig::GetInstance();
  if (store == nullptr || !store->SetSecure("joystickPolicyList", second)) {
    return 1;
  }
  std::ofstream(std::filesystem::u8path(cpd::test::EnvironmentValue("CPD_TEST_WRITER_STARTED")))
      << "started\n";
  for (int i = 0;; ++i) {
    store->SetSecure("joystickPolicyList", (i % 2 == 0) ? first : second);
  }
}
