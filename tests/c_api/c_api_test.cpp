// The C interface over the shipped library on the simulator: the same listeners, lists and
// layout changes as the C++ functions, and bad input answered by a code and an error line.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "cpd_joystick/cpd_joystick.h"
#include "cpd_joystick/joystick_api.h"
#include "log_capture.h"
#include "recording_store.h"
#include "sdl_sim.h"
#include "test_listener.h"

namespace cpd::test {
namespace {

using namespace std::chrono_literals;

// What a C listener received, behind its `user` pointer.
struct CRecord {
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<cpd_joystick_packet> packets;
  std::vector<int32_t> sizes;
  size_t devListUpdates = 0;
  std::vector<std::string> events;
  std::vector<std::vector<std::pair<std::string, std::string>>> eventFields;
  // Shared arrival log of several listeners, for ordering checks.
  std::vector<std::string>* arrivals = nullptr;
  std::string label;
  // Runs inside the device-list callback (for re-entrancy checks).
  std::function<void()> onDevListUpdate;

  bool WaitFor(const std::function<bool()>& done, std::chrono::milliseconds timeout = 15s) {
    std::unique_lock<std::mutex> lock(mutex);
    return changed.wait_for(lock, timeout, done);
  }
};

void OnData(void* user, const cpd_joystick_packet* packet, int32_t size) {
  auto* record = static_cast<CRecord*>(user);
  std::lock_guard<std::mutex> lock(record->mutex);
  record->packets.push_back(*packet);
  record->sizes.push_back(size);
  record->changed.notify_all();
}

void OnDevListUpdate(void* user) {
  auto* record = static_cast<CRecord*>(user);
  if (record->onDevListUpdate) {
    record->onDevListUpdate();
  }
  std::lock_guard<std::mutex> lock(record->mutex);
  ++record->devListUpdates;
  if (record->arrivals != nullptr) {
    record->arrivals->push_back(record->label);
  }
  record->changed.notify_all();
}

void OnEvent(void* user, const char* event, const cpd_joystick_field* fields, size_t count) {
  auto* record = static_cast<CRecord*>(user);
  std::lock_guard<std::mutex> lock(record->mutex);
  record->events.emplace_back(event);
  std::vector<std::pair<std::string, std::string>> copied;
  for (size_t i = 0; i < count; ++i) {
    copied.emplace_back(fields[i].key, fields[i].value);
  }
  record->eventFields.push_back(copied);
  record->changed.notify_all();
}

void OnOtherData(void* /*user*/, const cpd_joystick_packet* /*packet*/, int32_t /*size*/) {}

cpd_joystick_listener ListenerFor(CRecord& record) {
  return cpd_joystick_listener{OnData, OnDevListUpdate, OnEvent, &record};
}

int PlugXbox(const char* name = "Xbox Wireless Controller",
             const char* path = "/dev/input/event20") {
  return sim_plug(name, path, 0x045e, 0x0b13, 6, 11, 1);
}

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

class CInterface : public ::testing::Test {
 protected:
  void SetUp() override {
    sim_reset();
    ResetStore();
    ClearLogs();
  }

  void TearDown() override {
    for (const cpd_joystick_listener* listener : mRegistered) {
      cpd_joystick_unregister(listener);
    }
    sim_reset();
  }

  int32_t Register(const cpd_joystick_listener* listener) {
    mRegistered.push_back(listener);
    return cpd_joystick_register(listener);
  }

  // Outlive TearDown, which unregisters the listeners that write to them.
  CRecord record;
  CRecord other;

