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
  const std::vector<const std::string*> keys = {&cpd::EVENT_KEY_AUTOCONNECT,
                                                &cpd::EVENT_KEY_BIZ,
                                                &cpd::EVENT_KEY_CLASS,
                                                &cpd::EVENT_KEY_CPD_CONTEXT,
                                                &cpd::EVENT_KEY_CPD_VERSION,
                                                &cpd::EVENT_KEY_CREDIBILITY,
                                                &cpd::EVENT_KEY_DESKTOP_ID,
                                                &cpd::EVENT_KEY_DEVICE_TYPE,
                                                &cpd::EVENT_KEY_TYPE,
                                                &cpd::EVENT_KEY_DRIVER_NAME,
                                                &cpd::EVENT_KEY_ERROR_CODE,
                                                &cpd::EVENT_KEY_EVENT,
                                                &cpd::EVENT_KEY_FLOW_LEVEL,
                                                &cpd::EVENT_KEY_FLOW_NAME,
                                                &cpd::EVENT_KEY_LOCAL_POLICY,
                                                &cpd::EVENT_KEY_MESSAGE,
                                                &cpd::EVENT_KEY_PID,
                                                &cpd::EVENT_KEY_PRINTER_REDIR_TYPE,
                                                &cpd::EVENT_KEY_PROCESS_ID,
                                                &cpd::EVENT_KEY_PRODUCT_NAME,
                                                &cpd::EVENT_KEY_REDIR_TYPE_LIST,
                                                &cpd::EVENT_KEY_REDIRTYPE,
                                                &cpd::EVENT_KEY_REMOTE_POLICY,
                                                &cpd::EVENT_KEY_CONTEXT,
                                                &cpd::EVENT_KEY_START_TS,
                                                &cpd::EVENT_KEY_STATUS,
                                                &cpd::EVENT_KEY_STEP,
                                                &cpd::EVENT_KEY_SUCCESS,
                                                &cpd::EVENT_KEY_TIME_MS,
                                                &cpd::EVENT_KEY_EVENT_TYPE,
                                                &cpd::EVENT_KEY_TURBOUSB,
                                                &cpd::EVENT_KEY_VID,
                                                &cpd::EVENT_KEY_VM_CONTEXT_ID,
                                                &cpd::EVENT_KEY_VMID,
                                                &cpd::EVENT_KEY_QUVANI_POLICY,
                                                &cpd::EVENT_KEY_CPD_MODULE};
  std::vector<std::string> names;
  for (const std::string* key : keys) {
    names.push_back(*key);
  }
  EXPECT_EQ(names, (std::vector<std::string>{"autoconnect", "biz",          "class",
                                             "cpdContext",  "cpdVersion",   "credibility",
                                             "desktopId",   "deviceType",   "type",
                                             "driverName",  "errorCode",    "event",
                                             "flowLevel",   "flowName",     "localPolicy",
                                             "message",     "pid",          "printerRedirType",
                                             "processId",   "productName",  "redirTypeList",
                                             "redirtype",   "remotePolicy", "context",
                                             "startTs",     "status",       "step",
                                             "success",     "TimeMs",       "eventType",
                                             "turbousb",    "vid",          "vmContextId",
                                             "vmid",        "quvaniPolicy", "cpdModule"}));
}

}  // namespace
