#include "screen_layout.h"

#include <algorithm>

namespace monitor {

ScreenLayout ComputeLayout(int rows, int cols, size_t deviceCount, bool showLog) {
  ScreenLayout layout;
  if (rows < MIN_ROWS || cols < MIN_COLS) {
    layout.tooSmall = true;
    return layout;
  }
  layout.titleRow = 0;
  layout.tableHeaderRow = 1;
  layout.tableRows = static_cast<int>(std::clamp<size_t>(deviceCount, 1, MAX_TABLE_ENTRIES));
  layout.padHeaderRow = layout.tableHeaderRow + 1 + layout.tableRows;
  layout.padTop = layout.padHeaderRow + 1;
  layout.motorsRow = layout.padTop + PAD_ROWS;
  layout.packetRow = layout.motorsRow + 1;
  layout.eventsHeaderRow = layout.packetRow + 1;
  layout.eventsTop = layout.eventsHeaderRow + 1;
  layout.statusRow = rows - 2;
  layout.footerRow = rows - 1;

  // What is left goes to the events, or is shared with the log, each with its header row.
  const int area = layout.statusRow - layout.eventsHeaderRow;
  const int eventsArea = showLog ? (area + 1) / 2 : area;
  layout.eventsRows = eventsArea - 1;
  if (showLog) {
    layout.logHeaderRow = layout.eventsHeaderRow + eventsArea;
    layout.logTop = layout.logHeaderRow + 1;
    layout.logRows = area - eventsArea - 1;
  }
  return layout;
}

}  // namespace monitor