 private:
  std::vector<const cpd_joystick_listener*> mRegistered;
};

TEST_F(CInterface, ListenerGetsTheDeviceListPacketsAndEvents) {
  PlugXbox();
  const cpd_joystick_listener listener = ListenerFor(record);
  ASSERT_EQ(Register(&listener), CPD_JOYSTICK_OK);
  EXPECT_STREQ(cpd_joystick_last_error(), "");
  ASSERT_TRUE(
      record.WaitFor([&] { return record.devListUpdates >= 1 && record.packets.size() >= 3; }));

  cpd_joystick_device_info devices[4];
  ASSERT_EQ(cpd_joystick_get_dev_list(devices, 4), 1);
  EXPECT_EQ(devices[0].vid, 0x045e);
  EXPECT_EQ(devices[0].pid, 0x0b13);
  EXPECT_EQ(devices[0].index, 0);
  EXPECT_EQ(devices[0].mapping_index, 6);
  EXPECT_EQ(devices[0].truncated, 0);
  EXPECT_STREQ(devices[0].name, "xbox wireless controller");
  EXPECT_STREQ(devices[0].path, "/dev/input/event20");
  const std::list<_CpdJoystickDeviceInfo> cpp = JoysticAPI_GetDevList();
  ASSERT_EQ(cpp.size(), 1U);
  EXPECT_EQ(cpp.front().name, devices[0].name);

  std::lock_guard<std::mutex> lock(record.mutex);
  EXPECT_EQ(record.sizes.front(), 17);
  EXPECT_EQ(record.packets.front().slot, 0);
  // Packed fields are read by value: a reference to one would be misaligned.
  const uint32_t first = record.packets[0].dwPacketNumber;
  const uint32_t second = record.packets[1].dwPacketNumber;
  EXPECT_EQ(second, first + 1);
  ASSERT_FALSE(record.events.empty());
  EXPECT_EQ(record.events.front(), "JOYSTICK_DEV_LIST_UPDATE");
  const auto& fields = record.eventFields.front();
  ASSERT_EQ(fields.size(), 3U);
  EXPECT_EQ(fields[0].first, "message");
  EXPECT_TRUE(Contains(fields[0].second, "joystickNum: 1{vid:0x045e pid:0x0b13"));
  EXPECT_EQ(fields[1], (std::pair<std::string, std::string>("status", "success")));
  EXPECT_EQ(fields[2], (std::pair<std::string, std::string>("success", "true")));
}

TEST_F(CInterface, PacketCarriesTheGamepadStateOfTheCppPacket) {
  const int pad = PlugXbox();
  sim_set_button(pad, 0, 1);  // A
  sim_set_axis(pad, 0, 32767);
  const cpd_joystick_listener listener = ListenerFor(record);
  TestListener cppListener;
  ASSERT_EQ(Register(&listener), CPD_JOYSTICK_OK);
  JoysticAPI_RegsisterNotify(&cppListener);
  ASSERT_TRUE(cppListener.WaitFor([&] { return cppListener.PacketCount() >= 2; }, 15s));
  JoysticAPI_UnregsisterNotify(&cppListener);
  const auto bytes = cppListener.Packets().back();
  JoystickDataPacket expected{};
  std::memcpy(&expected, bytes.data(), sizeof expected);
  ASSERT_TRUE(record.WaitFor([&] {
    return std::any_of(record.packets.begin(), record.packets.end(),
                       [&](const cpd_joystick_packet& packet) {
                         return packet.dwPacketNumber == expected.dwPacketNumber;
                       });
  }));
  std::lock_guard<std::mutex> lock(record.mutex);
  for (const cpd_joystick_packet& packet : record.packets) {
    if (packet.dwPacketNumber == expected.dwPacketNumber) {
      EXPECT_EQ(std::memcmp(&packet, bytes.data(), sizeof packet), 0);
      const uint16_t buttons = packet.wButtons;
      const int16_t stickX = packet.sThumbLX;
      const int16_t expectedStickX = expected.sThumbLX;
      EXPECT_EQ(buttons, 0x1000);
      EXPECT_EQ(stickX, expectedStickX);
    }
  }
}

TEST_F(CInterface, CapacityZeroCountsAndASmallBufferIsReported) {
  PlugXbox("Xbox Wireless Controller", "/dev/input/event20");
  PlugXbox("Xbox Wireless Controller", "/dev/input/event21");
  const cpd_joystick_listener listener = ListenerFor(record);
  ASSERT_EQ(Register(&listener), CPD_JOYSTICK_OK);
  ASSERT_TRUE(record.WaitFor([&] { return record.devListUpdates >= 1; }));

  EXPECT_EQ(cpd_joystick_get_dev_list(nullptr, 0), 2);
  EXPECT_STREQ(cpd_joystick_last_error(), "");
  cpd_joystick_device_info devices[2];
  std::memset(devices, 0x5a, sizeof devices);
  EXPECT_EQ(cpd_joystick_get_dev_list(devices, 1), 2);
  EXPECT_STREQ(devices[0].path, "/dev/input/event20");
  EXPECT_EQ(devices[1].vid, 0x5a5a);  // untouched past the capacity
  EXPECT_TRUE(Contains(cpd_joystick_last_error(),
                       "\"Error:\" \"2 entries, the buffer holds 1: only those were copied\""));
  EXPECT_EQ(CountLogBody(ErrorBody("2 entries, the buffer holds 1: only those were copied")), 1U);

  EXPECT_EQ(cpd_joystick_get_mapping_list(nullptr, 0), 6);
  cpd_joystick_mapping_info mappings[6];
  ASSERT_EQ(cpd_joystick_get_mapping_list(mappings, 6), 6);
  const char* names[] = {"MAPPING_PS",      "MAPPING_SWITCH_MOD1", "MAPPING_SWITCH_MOD2",
                         "MAPPING_ANDROID", "MAPPING_LOGIC",       "MAPPING_XBOX"};
  for (uint16_t i = 0; i < 6; ++i) {
    EXPECT_EQ(mappings[i].index, i + 1);
    EXPECT_EQ(mappings[i].mapping_index, i + 1);
    EXPECT_STREQ(mappings[i].name, names[i]);
  }
}

TEST_F(CInterface, LongNameIsCutAtACharacterAndSaysSo) {
  std::string name(CPD_JOYSTICK_NAME_SIZE - 2, 'x');
  name += "\xc3\xa9 pad";  // a two-byte character across the cut
  PlugXbox(name.c_str());
  const cpd_joystick_listener listener = ListenerFor(record);
  ASSERT_EQ(Register(&listener), CPD_JOYSTICK_OK);
  ASSERT_TRUE(record.WaitFor([&] { return record.devListUpdates >= 1; }));
  cpd_joystick_device_info device{};
  ASSERT_EQ(cpd_joystick_get_dev_list(&device, 1), 1);
  EXPECT_EQ(device.truncated, CPD_JOYSTICK_NAME_TRUNCATED);
  EXPECT_EQ(std::string(device.name), std::string(CPD_JOYSTICK_NAME_SIZE - 2, 'x'));
  EXPECT_STREQ(device.path, "/dev/input/event20");
  EXPECT_TRUE(Contains(cpd_joystick_last_error(), "entry 0: a text was cut to fit its field"));
}

TEST_F(CInterface, SetMappingAnswersAsTheCppExportAndErrorsCarryTheLibrarysLine) {
  PlugXbox();
  const cpd_joystick_listener listener = ListenerFor(record);
  ASSERT_EQ(Register(&listener), CPD_JOYSTICK_OK);
  ASSERT_TRUE(record.WaitFor([&] { return record.devListUpdates >= 1; }));

  EXPECT_EQ(cpd_joystick_set_mapping(0, 1), 0);
  EXPECT_STREQ(cpd_joystick_last_error(), "");
  cpd_joystick_device_info device{};
  ASSERT_EQ(cpd_joystick_get_dev_list(&device, 1), 1);
  EXPECT_EQ(device.mapping_index, 1);

  EXPECT_EQ(cpd_joystick_set_mapping(3, 1), -1);
  const std::string badSlot = cpd_joystick_last_error();
  EXPECT_TRUE(Contains(badSlot, "\"Error:\" \"index[3] mappingIndex[1] setmapping failed\""))
      << badSlot;
  EXPECT_EQ(badSlot.find('\n'), std::string::npos);

  EXPECT_EQ(cpd_joystick_set_mapping(0, 9), JoysticAPI_SetMapping(0, 9));
  const std::string badKind = cpd_joystick_last_error();
  EXPECT_TRUE(
      Contains(badKind, "name[xbox wireless controller] mappingIndex[9] UNKNOWN mapping\"\n"))
      << badKind;
  EXPECT_TRUE(Contains(badKind, "index[0] mappingIndex[9] setmapping failed")) << badKind;

  EXPECT_EQ(cpd_joystick_calibration(2), 0);
  EXPECT_STREQ(cpd_joystick_last_error(), "");
}

TEST_F(CInterface, ChoicesTheStoreRefusesAreCountedUntilItTakesThem) {
  PlugXbox();
  const cpd_joystick_listener listener = ListenerFor(record);
  ASSERT_EQ(Register(&listener), CPD_JOYSTICK_OK);
  ASSERT_TRUE(record.WaitFor([&] { return record.devListUpdates >= 1; }));
  SetStoreRefusing(true);
  ASSERT_EQ(cpd_joystick_set_mapping(0, 2), 0);
  EXPECT_EQ(cpd_joystick_unstored_choices(), 1);
  ASSERT_TRUE(WaitForStoreCalls("SetSecure", 1));
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(cpd_joystick_unstored_choices(), 1);  // refused, still pending
  SetStoreRefusing(false);
  const auto deadline = std::chrono::steady_clock::now() + 5s;
  while (cpd_joystick_unstored_choices() != 0 && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(20ms);
  }
  EXPECT_EQ(cpd_joystick_unstored_choices(), 0);
  EXPECT_STREQ(cpd_joystick_last_error(), "");
}

TEST_F(CInterface, NullPointersAndNullCallbacksAreRefusedWithALine) {
  EXPECT_EQ(cpd_joystick_register(nullptr), CPD_JOYSTICK_ERROR_ARGUMENT);
  EXPECT_TRUE(Contains(cpd_joystick_last_error(), "\"null listener refused\""));
  EXPECT_EQ(cpd_joystick_unregister(nullptr), CPD_JOYSTICK_ERROR_ARGUMENT);
  EXPECT_EQ(cpd_joystick_get_dev_list(nullptr, 2), CPD_JOYSTICK_ERROR_ARGUMENT);
  EXPECT_TRUE(Contains(cpd_joystick_last_error(), "null buffer refused for 2 entries"));
  EXPECT_EQ(cpd_joystick_get_mapping_list(nullptr, 1), CPD_JOYSTICK_ERROR_ARGUMENT);

  PlugXbox();
  cpd_joystick_listener listener = ListenerFor(record);
  listener.on_event = nullptr;
  EXPECT_EQ(Register(&listener), CPD_JOYSTICK_ERROR_ARGUMENT);
  EXPECT_TRUE(Contains(cpd_joystick_last_error(),
                       "refused: on_data, on_dev_list_update and on_event must all be set"));
  std::this_thread::sleep_for(300ms);
  EXPECT_EQ(sim_is_initialised(), 0);  // nothing was registered, so nothing polls
  EXPECT_EQ(cpd_joystick_get_mapping_list(nullptr, 0), 0);
}

TEST_F(CInterface, StructIsCopiedAndAnotherListenerAtItsAddressIsRefused) {
  PlugXbox();
  cpd_joystick_listener listener = ListenerFor(record);
  ASSERT_EQ(Register(&listener), CPD_JOYSTICK_OK);
  EXPECT_EQ(cpd_joystick_register(&listener), CPD_JOYSTICK_OK);  // the same again: ignored
  // The caller reuses the memory for another listener while the first is still registered.
  listener = cpd_joystick_listener{OnOtherData, OnDevListUpdate, OnEvent, &other};
  EXPECT_EQ(cpd_joystick_register(&listener), CPD_JOYSTICK_ERROR);
  EXPECT_TRUE(Contains(cpd_joystick_last_error(),
                       "refused: another listener is registered at this address, unregister it "
                       "first"));
  const size_t before = [&] {
    std::lock_guard<std::mutex> lock(record.mutex);
    return record.packets.size();
  }();
  EXPECT_TRUE(record.WaitFor([&] { return record.packets.size() >= before + 3; }));

  // Unregistering goes by the address alone, whatever the struct holds now.
  EXPECT_EQ(cpd_joystick_unregister(&listener), CPD_JOYSTICK_OK);
  EXPECT_EQ(sim_is_initialised(), 0);  // it was the only listener: polling stopped
  const size_t after = record.packets.size();
  std::this_thread::sleep_for(200ms);
  std::lock_guard<std::mutex> lock(record.mutex);
  EXPECT_EQ(record.packets.size(), after);
  EXPECT_EQ(other.devListUpdates, 0U);
}

TEST_F(CInterface, RegisteringFromInsideACallbackIsRefused) {
  PlugXbox();
  const cpd_joystick_listener listener = ListenerFor(record);
  const cpd_joystick_listener otherListener = ListenerFor(other);
  int32_t registerResult = 1;
  int32_t unregisterResult = 1;
  std::string registerError;
  std::string unregisterError;
  record.onDevListUpdate = [&] {
    if (registerResult == 1) {
      registerResult = cpd_joystick_register(&otherListener);
      registerError = cpd_joystick_last_error();
      unregisterResult = cpd_joystick_unregister(&listener);
      unregisterError = cpd_joystick_last_error();
    }
  };
  ASSERT_EQ(Register(&listener), CPD_JOYSTICK_OK);
  ASSERT_TRUE(record.WaitFor([&] { return record.devListUpdates >= 1; }));
  EXPECT_EQ(registerResult, CPD_JOYSTICK_ERROR);
  EXPECT_TRUE(
      Contains(registerError, "refused: listeners must not register from inside a callback"))
      << registerError;
  EXPECT_EQ(unregisterResult, CPD_JOYSTICK_ERROR);
  EXPECT_TRUE(
      Contains(unregisterError, "refused: listeners must not unregister from inside a callback"))
      << unregisterError;
  // Nothing changed: the first listener still gets packets, the other none.
  EXPECT_TRUE(record.WaitFor([&] { return record.packets.size() >= 3; }));
  std::lock_guard<std::mutex> lock(other.mutex);
  EXPECT_EQ(other.devListUpdates, 0U);
}

TEST_F(CInterface, ListenersAreCalledInRegistrationOrderWithCppListeners) {
  std::vector<std::string> arrivals;
  CRecord first;
  CRecord third;
  first.arrivals = &arrivals;
  first.label = "first";
  third.arrivals = &arrivals;
  third.label = "third";
  const cpd_joystick_listener firstListener = ListenerFor(first);
  const cpd_joystick_listener thirdListener = ListenerFor(third);
  TestListener second;
  second.onCallback = [&] {
    if (second.Sequence().back() == "devlist") {
      arrivals.emplace_back("second");  // callbacks run one at a time, on one thread
    }
  };
  ASSERT_EQ(Register(&firstListener), CPD_JOYSTICK_OK);
  JoysticAPI_RegsisterNotify(&second);
  ASSERT_EQ(Register(&thirdListener), CPD_JOYSTICK_OK);
  PlugXbox();  // the first list is published once all three are registered
  ASSERT_TRUE(third.WaitFor([&] { return third.devListUpdates >= 1; }));
  JoysticAPI_UnregsisterNotify(&second);
  cpd_joystick_unregister(&firstListener);
  cpd_joystick_unregister(&thirdListener);
  EXPECT_EQ(arrivals, (std::vector<std::string>{"first", "second", "third"}));
}

TEST_F(CInterface, UnregisteringAnUnknownListenerIsNotAnError) {
  const cpd_joystick_listener listener = ListenerFor(record);
  EXPECT_EQ(cpd_joystick_unregister(&listener), CPD_JOYSTICK_OK);
  EXPECT_STREQ(cpd_joystick_last_error(), "");
  EXPECT_EQ(CountLogBody(DebugBody("begin")), 1U);  // as for the C++ function: Stop runs
  EXPECT_EQ(CountLogBody(DebugBody("end")), 1U);
}

TEST_F(CInterface, PollIntervalTakesOneToThirtyAndRefusesTheRestWithTheLibrarysLine) {
  EXPECT_EQ(cpd_joystick_set_poll_interval(4), CPD_JOYSTICK_OK);
  EXPECT_STREQ(cpd_joystick_last_error(), "");
  EXPECT_EQ(cpd_joystick_set_poll_interval(31), CPD_JOYSTICK_ERROR);
  EXPECT_NE(std::string(cpd_joystick_last_error())
                .find("interval[31] refused: the poll interval is 1 to 30 ms"),
            std::string::npos);
  EXPECT_EQ(cpd_joystick_set_poll_interval(0), CPD_JOYSTICK_ERROR);
  EXPECT_EQ(cpd_joystick_set_poll_interval(30), CPD_JOYSTICK_OK);
}

TEST_F(CInterface, VibrationAnswersAsTheCppExportWithItsOwnCodeForNoMotorsAndNoLine) {
  EXPECT_EQ(cpd_joystick_set_vibration(0, 1, 2), CPD_JOYSTICK_ERROR);
  EXPECT_STREQ(cpd_joystick_last_error(), "");
  const int pad = PlugXbox();
  sim_set_motors(pad, 1);
  sim_plug("Generic USB Joystick", "/dev/input/event21", 0x0079, 0x0006, 4, 12, 1);
  const cpd_joystick_listener listener = ListenerFor(record);
  ASSERT_EQ(Register(&listener), CPD_JOYSTICK_OK);
  ASSERT_TRUE(record.WaitFor([&] { return record.devListUpdates >= 1; }));
  ClearLogs();

  EXPECT_EQ(cpd_joystick_set_vibration(0, 1000, 2000), CPD_JOYSTICK_OK);
  EXPECT_STREQ(cpd_joystick_last_error(), "");
  EXPECT_EQ(cpd_joystick_set_vibration(1, 1000, 2000), CPD_JOYSTICK_NO_MOTORS);
  EXPECT_STREQ(cpd_joystick_last_error(), "");
  EXPECT_EQ(cpd_joystick_set_vibration(4, 1000, 2000), CPD_JOYSTICK_ERROR);
  EXPECT_STREQ(cpd_joystick_last_error(), "");
  EXPECT_EQ(JoysticAPI_SetVibration(1, 1000, 2000), -2);
  EXPECT_TRUE(CapturedLogs().empty());

  uint16_t low = 0;
  uint16_t high = 0;
  EXPECT_TRUE(record.WaitFor([&] {
    sim_motors(pad, &low, &high);
    return low == 1000 && high == 2000;
  }));
}

TEST_F(CInterface, VersionIsTheProjectVersion) {
  EXPECT_STREQ(cpd_joystick_version(), CPD_EXPECTED_VERSION);
}

// The return code comes from what the call did, not from which lines it logged: the listener
// is removed although the unregistration also reports a choice the store has not taken.
TEST_F(CInterface, UnregisteringWithAChoiceStillUnstoredRemovesTheListenerAndSaysSo) {
  PlugXbox();
  cpd_joystick_listener listener = ListenerFor(record);
  ASSERT_EQ(cpd_joystick_register(&listener), CPD_JOYSTICK_OK);
  ASSERT_TRUE(record.WaitFor([&] { return record.devListUpdates >= 1; }));
  SetStoreRefusing(true);
  ASSERT_EQ(cpd_joystick_set_mapping(0, 2), 0);
  EXPECT_EQ(cpd_joystick_unregister(&listener), CPD_JOYSTICK_OK);
  EXPECT_TRUE(Contains(cpd_joystick_last_error(),
                       "a layout choice was not stored yet when polling stopped"));
  EXPECT_EQ(sim_is_initialised(), 0);
  // Its address is free again: another listener may take it.
  listener = cpd_joystick_listener{OnOtherData, OnDevListUpdate, OnEvent, &other};
  EXPECT_EQ(Register(&listener), CPD_JOYSTICK_OK);
  EXPECT_STREQ(cpd_joystick_last_error(), "");
  SetStoreRefusing(false);
}

// The wait for the store at the last unregistration holds up only that call: another host
// thread registers meanwhile and its listener is served.
TEST_F(CInterface, ARegistrationDoesNotWaitForAnUnregistrationWaitingForTheStore) {
  PlugXbox();
  const cpd_joystick_listener first = ListenerFor(record);
  ASSERT_EQ(cpd_joystick_register(&first), CPD_JOYSTICK_OK);
  ASSERT_TRUE(record.WaitFor([&] { return record.devListUpdates >= 1; }));
  // The store takes its time over the write, so the unregistration waits for it.
  std::mutex gateMutex;
  std::condition_variable gateChanged;
  bool gateOpen = false;
  SetStoreCallHook([&](const std::string& operation) {
    if (operation == "SetSecure") {
      std::unique_lock<std::mutex> lock(gateMutex);
      gateChanged.wait_for(lock, 10s, [&] { return gateOpen; });
    }
  });
  ASSERT_EQ(cpd_joystick_set_mapping(0, 2), 0);
  std::atomic<bool> unregistered{false};
  std::thread leaving([&] {
    EXPECT_EQ(cpd_joystick_unregister(&first), CPD_JOYSTICK_OK);
    unregistered = true;
  });
  ASSERT_TRUE(WaitForLogBody(DebugBody("end")));  // polling stopped: now it waits for the store
  const cpd_joystick_listener second = ListenerFor(other);
  EXPECT_EQ(Register(&second), CPD_JOYSTICK_OK);
  EXPECT_FALSE(unregistered.load());
  {
    std::lock_guard<std::mutex> lock(gateMutex);
    gateOpen = true;
  }
  gateChanged.notify_all();
  leaving.join();
  EXPECT_TRUE(other.WaitFor([&] { return !other.packets.empty(); }));
  SetStoreCallHook({});
}

}  // namespace
}  // namespace cpd::test
