// SPDX-License-Identifier: MIT
#include "platform/simulated/simulatedpicture.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/cvpixelbuffer.h"
#include "platform/simulated/dotfont.h"

/// A colour as the components of every format; brightness and colour difference as BT.601 has them
/// in video range.
struct SimulatedPicture::Colour {
  constexpr Colour(int r, int g, int b)
      : red(Byte(r)),
        green(Byte(g)),
        blue(Byte(b)),
        luma(Byte(16 + (66 * r + 129 * g + 25 * b + 128) / 256)),
        blueDifference(Byte((128 * 256 + 128 - 38 * r - 74 * g + 112 * b) / 256)),
        redDifference(Byte((128 * 256 + 128 + 112 * r - 94 * g - 18 * b) / 256)) {}

  constexpr unsigned char Component(char letter) const {
    switch (letter) {
      case 'Y':
        return luma;
      case 'U':
        return blueDifference;
      case 'V':
        return redDifference;
      case 'R':
        return red;
      case 'G':
        return green;
      case 'B':
        return blue;
      default:
        return 255;  // 'A': opaque
    }
  }

  static constexpr unsigned char Byte(int value) { return static_cast<unsigned char>(value); }

  unsigned char red, green, blue, luma, blueDifference, redDifference;
};

struct SimulatedPicture::Format {
  struct PlaneFormat {
    std::string_view pattern;
    std::size_t linesPerRow = 1;
  };
  std::uint32_t code;
  std::array<PlaneFormat, kMaxPlanes> planes;  ///< those with a pattern
};

const SimulatedPicture::Format SimulatedPicture::kFormats[] = {
    {FourCharCode("2vuy"), {{{"UYVY"}}}},
    {FourCharCode("yuvs"), {{{"YUYV"}}}},
    {FourCharCode("BGRA"), {{{"BGRABGRA"}}}},
    {FourCharCode("y420"), {{{"YY"}, {"U", 2}, {"V", 2}}}},
    {FourCharCode("420v"), {{{"YY"}, {"UV", 2}}}},
};

namespace {

/// The text's place and size in dots.
constexpr std::size_t kTextLeft = 6;
constexpr std::size_t kTextAboveBottom = 12;
constexpr std::size_t kTextBoxHeight = kDotCellHeight + 1;

}  // namespace

const SimulatedPicture::Format* SimulatedPicture::FindFormat(std::uint32_t format) {
  const Format* found = std::ranges::find(kFormats, format, &Format::code);
  return found == std::end(kFormats) ? nullptr : found;
}

bool SimulatedPicture::HasFormat(std::uint32_t format) {
  return FindFormat(format) != nullptr;
}

SimulatedPicture::SimulatedPicture(std::uint32_t format, int width, int height)
    : pairs_(static_cast<std::size_t>(width) / 2),
      lines_(static_cast<std::size_t>(height)),
      dot_(std::min(pairs_ / 80, lines_ / 40)) {
  for (const auto& [pattern, linesPerRow] : FindFormat(format)->planes) {
    if (pattern.empty()) break;
    const std::vector<unsigned char> row(pairs_ * pattern.size());
    planes_.push_back({pattern, linesPerRow, row, row, row});
    PaintBars(planes_.back());
  }
}

/// Fills the pairs from `begin` to before `end`.
void SimulatedPicture::Fill(PlaneRows& plane, std::vector<unsigned char>& row, std::size_t begin,
                            std::size_t end, const Colour& colour) {
  std::array<unsigned char, 8> pair{};
  for (std::size_t i = 0; i < plane.pattern.size(); ++i) {
    pair[i] = colour.Component(plane.pattern[i]);
  }
  for (std::size_t at = begin; at < end; ++at) {
    std::memcpy(row.data() + at * plane.pattern.size(), pair.data(), plane.pattern.size());
  }
}

void SimulatedPicture::PaintBars(PlaneRows& plane) const {
  constexpr int kOn = 191;  // bars of three quarters, as test pictures have them
  constexpr Colour kBars[] = {{kOn, kOn, kOn}, {kOn, kOn, 0}, {0, kOn, kOn}, {0, kOn, 0},
                              {kOn, 0, kOn},   {kOn, 0, 0},   {0, 0, kOn},   {0, 0, 0}};
  constexpr std::size_t kBarCount = std::size(kBars);
  for (std::size_t bar = 0; bar < kBarCount; ++bar) {
    Fill(plane, plane.bars, bar * pairs_ / kBarCount, (bar + 1) * pairs_ / kBarCount, kBars[bar]);
  }
}

/// Lays one row of the text's dots over the row in `plane.row`.
void SimulatedPicture::PaintTextRow(PlaneRows& plane, std::size_t dotRow,
                                    std::string_view text) const {
  constexpr Colour kBright(255, 255, 255);
  constexpr Colour kDark(0, 0, 0);
  std::memcpy(plane.textRow.data(), plane.row.data(), plane.row.size());
  std::size_t at = kTextLeft * dot_;
  // One column and one row more than the cells have, so that the dark border goes all around.
  Fill(plane, plane.textRow, at, at + (text.size() * kDotCellWidth + 1) * dot_, kDark);
  for (const char character : text) {
    for (std::size_t column = 0; column < kDotCellWidth; ++column, at += dot_) {
      if (IsDotSet(character, column, dotRow)) {
        Fill(plane, plane.textRow, at, at + dot_, kBright);
      }
    }
  }
}

void SimulatedPicture::PaintPlane(PlaneRows& rows, const Plane& plane, std::uint64_t index,
                                  std::string_view text) const {
  constexpr Colour kBright(255, 255, 255);
  const std::size_t step = std::max<std::size_t>(1, pairs_ / 120);
  const std::size_t left = index * step % pairs_;
  std::memcpy(rows.row.data(), rows.bars.data(), rows.row.size());
  Fill(rows, rows.row, left, std::min(pairs_, left + std::max<std::size_t>(1, pairs_ / 40)),
       kBright);

  unsigned char* pixels = plane.pixels;
  const auto repeat = [&](const std::vector<unsigned char>& row, std::size_t lines) {
    for (std::size_t line = 0; line < lines / rows.linesPerRow; ++line) {
      std::memcpy(pixels, row.data(), row.size());
      pixels += plane.bytesPerRow;
    }
  };
  if (dot_ == 0) return repeat(rows.row, lines_);  // too small for a text
  const std::size_t dotLines = 2 * dot_;
  repeat(rows.row, lines_ - kTextAboveBottom * dotLines);
  for (std::size_t dotRow = 0; dotRow < kTextBoxHeight; ++dotRow) {
    PaintTextRow(rows, dotRow, text);
    repeat(rows.textRow, dotLines);
  }
  repeat(rows.row, (kTextAboveBottom - kTextBoxHeight) * dotLines);
}

void SimulatedPicture::Paint(std::span<const Plane> planes, std::uint64_t index,
                             std::string_view text) {
  for (std::size_t i = 0; i < std::min(planes.size(), planes_.size()); ++i) {
    PaintPlane(planes_[i], planes[i], index, text.substr(0, kMaxText));
  }
}
