// Where each part of the screen goes for a terminal of a given size.
#pragma once

#include <cstddef>

namespace monitor {

constexpr int MIN_ROWS = 24;
constexpr int MIN_COLS = 80;
constexpr int MAX_TABLE_ENTRIES = 6;  // four open controllers and the entries past them
constexpr int PAD_ROWS = 6;           // the pad drawn, above its motors' line and its packet

struct ScreenLayout {
  bool tooSmall = false;
  int titleRow = 0;
  int tableHeaderRow = 0;
  int tableRows = 0;  // device entries shown
  int padHeaderRow = 0;
  int padTop = 0;
  int motorsRow = 0;
  int packetRow = 0;
  int eventsHeaderRow = 0;
  int eventsTop = 0;
  int eventsRows = 0;
  int logHeaderRow = -1;  // -1 when the log pane is hidden
  int logTop = -1;
  int logRows = 0;
  int statusRow = 0;
  int footerRow = 0;
};

ScreenLayout ComputeLayout(int rows, int cols, size_t deviceCount, bool showLog);

}  // namespace monitor
