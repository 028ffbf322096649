#include "terminal.h"

#include <curses.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>

#include "screen_model.h"

namespace monitor {

namespace {

constexpr int KEY_WAIT_MS = 40;
constexpr auto REDRAW_EVERY = std::chrono::milliseconds(100);
constexpr int ESCAPE_DELAY_MS = 25;

struct StyleLook {
  Style style;
  short foreground;
  short background;
  chtype extra;
};

constexpr std::array<StyleLook, 7> LOOKS = {{
    {Style::NORMAL, -1, -1, A_NORMAL},
    {Style::TITLE, COLOR_BLACK, COLOR_CYAN, A_NORMAL},
    {Style::HEADER, COLOR_CYAN, -1, A_BOLD},
    {Style::SELECTED, -1, -1, A_REVERSE},
    {Style::LIT, COLOR_BLACK, COLOR_YELLOW, A_BOLD},
    {Style::DIM, -1, -1, A_DIM},
    {Style::WARN, COLOR_RED, -1, A_BOLD},
}};

bool gColours = false;

void SetUpColours() {
  gColours = has_colors() && start_color() == OK && use_default_colors() == OK;
  for (size_t look = 0; gColours && look < LOOKS.size(); ++look) {
    init_pair(static_cast<short>(look + 1), LOOKS[look].foreground, LOOKS[look].background);
  }
}

chtype Attributes(Style style) {
  for (size_t look = 0; look < LOOKS.size(); ++look) {
    if (LOOKS[look].style != style) {
      continue;
    }
    if (gColours) {
      return COLOR_PAIR(static_cast<short>(look + 1)) | LOOKS[look].extra;
    }
    // Without colours the coloured styles still stand out.
    return style == Style::TITLE || style == Style::LIT ? A_REVERSE : LOOKS[look].extra;
  }
  return A_NORMAL;
}

int Translate(int code) {
  switch (code) {
    case KEY_UP:
      return key::UP;
    case KEY_DOWN:
      return key::DOWN;
    case KEY_LEFT:
      return key::LEFT;
    case KEY_RIGHT:
      return key::RIGHT;
    case KEY_BACKSPACE:
    case 127:
    case 8:
      return key::BACKSPACE;
    case KEY_ENTER:
    case '\r':
      return key::ENTER;
    default:
      return code >= 0 && code < 256 ? code : -1;
  }
}

void Draw(const Screen& screen) {
  erase();
  for (const Span& span : screen.Spans()) {
    attrset(Attributes(span.style));
    mvaddnstr(span.row, span.col, span.text.c_str(), static_cast<int>(span.text.size()));
  }
  attrset(A_NORMAL);
  refresh();
}

// A program started by another one that puts it in a process group of its own (`timeout 10
// scripts/run` does) is a background job to the terminal, and the terminal stops a background job
// that changes its settings. The screen therefore takes the terminal for its process group while
// it runs and hands it back to the group that had it.
class ForegroundClaim {
 public:
  ForegroundClaim() {
    const pid_t owner = tcgetpgrp(STDIN_FILENO);
    if (owner < 0 || owner == getpgrp()) {
      return;
    }
    mPrevious = owner;
    mOldHandler = std::signal(SIGTTOU, SIG_IGN);  // a background tcsetpgrp would raise it
    tcsetpgrp(STDIN_FILENO, getpgrp());
  }
  ~ForegroundClaim() {
    if (mPrevious < 0) {
      return;
    }
    tcsetpgrp(STDIN_FILENO, mPrevious);
    std::signal(SIGTTOU, mOldHandler);
  }
  ForegroundClaim(const ForegroundClaim&) = delete;
  ForegroundClaim& operator=(const ForegroundClaim&) = delete;

 private:
  pid_t mPrevious = -1;
  void (*mOldHandler)(int) = SIG_DFL;
};

}  // namespace

bool RunTerminal(App& app, const std::atomic<bool>& stop,
                 std::chrono::steady_clock::time_point deadline) {
  const ForegroundClaim claim;
  SCREEN* terminal = newterm(nullptr, stdout, stdin);
  if (terminal == nullptr) {
    std::fprintf(stderr, "cpd-joystick-monitor: cannot use this terminal (TERM not set?)\n");
    return false;
  }
  set_escdelay(ESCAPE_DELAY_MS);
  cbreak();
  noecho();
  keypad(stdscr, TRUE);
  curs_set(0);
  timeout(KEY_WAIT_MS);
  SetUpColours();

  auto nextDraw = std::chrono::steady_clock::now();
  bool running = true;
  while (running && !stop && std::chrono::steady_clock::now() < deadline) {
    if (std::chrono::steady_clock::now() >= nextDraw) {
      Draw(BuildScreen(app.MakeView(), LINES, COLS));
      nextDraw = std::chrono::steady_clock::now() + REDRAW_EVERY;
    }
    const int code = getch();
    if (code == ERR || code == KEY_RESIZE) {
      continue;
    }
    if (const int key = Translate(code); key >= 0) {
      running = app.HandleKey(key);
      nextDraw = std::chrono::steady_clock::now();
    }
  }
  endwin();
  delscreen(terminal);
  return true;
}

}  // namespace monitor
