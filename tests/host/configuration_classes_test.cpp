// The configuration classes the bridge exports: a client derives from, copies and assigns them.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "cpd_joystick/sd_config.h"

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
