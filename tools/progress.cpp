// SPDX-License-Identifier: MIT
#include "tools/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "tools/timecode.h"

namespace {

std::size_t TerminalColumns() {
  struct winsize size {};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
  return size.ws_col;
}

std::string Status(const CaptureState& state) {
  if (state.seconds == 0 && state.frames == 0) return " waiting for the first frame";
  char text[96];
  int length = std::snprintf(text, sizeof text, " %3.0f %%", state.share * 100);
  std::string status(text, static_cast<std::size_t>(length));
  if (state.frames > 0) status += "  " + std::to_string(state.frames) + " frames";
  length = std::snprintf(text, sizeof text, "  %.1f s", state.seconds);
  status.append(text, static_cast<std::size_t>(length));
  if (state.timeCode) status += "  " + TimeCodeText(*state.timeCode);
  if (!state.levels.empty()) status += "  " + MeterText(state.levels);
  return status;
}

}  // namespace

Progress::Progress() : enabled_(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
  if (enabled_) std::fputs("\r\033[K", stderr);
}

void Progress::Show(const CaptureState& state) const {
  if (!enabled_) return;
  constexpr std::size_t widestBar = 40;
  const std::string status = Status(state);
  // The last column stays free: some terminals start a new line there.
  const std::size_t used = status.size() + 3;
  const std::size_t columns = TerminalColumns();
  const std::size_t bar = std::min(widestBar, columns > used ? columns - used : 0);
  const auto done = static_cast<std::size_t>(state.share * static_cast<double>(bar));
  const std::string line =
      "[" + std::string(done, '#') + std::string(bar - done, '-') + "]" + status;
  std::fprintf(stderr, "\r%s\033[K", line.substr(0, columns - 1).c_str());
}

std::string MeterText(const std::vector<Level>& levels) {
  if (levels.empty()) return {};
  std::string text;
  for (const auto& [peak, rms] : levels) {
    char level[64];
    std::snprintf(level, sizeof level, "%.0f/%.0f ", peak, rms);
    text += level;
  }
  return text + "dBFS";
}
