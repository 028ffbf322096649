// Slot assignment over the slot table.
#include <gtest/gtest.h>

#include <random>
#include <set>

#include "joystick_mapping/slot_index.h"
#include "log_capture.h"

namespace {

using cpd::JoystickList;
using cpd::UpdateJoyStickIndex;
using cpd::test::DebugBody;
using cpd::test::LogBodies;
using Slots = std::map<int32_t, std::string>;

JoystickList ListOf(const std::vector<std::string>& paths) {
  JoystickList list;
  int32_t index = 0;
  for (const std::string& path : paths) {
    list[path] = index++;
  }
  return list;
}

class SlotIndex : public ::testing::Test {
 protected:
  void SetUp() override { cpd::test::ClearLogs(); }
  Slots slots;
};

TEST_F(SlotIndex, FirstControllerTakesSlotZeroAndIsLogged) {
  EXPECT_EQ(UpdateJoyStickIndex(slots, ListOf({"/dev/a"}), "/dev/a"), 0);
  EXPECT_EQ(slots, (Slots{{0, "/dev/a"}}));
  EXPECT_EQ(LogBodies(), std::vector<std::string>{DebugBody("joystick index[0] path[/dev/a]\\n")});
}

TEST_F(SlotIndex, KnownPathGetsItsSlotBackSilently) {
  slots = {{0, "/dev/a"}, {1, "/dev/b"}};
  EXPECT_EQ(UpdateJoyStickIndex(slots, ListOf({"/dev/b"}), "/dev/b"), 1);
  EXPECT_EQ(slots, (Slots{{0, "/dev/a"}, {1, "/dev/b"}}));
  EXPECT_TRUE(LogBodies().empty());
}

TEST_F(SlotIndex, ReturningControllerGetsItsOldSlotAfterOthersCameAndWent) {
  EXPECT_EQ(UpdateJoyStickIndex(slots, ListOf({"/dev/a"}), "/dev/a"), 0);
  EXPECT_EQ(UpdateJoyStickIndex(slots, ListOf({"/dev/a", "/dev/b"}), "/dev/b"), 1);
  // /dev/a leaves, /dev/c arrives and takes over slot 0, /dev/c leaves again.
  EXPECT_EQ(UpdateJoyStickIndex(slots, ListOf({"/dev/b", "/dev/c"}), "/dev/c"), 0);
  // /dev/b comes back after an unplug: still slot 1.
  EXPECT_EQ(UpdateJoyStickIndex(slots, ListOf({"/dev/b"}), "/dev/b"), 1);
}

TEST_F(SlotIndex, GoneControllersSlotIsTakenOverAndTheOldPathLogged) {
  slots = {{0, "/dev/a"}, {1, "/dev/b"}, {2, "/dev/c"}, {3, "/dev/d"}};
  const JoystickList now = ListOf({"/dev/a", "/dev/c", "/dev/d", "/dev/e"});
  EXPECT_EQ(UpdateJoyStickIndex(slots, now, "/dev/e"), 1);
  EXPECT_EQ(slots.at(1), "/dev/e");
  EXPECT_EQ(LogBodies(), std::vector<std::string>{
                             DebugBody("joystick update index[1] path[/dev/e] old[/dev/b]\\n")});
}

TEST_F(SlotIndex, FifthControllerWhileFourAreAttachedGetsNoSlot) {
  slots = {{0, "/dev/a"}, {1, "/dev/b"}, {2, "/dev/c"}, {3, "/dev/d"}};
  const JoystickList now = ListOf({"/dev/a", "/dev/b", "/dev/c", "/dev/d", "/dev/e"});
  EXPECT_EQ(UpdateJoyStickIndex(slots, now, "/dev/e"), -1);
  EXPECT_EQ(slots.size(), 4U);
  EXPECT_EQ(LogBodies(), std::vector<std::string>{
                             DebugBody("joystick count > JOYSTICK_MAX_NUM[4] path[/dev/e]\\n")});
}

TEST_F(SlotIndex, NewSlotIsTheTableSizeAndTakeOverPrefersTheLowestGoneSlot) {
  slots = {{0, "/dev/a"}, {1, "/dev/b"}};
  EXPECT_EQ(UpdateJoyStickIndex(slots, ListOf({"/dev/b", "/dev/c"}), "/dev/c"), 0);
  EXPECT_EQ(UpdateJoyStickIndex(slots, ListOf({"/dev/b", "/dev/c", "/dev/d"}), "/dev/d"), 2);
}

// An independent model of the slot rules: keep a path's slot, else reuse the lowest slot whose
// path is not attached, else append while fewer than four, else none.
int32_t ModelSlot(std::vector<std::string>& model, const std::set<std::string>& attached,
                  const std::string& path) {
  for (size_t i = 0; i < model.size(); ++i) {
    if (model[i] == path) {
      return static_cast<int32_t>(i);
    }
  }
  for (size_t i = 0; i < model.size(); ++i) {
    if (attached.count(model[i]) == 0) {
      model[i] = path;
      return static_cast<int32_t>(i);
    }
  }
  if (model.size() < 4) {
    model.push_back(path);
    return static_cast<int32_t>(model.size() - 1);
  }
  return -1;
}

TEST_F(SlotIndex, ScriptedPlugsAndUnplugsOverEightPathsFollowTheModel) {
  const unsigned seed = 20261123;
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  std::vector<std::string> paths;
  for (int i = 0; i < 8; ++i) {
    paths.push_back("/dev/input/event" + std::to_string(20 + i));
  }
  std::vector<std::string> model;
  std::set<std::string> attached;
  for (int step = 0; step < 400; ++step) {
    const std::string& path = paths[random() % paths.size()];
    if (attached.count(path) != 0 && random() % 2 == 0) {
      attached.erase(path);
      continue;
    }
    attached.insert(path);
    // Every re-enumeration resolves the slot of every attached controller, in path order.
    JoystickList list;
    int32_t index = 0;
    for (const std::string& present : attached) {
      list[present] = index++;
    }
    for (const std::string& present : attached) {
      const int32_t expected = ModelSlot(model, attached, present);
      ASSERT_EQ(UpdateJoyStickIndex(slots, list, present), expected)
          << "step " << step << " path " << present;
    }
    ASSERT_LE(slots.size(), 4U);
  }
}

}  // namespace
