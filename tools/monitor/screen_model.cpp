#include "screen_model.h"

#include <algorithm>
#include <cstdio>

#include "pad_catalogue.h"
#include "pad_view.h"
#include "screen_layout.h"

namespace monitor {

namespace {

constexpr int SLOT_WIDTH = 7;  // "no slot"
constexpr int IDS_WIDTH = 9;
constexpr int LAYOUT_WIDTH = 19;
constexpr int RATE_WIDTH = 5;
constexpr int FIXED_WIDTH = 1 + SLOT_WIDTH + IDS_WIDTH + LAYOUT_WIDTH + RATE_WIDTH + 5;

struct Columns {
  int name;
  int path;
};

Columns ColumnsFor(int cols) {
  const int rest = std::max(cols - FIXED_WIDTH, 20);
  // A path like /dev/input/event20 stays whole on an 80-column terminal; names give way first.
  const int path = std::clamp(rest - 16, 10, 24);
  return {rest - path, path};
}

// Cuts `text` to `width`, marking the cut with '~'.
std::string Fit(const std::string& text, int width) {
  const auto room = static_cast<size_t>(std::max(width, 0));
  if (text.size() <= room) {
    return text + std::string(room - text.size(), ' ');
  }
  return room == 0 ? "" : text.substr(0, room - 1) + "~";
}

std::string Rule(const std::string& title, int cols) {
  const auto width = static_cast<size_t>(std::max(cols, 0));
  const std::string head = "-- " + title + " ";
  return head.size() >= width ? Fit(head, cols) : head + std::string(width - head.size(), '-');
}

std::string TableRow(const DeviceRow& device, const std::vector<LayoutName>& layouts,
                     const Columns& columns) {
  char ids[16];
  std::snprintf(ids, sizeof ids, "%04x:%04x", device.vid, device.pid);
  char rate[16];
  std::snprintf(rate, sizeof rate, "%*.0f", RATE_WIDTH, device.packetsPerSecond);
  const std::string name = device.opened ? device.name : "(not opened)";
  return " " + Fit(SlotText(device.slot), SLOT_WIDTH) + " " + Fit(name, columns.name) + " " +
         Fit(ids, IDS_WIDTH) + " " + Fit(device.path, columns.path) + " " +
         Fit(LayoutNameOf(layouts, device.layout), LAYOUT_WIDTH) + " " + rate;
}

void DrawTitle(Screen& screen, const View& view) {
  std::string title = " cpd-joystick-monitor | ";
  if (view.simulated) {
    title += "simulated, " + std::to_string(view.simulatedPads) +
             (view.simulatedPads == 1 ? " pad" : " pads") + " plugged";
  } else {
    title += "hardware";
  }
  title += " | " + std::to_string(view.devices.size()) + " listed";
  if (view.mode == Mode::DRIVE) {
    title += " | DRIVE";
  }
  title += " | poll " + std::to_string(view.pollMs) + " ms";
  screen.Put(0, 0, Fit(title, screen.Cols()), Style::TITLE);
}

void DrawTable(Screen& screen, const View& view, const ScreenLayout& layout) {
  const std::vector<std::string> lines =
      DeviceTableLines(view.devices, view.layouts, screen.Cols());
  screen.Put(layout.tableHeaderRow, 0, lines.front(), Style::HEADER);
  if (view.devices.empty()) {
    screen.Put(layout.tableHeaderRow + 1, 1,
               view.simulated ? "no controller listed: press p to plug a simulated pad"
                              : "no controller listed: plug one in",
               Style::DIM);
    return;
  }
  // Keep the selected entry in sight when there are more entries than rows.
  const size_t first = view.selected >= static_cast<size_t>(layout.tableRows)
                           ? view.selected + 1 - static_cast<size_t>(layout.tableRows)
                           : 0;
  for (int row = 0; row < layout.tableRows; ++row) {
    const size_t entry = first + static_cast<size_t>(row);
    if (entry >= view.devices.size()) {
      break;
    }
    const bool selected = entry == view.selected;
    const std::string line = (selected ? ">" : " ") + lines[entry + 1].substr(1);
    screen.Put(layout.tableHeaderRow + 1 + row, 0, line,
               selected ? Style::SELECTED : Style::NORMAL);
  }
}

void DrawSelected(Screen& screen, const View& view, const ScreenLayout& layout) {
  const bool any = view.selected < view.devices.size();
  std::string title = "no controller";
  if (any) {
    const DeviceRow& device = view.devices[view.selected];
    title = (device.slot == NO_SLOT ? "no slot" : "slot " + SlotText(device.slot)) + ": " +
            device.name + " (" + LayoutNameOf(view.layouts, device.layout) + ")";
  }
  screen.Put(layout.padHeaderRow, 0, Rule(title, screen.Cols()), Style::HEADER);
  const bool live = any && view.hasPacket;
  DrawPad(screen, layout.padTop, view.packet, live);
  if (any) {
    DrawMotors(screen, layout.motorsRow, view.motors);
  }
  if (!live) {
    screen.Put(layout.packetRow, 1, "packet (none yet)", Style::DIM);
    return;
  }
  char buttons[24];
  std::snprintf(buttons, sizeof buttons, "  wButtons 0x%04x", view.packet.wButtons);
  screen.Put(layout.packetRow, 1, "packet " + SpacedHex(view.packet) + buttons);
}

void DrawEvents(Screen& screen, const View& view, const ScreenLayout& layout) {
  screen.Put(layout.eventsHeaderRow, 0, Rule("events", screen.Cols()), Style::HEADER);
  const size_t shown = std::min(view.events.size(), static_cast<size_t>(layout.eventsRows));
  for (size_t line = 0; line < shown; ++line) {
    const EventEntry& event = view.events[view.events.size() - shown + line];
    const bool detached = event.name == "JOYSTICK_DEV_DETACHED";
    screen.Put(
        layout.eventsTop + static_cast<int>(line), 1,
        Fit(event.time + " " + event.name + " " + WithoutOrigin(event.message), screen.Cols() - 1),
        detached ? Style::WARN : Style::NORMAL);
  }
}

void DrawLog(Screen& screen, const View& view, const ScreenLayout& layout) {
  if (layout.logHeaderRow < 0) {
    return;
  }
  screen.Put(layout.logHeaderRow, 0, Rule("library log (l hides it)", screen.Cols()),
             Style::HEADER);
  const size_t shown = std::min(view.logs.size(), static_cast<size_t>(layout.logRows));
  for (size_t line = 0; line < shown; ++line) {
    screen.Put(layout.logTop + static_cast<int>(line), 1,
               Fit(view.logs[view.logs.size() - shown + line], screen.Cols() - 1), Style::DIM);
  }
}

// A box in the middle of the screen with `lines` in it.
void DrawBox(Screen& screen, const std::string& title, const std::vector<std::string>& lines) {
  size_t width = title.size() + 4;
  for (const std::string& line : lines) {
    width = std::max(width, line.size() + 4);
  }
  const int boxWidth = std::min(static_cast<int>(width), screen.Cols());
  const int boxHeight = std::min(static_cast<int>(lines.size()) + 2, screen.Rows() - 2);
  const int top = std::max((screen.Rows() - boxHeight) / 2, 1);
  const int left = std::max((screen.Cols() - boxWidth) / 2, 0);
  screen.Clear(top, left, boxHeight, boxWidth);
  screen.Put(top, left, Fit(Rule(title, boxWidth), boxWidth), Style::TITLE);
  for (int line = 0; line + 2 < boxHeight; ++line) {
    screen.Put(top + 1 + line, left, Fit("  " + lines[static_cast<size_t>(line)], boxWidth));
  }
  screen.Put(top + boxHeight - 1, left, std::string(static_cast<size_t>(boxWidth), '-'),
             Style::TITLE);
}

// The help covers everything between the title and the footer, one column per mode.
void DrawHelp(Screen& screen) {
  const int top = 1;
  const int bottom = screen.Rows() - 2;
  screen.Clear(top, 0, bottom - top, screen.Cols());
  const std::vector<HelpSection> sections = HelpSections();
  const int width = screen.Cols() / static_cast<int>(std::max<size_t>(sections.size(), 1));
  for (size_t index = 0; index < sections.size(); ++index) {
    const int left = static_cast<int>(index) * width + 1;
    screen.Put(top + 1, left, Fit(sections[index].heading, width - 2), Style::HEADER);
    for (size_t line = 0; line < sections[index].lines.size(); ++line) {
      screen.Put(top + 2 + static_cast<int>(line), left + 1,
                 Fit(sections[index].lines[line], width - 3));
    }
  }
  screen.Put(bottom - 1, 1,
             Fit("A drive key latches: press it again to release. Any key closes this help.",
                 screen.Cols() - 2),
             Style::DIM);
}

void DrawOverlay(Screen& screen, const View& view) {
  std::vector<std::string> lines;
  if (view.mode == Mode::HELP) {
    DrawHelp(screen);
  } else if (view.mode == Mode::LAYOUT_MENU) {
    for (const LayoutName& layout : view.layouts) {
      lines.push_back(std::to_string(layout.kind) + "  " + layout.name);
    }
    DrawBox(screen, "layout for the selected controller", lines);
  } else if (view.mode == Mode::PLUG_MENU) {
    for (size_t entry = 0; entry < sim::PAD_CATALOGUE.size(); ++entry) {
      lines.push_back(std::to_string(entry + 1) + "  " + sim::PAD_CATALOGUE[entry].label);
    }
    DrawBox(screen, "plug a simulated pad", lines);
  }
}

void DrawTooSmall(Screen& screen) {
  const std::string size = std::to_string(screen.Cols()) + "x" + std::to_string(screen.Rows());
  const std::string needed = std::to_string(MIN_COLS) + "x" + std::to_string(MIN_ROWS);
  const std::vector<std::string> lines = {
      "terminal too small: " + size,
      "the monitor needs " + needed,
      "enlarge it, or press q",
  };
  const int top = std::max(screen.Rows() / 2 - 1, 0);
  for (size_t line = 0; line < lines.size(); ++line) {
    const int col = std::max((screen.Cols() - static_cast<int>(lines[line].size())) / 2, 0);
    screen.Put(top + static_cast<int>(line), col, lines[line], Style::WARN);
  }
}

}  // namespace

std::vector<std::string> DeviceTableLines(const std::vector<DeviceRow>& devices,
                                          const std::vector<LayoutName>& layouts, int cols) {
  const Columns columns = ColumnsFor(cols);
  std::vector<std::string> lines;
  lines.push_back(" " + Fit("Slot", SLOT_WIDTH) + " " + Fit("Name", columns.name) + " " +
                  Fit("vid:pid", IDS_WIDTH) + " " + Fit("Path", columns.path) + " " +
                  Fit("Layout", LAYOUT_WIDTH) + " " + "pkt/s");
  for (const DeviceRow& device : devices) {
    lines.push_back(TableRow(device, layouts, columns));
  }
  return lines;
}

std::string WithoutOrigin(const std::string& message) {
  if (message.empty() || message.front() != '[') {
    return message;
  }
  const size_t end = message.find("] ");
  return end == std::string::npos ? message : message.substr(end + 2);
}

Screen BuildScreen(const View& view, int rows, int cols) {
  Screen screen(rows, cols);
  const ScreenLayout layout = ComputeLayout(rows, cols, view.devices.size(), view.showLog);
  if (layout.tooSmall) {
    DrawTooSmall(screen);
    return screen;
  }
  DrawTitle(screen, view);
  DrawTable(screen, view, layout);
  DrawSelected(screen, view, layout);
  DrawEvents(screen, view, layout);
  DrawLog(screen, view, layout);
  screen.Put(layout.statusRow, 1, Fit(view.status, cols - 1),
             view.statusIsWarning ? Style::WARN : Style::NORMAL);
  screen.Put(layout.footerRow, 0, Fit(" " + FooterHint(view.mode, view.simulated), cols),
             Style::TITLE);
  DrawOverlay(screen, view);
  return screen;
}

}  // namespace monitor
