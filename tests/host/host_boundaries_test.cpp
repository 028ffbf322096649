// A host that defines the log sink and the secure store itself gets its own definitions used by
// the shipped library, although the library also links the default ones.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "cpd_joystick/joystick_api.h"
#include "cpd_joystick/sd_config.h"
#include "log_capture.h"

namespace {

// The object file (executable or shared library) that defines the symbol the dynamic linker
// binds `name` to for everyone in the process.
std::string DefiningObject(const char* name) {
  void* symbol = dlsym(RTLD_DEFAULT, name);
  Dl_info info{};
  if (symbol == nullptr || dladdr(symbol, &info) == 0 || info.dli_fname == nullptr) {
    return "<unresolved>";
  }
  return info.dli_fname;
}

std::string ThisExecutable() {
  Dl_info info{};
  dladdr(reinterpret_cast<void*>(&DefiningObject), &info);
  return info.dli_fname != nullptr ? info.dli_fname : "<unknown>";
}

TEST(HostBoundaries, LibraryLinesReachTheHostsOwnSink) {
  JoysticAPI_UnregsisterNotify(nullptr);
  const std::vector<cpd::test::LogLine> lines = cpd::test::CapturedLogs();
  ASSERT_EQ(lines.size(), 3U);  // "%p", "begin", "end"
  EXPECT_EQ(lines[1].body, cpd::test::DebugBody("begin"));
  EXPECT_EQ(lines[1].function, "Stop");
  EXPECT_EQ(lines[2].body, cpd::test::DebugBody("end"));
}

TEST(HostBoundaries, SinkBindsToTheHostsDefinition) {
  EXPECT_EQ(DefiningObject("quvaniLogPrint"), ThisExecutable());
}

TEST(HostBoundaries, StoreBindsToTheHostsDefinitions) {
  const std::string host = ThisExecutable();
  EXPECT_EQ(DefiningObject("_ZN2sd8SDConfig11GetInstanceEv"), host);
  EXPECT_EQ(DefiningObject("_ZN2sd8SDConfig9GetSecureERKNSt7__cxx1112basic_stringIcSt11char_"
                           "traitsIcESaIcEEE"),
            host);
  EXPECT_EQ(DefiningObject("_ZN2sd8SDConfig9SetSecureERKNSt7__cxx1112basic_stringIcSt11char_"
                           "traitsIcESaIcEEES8_"),
            host);
}

}  // namespace
