// The shipped library exports its public interface and nothing else.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <sstream>
#include <string>

namespace {

// Demangled names of the dynamic symbols the library defines. Names only: the posix format's
// size field can be a lone hexadecimal letter, which reads like a symbol type.
std::set<std::string> DefinedDynamicSymbols() {
  const std::string command =
      std::string("nm -D --defined-only -C --format=just-symbols '") + CPD_JOYSTICK_LIBRARY + "'";
  FILE* pipe = popen(command.c_str(), "r");
  EXPECT_NE(pipe, nullptr);
  std::string output;
  char buffer[512];
  while (pipe != nullptr && fgets(buffer, sizeof buffer, pipe) != nullptr) {
    output += buffer;
  }
  EXPECT_EQ(pipe != nullptr ? pclose(pipe) : -1, 0);
  std::set<std::string> names;
  std::istringstream lines(output);
  std::string line;
  while (std::getline(lines, line)) {
    if (!line.empty()) {
      names.insert(line);
    }
  }
  return names;
}

TEST(ExportedSymbols, AreExactlyThePublicInterface) {
  const std::set<std::string> expected = {
      "JoysticAPI_RegsisterNotify(CpdJoystickNotify*)",
      "JoysticAPI_UnregsisterNotify(CpdJoystickNotify*)",
      "JoysticAPI_GetDevList[abi:cxx11]()",
      "JoysticAPI_GetMappingList[abi:cxx11]()",
      "JoysticAPI_SetMapping(unsigned short, unsigned short)",
      "JoysticAPI_Calibration(unsigned short)",
      "JoysticAPI_SetPollInterval(unsigned short)",
      "CpdJoystickNotify::~CpdJoystickNotify()",
      "typeinfo for CpdJoystickNotify",
      "typeinfo name for CpdJoystickNotify",
      "vtable for CpdJoystickNotify",
      "sd::SDConfig::operator=(sd::SDConfig const&)",
      "sd::SDConfig::operator=(sd::SDConfig&&)",
      "sd::DMConfig::operator=(sd::DMConfig const&)",
      "sd::DMConfig::operator=(sd::DMConfig&&)",
      "sd::SDConfigService::SDConfigService()",
      "sd::SDConfigService::SDConfigService(sd::SDConfigService const&)",
      "sd::SDConfigService::~SDConfigService()",
      "sd::SDConfigService::operator=(sd::SDConfigService const&)",
      "typeinfo for sd::SDConfigService",
      "typeinfo name for sd::SDConfigService",
      "vtable for sd::SDConfigService",
      "cpd_joystick_register",
      "cpd_joystick_unregister",
      "cpd_joystick_get_dev_list",
      "cpd_joystick_get_mapping_list",
      "cpd_joystick_set_mapping",
      "cpd_joystick_calibration",
      "cpd_joystick_set_poll_interval",
      "cpd_joystick_version",
      "cpd_joystick_last_error",
  };
  EXPECT_EQ(DefinedDynamicSymbols(), expected);
}

}  // namespace
