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

namespace {

// A client-side service built on the exported interface class.
class MemoryService : public sd::SDConfigService {
 public:
  std::string GetValue(const std::string& key) override { return key == "k" ? value : ""; }
  bool SetValue(const std::string& key, const std::string& text) override {
    value = key == "k" ? text : value;
    return key == "k";
  }
  std::string value;
};

TEST(ConfigurationClasses, ClientServiceDerivesCopiesAndAssigns) {
  MemoryService original;
  ASSERT_TRUE(original.SetValue("k", "v"));
  MemoryService copy(original);  // the base part is copied by the exported copy constructor
  EXPECT_EQ(copy.GetValue("k"), "v");
  MemoryService other;
  other = original;
  EXPECT_EQ(other.GetValue("k"), "v");
  std::unique_ptr<sd::SDConfigService> owned = std::make_unique<MemoryService>();
  EXPECT_FALSE(owned->SetValue("x", "y"));
  owned.reset();  // through the exported virtual destructor
}

TEST(ConfigurationClasses, AssignmentReturnsTheObjectAssignedTo) {
  sd::SDConfig a;
  sd::SDConfig b;
  EXPECT_EQ(&(a = b), &a);
  EXPECT_EQ(&(a = std::move(b)), &a);
  sd::DMConfig c;
  sd::DMConfig d;
  EXPECT_EQ(&(c = d), &c);
  EXPECT_EQ(&(c = std::move(d)), &c);
}

}  // namespace
