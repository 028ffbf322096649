#include "screen.h"

#include <algorithm>

namespace monitor {

void Screen::Put(int row, int col, const std::string& text, Style style) {
  if (row < 0 || row >= mRows || col < 0 || col >= mCols || text.empty()) {
    return;
  }
  const auto room = static_cast<size_t>(mCols - col);
  mSpans.push_back({row, col, text.substr(0, room), style});
}

void Screen::Clear(int top, int left, int rows, int cols) {
  for (int row = top; row < top + rows; ++row) {
    Put(row, left, std::string(static_cast<size_t>(std::max(cols, 0)), ' '));
  }
}

std::vector<std::string> Screen::Text() const {
  std::vector<std::string> lines(static_cast<size_t>(mRows),
                                 std::string(static_cast<size_t>(mCols), ' '));
  for (const Span& span : mSpans) {
    lines[static_cast<size_t>(span.row)].replace(static_cast<size_t>(span.col), span.text.size(),
                                                 span.text);
  }
  for (std::string& line : lines) {
    line.erase(line.find_last_not_of(' ') + 1);
  }
  return lines;
}

Style Screen::StyleAt(int row, int col) const {
  Style style = Style::NORMAL;
  for (const Span& span : mSpans) {
    if (span.row == row && col >= span.col && col < span.col + static_cast<int>(span.text.size())) {
      style = span.style;
    }
  }
  return style;
}

}  // namespace monitor
