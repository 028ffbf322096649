#include "screen_model.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "pad_view.h"
#include "screen_layout.h"

namespace monitor {
namespace {

DeviceRow Pad(uint16_t slot, const std::string& name, uint16_t layout) {
  DeviceRow row;
  row.slot = slot;
  row.name = name;
  row.vid = 0x045e;
  row.pid = 0x0b13;
  row.path = "/dev/input/event2" + std::to_string(slot);
  row.layout = layout;
  row.packetsPerSecond = 33;
  return row;
}

View TwoPads() {
  View view;
  view.simulated = true;
  view.simulatedPads = 2;
  view.devices = {Pad(0, "xbox wireless controller", 6), Pad(1, "dualsense", 1)};
  view.layouts = {{1, "MAPPING_PS"}, {6, "MAPPING_XBOX"}};
  view.selected = 1;
  view.hasPacket = true;
  view.packet.slot = 1;
  view.packet.dwPacketNumber = 0x20;
  return view;
}

std::string Joined(const Screen& screen) {
  std::string all;
  for (const std::string& line : screen.Text()) {
    all += line + "\n";
  }
  return all;
}

int LineWith(const Screen& screen, const std::string& text) {
  const std::vector<std::string> lines = screen.Text();
  for (size_t row = 0; row < lines.size(); ++row) {
    if (lines[row].find(text) != std::string::npos) {
      return static_cast<int>(row);
    }
  }
  return -1;
}

TEST(ScreenLayout, SharesTheRowsOfAnEightyByTwentyFourTerminal) {
  const ScreenLayout layout = ComputeLayout(24, 80, 2, false);
  EXPECT_FALSE(layout.tooSmall);
  EXPECT_EQ(layout.tableHeaderRow, 1);
  EXPECT_EQ(layout.tableRows, 2);
  EXPECT_EQ(layout.padHeaderRow, 4);
  EXPECT_EQ(layout.motorsRow, layout.padTop + PAD_ROWS);
  EXPECT_EQ(layout.packetRow, layout.motorsRow + 1);
  EXPECT_EQ(layout.eventsTop + layout.eventsRows, layout.statusRow);
  EXPECT_EQ(layout.statusRow, 22);
  EXPECT_EQ(layout.footerRow, 23);
  EXPECT_EQ(layout.logHeaderRow, -1);
}

TEST(ScreenLayout, TheLogPaneTakesPartOfTheEventsArea) {
  const ScreenLayout without = ComputeLayout(40, 100, 1, false);
  const ScreenLayout with = ComputeLayout(40, 100, 1, true);
  EXPECT_LT(with.eventsRows, without.eventsRows);
  EXPECT_GT(with.logRows, 0);
  EXPECT_EQ(with.logTop + with.logRows, with.statusRow);
  EXPECT_EQ(with.logHeaderRow, with.eventsTop + with.eventsRows);
}

TEST(ScreenLayout, SixEntriesAndTheLogStillFitTheSmallestTerminal) {
  const ScreenLayout layout = ComputeLayout(MIN_ROWS, MIN_COLS, 9, true);
  EXPECT_EQ(layout.tableRows, MAX_TABLE_ENTRIES);
  EXPECT_GE(layout.eventsRows, 1);
  EXPECT_GE(layout.logRows, 1);
}

TEST(ScreenLayout, ASmallTerminalIsTooSmall) {
  EXPECT_TRUE(ComputeLayout(23, 80, 1, false).tooSmall);
  EXPECT_TRUE(ComputeLayout(24, 79, 1, false).tooSmall);
}

TEST(ScreenModel, ATooSmallTerminalGetsAMessageInsteadOfTheLayout) {
  const Screen screen = BuildScreen(TwoPads(), 10, 50);
  const std::string text = Joined(screen);
  EXPECT_NE(text.find("terminal too small: 50x10"), std::string::npos) << text;
  EXPECT_NE(text.find("needs 80x24"), std::string::npos);
  EXPECT_EQ(text.find("Slot"), std::string::npos);
}

TEST(ScreenModel, TheTableShowsEachControllerWithItsLayoutName) {
  const Screen screen = BuildScreen(TwoPads(), 24, 80);
  const std::vector<std::string> lines = screen.Text();
  EXPECT_NE(lines[1].find("Slot"), std::string::npos);
  EXPECT_NE(lines[1].find("pkt/s"), std::string::npos);
  EXPECT_EQ(lines[2].rfind(" 0       xbox wireless c~", 0), 0U) << lines[2];
  EXPECT_NE(lines[2].find("045e:0b13 /dev/input/event20 MAPPING_XBOX"), std::string::npos);
  EXPECT_EQ(lines[3].rfind(">1       dualsense", 0), 0U) << lines[3];
  EXPECT_NE(lines[3].find("MAPPING_PS"), std::string::npos);
  EXPECT_EQ(screen.StyleAt(3, 10), Style::SELECTED);
  EXPECT_EQ(screen.StyleAt(2, 10), Style::NORMAL);
  for (const std::string& line : lines) {
    EXPECT_LE(line.size(), 80U);
  }
}

TEST(ScreenModel, AnUnopenedEntryIsSaidToBeOne) {
  View view = TwoPads();
  view.devices[0] = DeviceRow{};
  view.devices[0].opened = false;
  EXPECT_NE(Joined(BuildScreen(view, 24, 80)).find("(not opened)"), std::string::npos);
}

TEST(ScreenModel, AnEntryWithoutASlotSaysSoInTheTableAndTheTitle) {
  View view = TwoPads();
  view.devices[1].slot = NO_SLOT;
  const Screen screen = BuildScreen(view, 24, 80);
  const std::vector<std::string> lines = screen.Text();
  EXPECT_EQ(lines[3].rfind(">no slot dualsense", 0), 0U) << lines[3];
  EXPECT_NE(LineWith(screen, "-- no slot: dualsense (MAPPING_PS) "), -1) << Joined(screen);
  EXPECT_EQ(Joined(screen).find("65535"), std::string::npos);
}

TEST(ScreenModel, APressedButtonIsLitAndTheButtonWordShown) {
  View view = TwoPads();
  view.packet.wButtons = 0x1000 | 0x0001;  // A and d-pad up
  const Screen screen = BuildScreen(view, 24, 80);
  const std::string text = Joined(screen);
  EXPECT_NE(text.find("[A]"), std::string::npos) << text;
  EXPECT_NE(text.find("[^]"), std::string::npos);
  EXPECT_NE(text.find("(B)"), std::string::npos);
  EXPECT_EQ(text.find("(A)"), std::string::npos);
  EXPECT_NE(text.find("wButtons 0x1001"), std::string::npos);
  const int row = LineWith(screen, "[A]");
  const int col = static_cast<int>(screen.Text()[static_cast<size_t>(row)].find("[A]"));
  EXPECT_EQ(screen.StyleAt(row, col + 1), Style::LIT);
}

TEST(ScreenModel, ThePacketShowsAsSeventeenHexBytes) {
  const Screen screen = BuildScreen(TwoPads(), 24, 80);
  EXPECT_GE(LineWith(screen, "packet 01 20 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"), 0)
      << Joined(screen);
}

TEST(ScreenModel, WithoutAPacketThePadIsDark) {
  View view = TwoPads();
  view.hasPacket = false;
  view.packet.wButtons = 0x1000;
  const Screen screen = BuildScreen(view, 24, 80);
  EXPECT_GE(LineWith(screen, "packet (none yet)"), 0);
  EXPECT_EQ(Joined(screen).find("[A]"), std::string::npos);
}

TEST(ScreenModel, TheSelectedPadsMotorsShowAsBarsUnderThePadWithWhereTheSpeedsComeFrom) {
  View view = TwoPads();
  view.motors = {MotorSource::SIMULATOR, true, {30000, 65535}};
  const int row = ComputeLayout(24, 80, 2, false).motorsRow;
  Screen screen = BuildScreen(view, 24, 80);
  EXPECT_EQ(screen.Text()[static_cast<size_t>(row)],
            " motors LF [#####.....] 30000  HF [##########] 65535  simulator's reading")
      << Joined(screen);
  EXPECT_EQ(screen.StyleAt(row, 1), Style::NORMAL);

  view.motors = {MotorSource::ASKED, true, {0, 65535}};
  screen = BuildScreen(view, 24, 80);
  EXPECT_EQ(screen.Text()[static_cast<size_t>(row)],
            " motors LF [..........]     0  HF [##########] 65535  asked for, not read back");
  for (const std::string& line : screen.Text()) {
    EXPECT_LE(line.size(), 80U);
  }
}

TEST(ScreenModel, APadWithoutMotorsOrWhoseMotorsNothingTellsSaysSoDimly) {
  View view = TwoPads();
  const int row = ComputeLayout(24, 80, 2, false).motorsRow;
  const std::vector<std::pair<MotorView, std::string>> cases = {
      {{MotorSource::SIMULATOR, false, {}}, " no motors"},
      {{MotorSource::ASKED, false, {}}, " no motors: JoysticAPI_SetVibration answered -2"},
      {{}, " motors not known until asked: v sends a test rumble"},
  };
  for (const auto& [motors, text] : cases) {
    view.motors = motors;
    const Screen screen = BuildScreen(view, 24, 80);
    EXPECT_EQ(screen.Text()[static_cast<size_t>(row)], text);
    EXPECT_EQ(screen.StyleAt(row, 1), Style::DIM) << text;
  }
}

TEST(ScreenModel, WithoutAControllerNoMotorsAreShown) {
  View view;
  view.motors = {MotorSource::SIMULATOR, true, {30000, 65535}};
  const std::string text = Joined(BuildScreen(view, 24, 80));
  EXPECT_EQ(text.find("motors"), std::string::npos) << text;
}

TEST(ScreenModel, EventsShowNewestLastWithoutTheirOrigin) {
  View view = TwoPads();
  for (int event = 0; event < 30; ++event) {
    view.events.push_back(
        {"10:00:00", "JOYSTICK_DEV_LIST_UPDATE", "[x.cpp f(1)] n" + std::to_string(event)});
  }
  view.events.push_back({"10:00:01", "JOYSTICK_DEV_DETACHED", "[x.cpp f(2)] dualsense detached"});
  const Screen screen = BuildScreen(view, 24, 80);
  const int row = LineWith(screen, "JOYSTICK_DEV_DETACHED dualsense detached");
  EXPECT_EQ(row, ComputeLayout(24, 80, 2, false).statusRow - 1) << Joined(screen);
  EXPECT_EQ(screen.StyleAt(row, 12), Style::WARN);
  EXPECT_EQ(LineWith(screen, "x.cpp"), -1);
  EXPECT_GE(LineWith(screen, "n29"), 0);
  EXPECT_EQ(LineWith(screen, "n3\n"), -1);
}

TEST(ScreenModel, TheLogPaneShowsTheLastLines) {
  View view = TwoPads();
  view.showLog = true;
  view.logs = {"D one", "D two", "E three"};
  const Screen screen = BuildScreen(view, 24, 80);
  EXPECT_GE(LineWith(screen, "-- library log"), 0);
  EXPECT_GE(LineWith(screen, "E three"), 0);
  view.showLog = false;
  EXPECT_EQ(LineWith(BuildScreen(view, 24, 80), "E three"), -1);
}

TEST(ScreenModel, StatusAndFooterFollowTheMode) {
  View view = TwoPads();
  view.status = "slot 1: JoysticAPI_SetMapping(1, 6) = 0, now MAPPING_XBOX";
  view.mode = Mode::DRIVE;
  const std::vector<std::string> lines = BuildScreen(view, 24, 80).Text();
  EXPECT_EQ(lines[22], " " + view.status);
  EXPECT_EQ(lines[23], " " + FooterHint(Mode::DRIVE));
  EXPECT_NE(lines[0].find("DRIVE"), std::string::npos);
  EXPECT_NE(lines[0].find("simulated, 2 pads plugged"), std::string::npos);
}

TEST(ScreenModel, TitleShowsThePollInterval) {
  View view = TwoPads();
  EXPECT_NE(BuildScreen(view, 24, 80).Text()[0].find("| poll 30 ms"), std::string::npos);
  view.pollMs = 4;
  EXPECT_NE(BuildScreen(view, 24, 80).Text()[0].find("| poll 4 ms"), std::string::npos);
}

TEST(ScreenModel, MenusAndHelpAreDrawnOverTheScreen) {
  View view = TwoPads();
  view.mode = Mode::LAYOUT_MENU;
  EXPECT_GE(LineWith(BuildScreen(view, 24, 80), "6  MAPPING_XBOX"), 0);
  view.mode = Mode::PLUG_MENU;
  EXPECT_GE(LineWith(BuildScreen(view, 24, 80), "7  pen tablet"), 0);
  view.mode = Mode::HELP;
  const Screen help = BuildScreen(view, 24, 80);
  EXPECT_GE(LineWith(help, "Command keys"), 0);
  EXPECT_GE(LineWith(help, "Drive keys"), 0);
  EXPECT_EQ(LineWith(help, "Slot"), -1);
}

TEST(ScreenModel, NoControllerSaysWhatToDo) {
  View view;
  view.simulated = true;
  EXPECT_GE(LineWith(BuildScreen(view, 24, 80), "press p to plug a simulated pad"), 0);
  view.simulated = false;
  EXPECT_GE(LineWith(BuildScreen(view, 24, 80), "plug one in"), 0);
}

TEST(ScreenModel, TheSelectedEntryStaysInSightPastSixEntries) {
  View view = TwoPads();
  view.devices.clear();
  for (uint16_t entry = 0; entry < 8; ++entry) {
    view.devices.push_back(Pad(entry, "pad" + std::to_string(entry), 6));
  }
  view.selected = 7;
  EXPECT_GE(LineWith(BuildScreen(view, 24, 80), ">7       pad7"), 0);
}

TEST(PadView, SticksAndTriggersScaleToTheirBoxes) {
  EXPECT_EQ(StickColumn(-32768, 9), 0);
  EXPECT_EQ(StickColumn(0, 9), 4);
  EXPECT_EQ(StickColumn(32767, 9), 8);
  EXPECT_EQ(StickRow(32767, 3), 0);
  EXPECT_EQ(StickRow(0, 3), 1);
  EXPECT_EQ(StickRow(-32768, 3), 2);
  EXPECT_EQ(TriggerBar(0), "[..........]   0");
  EXPECT_EQ(TriggerBar(128), "[#####.....] 128");
  EXPECT_EQ(TriggerBar(255), "[##########] 255");
  EXPECT_EQ(MotorBar(0), "[..........]     0");
  EXPECT_EQ(MotorBar(30000), "[#####.....] 30000");
  EXPECT_EQ(MotorBar(65535), "[##########] 65535");
  EXPECT_EQ(Glyph("LB", true), "[LB]");
  EXPECT_EQ(Glyph("LB", false), "(LB)");
}

TEST(PadView, ThePushedStickDotMovesToItsCorner) {
  View view = TwoPads();
  view.packet.sThumbLX = -32767;
  view.packet.sThumbLY = 32767;
  const Screen screen = BuildScreen(view, 24, 80);
  const int padTop = ComputeLayout(24, 80, 2, false).padTop;
  EXPECT_EQ(screen.Text()[static_cast<size_t>(padTop + 2)].substr(13, 3), "|o ");
  EXPECT_GE(LineWith(screen, "x -32767"), 0);
}

TEST(ScreenText, SpansClipAtTheEdge) {
  Screen screen(2, 5);
  screen.Put(0, 3, "abcdef");
  screen.Put(1, 9, "gone");
  screen.Put(-1, 0, "gone");
  EXPECT_EQ(screen.Text(), (std::vector<std::string>{"   ab", ""}));
}

TEST(TableLines, OnceUsesTheSameTable) {
  const std::vector<std::string> lines =
      DeviceTableLines({Pad(0, "xbox wireless controller", 6)}, {{6, "MAPPING_XBOX"}}, 100);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_NE(lines[1].find("xbox wireless controller"), std::string::npos);
  EXPECT_NE(lines[1].find("MAPPING_XBOX"), std::string::npos);
  EXPECT_EQ(WithoutOrigin("[a.cpp f(1)] text"), "text");
  EXPECT_EQ(WithoutOrigin("plain"), "plain");
}

}  // namespace
}  // namespace monitor
