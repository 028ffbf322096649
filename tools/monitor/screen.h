// A screen as plain data: text spans at positions with a style. The screen model writes one, the
// terminal shell copies it to ncurses, and tests read it back as text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace monitor {

enum class Style : uint8_t { NORMAL, TITLE, HEADER, SELECTED, LIT, DIM, WARN };

struct Span {
  int row;
  int col;
  std::string text;
  Style style;
};

class Screen {
 public:
  Screen(int rows, int cols) : mRows(rows), mCols(cols) {}

  // Clips to the screen; a span that starts outside it is dropped.
  void Put(int row, int col, const std::string& text, Style style = Style::NORMAL);
  // Fills `count` rows from `top` with blanks (under an overlay).
  void Clear(int top, int left, int rows, int cols);

  int Rows() const { return mRows; }
  int Cols() const { return mCols; }
  const std::vector<Span>& Spans() const { return mSpans; }

  // The screen as lines of text, later spans over earlier ones, trailing blanks removed.
  std::vector<std::string> Text() const;
  // The style of the character at `row`, `col` (NORMAL where nothing was put).
  Style StyleAt(int row, int col) const;

 private:
  int mRows;
  int mCols;
  std::vector<Span> mSpans;
};

}  // namespace monitor
