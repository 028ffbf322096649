#include <gtest/gtest.h>

#include <vector>

#include "common/event_record.h"

namespace {

TEST(EventRecord, CarriesExactlyMessageStatusAndSuccess) {
  const EventRecord record = cpd::MakeEventRecord("/x/y/manager.cpp", "cpd::A::B", 12, "hello");
  ASSERT_EQ(record.size(), 3U);
  std::vector<std::string> keys;
  for (const auto& entry : record) {
    keys.push_back(entry.first);
  }
  EXPECT_EQ(keys, (std::vector<std::string>{"message", "status", "success"}));
  EXPECT_EQ(record.at("status"), "success");
  EXPECT_EQ(record.at("success"), "true");
}

TEST(EventRecord, MessageNamesFileQualifiedFunctionAndLine) {
  const EventRecord record =
      cpd::MakeEventRecord("/src/joystick_manager/device_list.cpp",
                           "cpd::JoystickManager::UpdateJoystickDevList", 87, "joystickNum: 0");
  EXPECT_EQ(record.at("message"),
            "[device_list.cpp cpd::JoystickManager::UpdateJoystickDevList(87)] joystickNum: 0");
}

TEST(EventRecord, FileNameCutsAtBackslashesToo) {
  const EventRecord record = cpd::MakeEventRecord("c:\\src\\poll.cpp", "cpd::F", 1, "x");
  EXPECT_EQ(record.at("message"), "[poll.cpp cpd::F(1)] x");
}

TEST(EventRecord, EmptySourcePathIsUnknown) {
  const EventRecord record = cpd::MakeEventRecord("", "cpd::F", 3, "x");
  EXPECT_EQ(record.at("message"), "[unknown cpd::F(3)] x");
}

TEST(EventRecord, DetachOfANamelessControllerKeepsTheLeadingBlank) {
  const std::string name;
  const EventRecord record =
      cpd::MakeEventRecord("/p/poll.cpp", "cpd::JoystickManager::process", 40, name + " detached");
  EXPECT_EQ(record.at("message"), "[poll.cpp cpd::JoystickManager::process(40)]  detached");
}

TEST(EventRecord, MacroRecordsThisFileAndLine) {
  const int line = __LINE__ + 1;
  const EventRecord record = CPD_EVENT_RECORD("cpd::T::M", "text");
  EXPECT_EQ(record.at("message"),
            "[event_record_test.cpp cpd::T::M(" + std::to_string(line) + ")] text");
}

TEST(EventRecord, EventNamesAreTheListenersVocabulary) {
  EXPECT_EQ(cpd::EVENT_DEV_LIST_UPDATE, "JOYSTICK_DEV_LIST_UPDATE");
  EXPECT_EQ(cpd::EVENT_DEV_SEND_DATA, "JOYSTICK_DEV_SEND_DATA");
  EXPECT_EQ(cpd::EVENT_DEV_DETACHED, "JOYSTICK_DEV_DETACHED");
}

TEST(EventRecord, KeyVocabularyIsTheHostSchema) {
  EXPECT_EQ(cpd::EVENT_KEY_MESSAGE, "message");
  EXPECT_EQ(cpd::EVENT_KEY_STATUS, "status");
  EXPECT_EQ(cpd::EVENT_KEY_SUCCESS, "success");
}

}  // namespace
