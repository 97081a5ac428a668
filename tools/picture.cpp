// SPDX-License-Identifier: MIT
#include "tools/picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace {

enum class Planes {
  Rgb,     ///< one plane; sample positions of R, G, B
  Packed,  ///< one plane, two pixels share their chroma; positions of Y, Cb, Cr
  Three,   ///< Y, Cb, Cr in planes of their own, chroma halved both ways
  Two,     ///< Y, then Cb and Cr alternating, chroma halved both ways
};

struct Layout {
  std::uint32_t code;
  Planes planes;
  std::size_t step;                  ///< bytes from one pixel (of luma) to the next
  std::array<std::size_t, 3> first;  ///< where the three samples of the first pixel are
  bool fullRange;
};

constexpr std::uint32_t Code(const char (&text)[5]) {
  std::uint32_t code = 0;
  for (std::size_t i = 0; i < 4; ++i)
    code = code << 8 | static_cast<unsigned char>(text[i]);
  return code;
}

constexpr Layout layouts[] = {
    {Code("2vuy"), Planes::Packed, 2, {1, 0, 2}, false},
    {Code("yuvs"), Planes::Packed, 2, {0, 1, 3}, false},
    {Code("y420"), Planes::Three, 1, {0, 0, 0}, false},
    {Code("420v"), Planes::Two, 1, {0, 0, 1}, false},
    {Code("420f"), Planes::Two, 1, {0, 0, 1}, true},
    {24, Planes::Rgb, 3, {0, 1, 2}, true},
    {Code("24BG"), Planes::Rgb, 3, {2, 1, 0}, true},
    {32, Planes::Rgb, 4, {1, 2, 3}, true},
    {Code("BGRA"), Planes::Rgb, 4, {2, 1, 0}, true},
    {Code("RGBA"), Planes::Rgb, 4, {0, 1, 2}, true},
    {Code("ABGR"), Planes::Rgb, 4, {3, 2, 1}, true},
    {Code("L008"), Planes::Rgb, 1, {0, 0, 0}, true},
};

const Layout* Find(std::uint32_t code) {
  const auto* found =
      std::find_if(std::begin(layouts), std::end(layouts), [&](auto& l) { return l.code == code; });
  return found == std::end(layouts) ? nullptr : found;
}

constexpr std::size_t RoundUp(std::size_t value, std::size_t unit) {
  return (value + unit - 1) / unit * unit;
}

/// One component of a YCbCr frame: where it starts, and its distances. The chroma of pixel x is at
/// x / 2 steps, that of row y at y >> rowShift rows.
struct Component {
  std::size_t start;
  std::size_t step;
  std::size_t row;
  unsigned rowShift;
};

/// Luma, blue and red difference.
using Components = std::array<Component, 3>;

Components Locate(const Layout& layout, const FrameFormat& format) {
  const std::size_t row = format.bytesPerRow;
  const auto& first = layout.first;
  const Component luma{first[0], layout.step, row, 0};
  if (layout.planes == Planes::Packed) {
    return {luma, {first[1], 4, row, 0}, {first[2], 4, row, 0}};
  }
  const std::size_t rows = RoundUp(format.height, 2);
  const std::size_t chroma = row * rows;
  if (layout.planes == Planes::Two) {
    return {luma, {chroma + first[1], 2, row, 1}, {chroma + first[2], 2, row, 1}};
  }
  const bool padded = row > RoundUp(format.width, 4);
  const std::size_t chromaRow = padded ? row / 2 : RoundUp(RoundUp(format.width, 2) / 2, 4);
  return {luma, {chroma, 1, chromaRow, 1}, {chroma + chromaRow * rows / 2, 1, chromaRow, 1}};
}

/// Fixed-point factors of the way from YCbCr to RGB, in 65536ths.
struct Matrix {
  int black, luma, redFromCr, greenFromCb, greenFromCr, blueFromCb;
};

Matrix MatrixFor(unsigned long height, bool fullRange) {
  const bool hd = height >= 720;
  const double red = hd ? 0.2126 : 0.299;
  const double blue = hd ? 0.0722 : 0.114;
  const double green = 1 - red - blue;
  const double unit = 65536;
  const double luma = fullRange ? 1 : 255.0 / 219;
  const double chroma = (fullRange ? 1 : 255.0 / 224) * unit;
  const auto fixed = [](double value) { return static_cast<int>(std::lround(value)); };
  return {fullRange ? 0 : 16,
          fixed(luma * unit),
          fixed(2 * (1 - red) * chroma),
          fixed(2 * (1 - blue) * blue / green * chroma),
          fixed(2 * (1 - red) * red / green * chroma),
          fixed(2 * (1 - blue) * chroma)};
}

std::uint8_t Clamped(int fixed) {
  return static_cast<std::uint8_t>(std::clamp((fixed + 0x8000) >> 16, 0, 255));
}

void ConvertYCbCr(const std::uint8_t* pixels, const Components& parts, const Matrix& m,
                  Picture& picture) {
  for (std::size_t y = 0; y < picture.height; ++y) {
    const auto rowOf = [&](const Component& c) {
      return pixels + c.start + (y >> c.rowShift) * c.row;
    };
    const std::uint8_t* const luma = rowOf(parts[0]);
    const std::uint8_t* const blue = rowOf(parts[1]);
    const std::uint8_t* const red = rowOf(parts[2]);
    std::uint8_t* out = picture.Row(y);
    for (std::size_t x = 0; x < picture.width; ++x, out += 3) {
      const int light = (luma[x * parts[0].step] - m.black) * m.luma;
      const int cb = blue[x / 2 * parts[1].step] - 128;
      const int cr = red[x / 2 * parts[2].step] - 128;
      out[0] = Clamped(light + m.redFromCr * cr);
      out[1] = Clamped(light - m.greenFromCb * cb - m.greenFromCr * cr);
      out[2] = Clamped(light + m.blueFromCb * cb);
    }
  }
}

void ConvertRgb(const std::uint8_t* pixels, const Layout& layout, std::size_t bytesPerRow,
                Picture& picture) {
  for (std::size_t y = 0; y < picture.height; ++y) {
    const std::uint8_t* in = pixels + y * bytesPerRow;
    std::uint8_t* out = picture.Row(y);
    for (std::size_t x = 0; x < picture.width; ++x, in += layout.step, out += 3) {
      for (std::size_t i = 0; i < 3; ++i)
        out[i] = in[layout.first[i]];
    }
  }
}

/// Average of the picture's pixels in [x0, x1) x [y0, y1).
void Average(const Picture& picture, std::size_t x0, std::size_t x1, std::size_t y0, std::size_t y1,
             std::uint8_t* out) {
  std::array<std::size_t, 3> sum{};
  for (std::size_t y = y0; y < y1; ++y) {
    const std::uint8_t* in = picture.Row(y) + x0 * 3;
    for (std::size_t x = x0; x < x1; ++x, in += 3) {
      for (std::size_t i = 0; i < 3; ++i)
        sum[i] += in[i];
    }
  }
  const std::size_t count = (x1 - x0) * (y1 - y0);
  for (std::size_t i = 0; i < 3; ++i) {
    out[i] = static_cast<std::uint8_t>((sum[i] + count / 2) / count);
  }
}

}  // namespace

std::size_t FrameBytes(const FrameFormat& format) {
  const Layout* layout = Find(format.pixelFormat);
  if (!layout || format.width == 0 || format.height == 0) return 0;
  const bool packed = layout->planes == Planes::Packed;
  // Two pixels that share their chroma come together, also at the end of a row of odd length.
  const std::size_t rowBytes = RoundUp(format.width, packed ? 2 : 1) * layout->step;
  if (format.bytesPerRow < rowBytes) return 0;
  if (layout->planes == Planes::Rgb || packed) {
    return format.bytesPerRow * (format.height - 1) + rowBytes;
  }
  const Component last = Locate(*layout, format)[2];
  const std::size_t chromaRows = (format.height + 1) / 2;
  const std::size_t chromaBytes = ((format.width + 1) / 2 - 1) * last.step + 1;
  if (format.bytesPerRow < RoundUp(format.width, 2) && layout->planes == Planes::Two) return 0;
  return last.start + last.row * (chromaRows - 1) + chromaBytes;
}

Picture ToPicture(std::span<const std::uint8_t> pixels, const FrameFormat& format) {
  const std::size_t bytes = FrameBytes(format);
  if (bytes == 0 || pixels.size() < bytes) return {};
  const Layout& layout = *Find(format.pixelFormat);
  Picture picture(format.width, format.height);
  if (layout.planes == Planes::Rgb) {
    ConvertRgb(pixels.data(), layout, format.bytesPerRow, picture);
  } else {
    ConvertYCbCr(pixels.data(), Locate(layout, format), MatrixFor(format.height, layout.fullRange),
                 picture);
  }
  return picture;
}

Picture ScaledDown(const Picture& picture, std::size_t width) {
  if (picture.width <= width) return picture;
  const std::size_t height =
      std::max<std::size_t>(1, (picture.height * width + picture.width / 2) / picture.width);
  Picture scaled(width, height);
  const auto bounds = [](std::size_t i, std::size_t from, std::size_t to) {
    const std::size_t begin = std::min(i * from / to, from - 1);
    return std::pair{begin, std::max(begin + 1, (i + 1) * from / to)};
  };
  for (std::size_t y = 0; y < height; ++y) {
    const auto [y0, y1] = bounds(y, picture.height, height);
    for (std::size_t x = 0; x < width; ++x) {
      const auto [x0, x1] = bounds(x, picture.width, width);
      Average(picture, x0, x1, y0, y1, scaled.Row(y) + x * 3);
    }
  }
  return scaled;
}
