// SPDX-License-Identifier: MIT
//
// Every pixel format against a slow model that looks up each sample by the format's definition and
// converts it in floating point.
#include "tools/picture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>

#include "tools/options.h"

namespace {

enum class Layout { Rgb, Pairs, Planar, Biplanar };

struct Format {
  const char* code;
  Layout layout;
  std::size_t pixel;                 ///< bytes of a pixel in the first plane
  std::array<std::size_t, 3> bytes;  ///< where R, G and B or Y, Cb and Cr are
  bool full = false;
};
const Format kFormats[] = {
    {"2vuy", Layout::Pairs, 2, {1, 0, 2}}, {"yuvs", Layout::Pairs, 2, {0, 1, 3}},
    {"y420", Layout::Planar, 1, {}},       {"420v", Layout::Biplanar, 1, {}},
    {"24", Layout::Rgb, 3, {0, 1, 2}},     {"420f", Layout::Biplanar, 1, {}, true},
    {"24BG", Layout::Rgb, 3, {2, 1, 0}},   {"32", Layout::Rgb, 4, {1, 2, 3}},
    {"BGRA", Layout::Rgb, 4, {2, 1, 0}},   {"RGBA", Layout::Rgb, 4, {0, 1, 2}},
    {"ABGR", Layout::Rgb, 4, {3, 2, 1}},   {"L008", Layout::Rgb, 1, {0, 0, 0}},
};

std::array<double, 3> Model(const Format& f, const std::uint8_t* p, const FrameFormat& g,
                            std::size_t x, std::size_t y) {
  const std::uint8_t* line = p + y * g.bytesPerRow;
  const auto [a, b, c] = f.bytes;
  if (f.layout == Layout::Rgb) {
    line += x * f.pixel;
    return {double(line[a]), double(line[b]), double(line[c])};
  }
  double luma = line[x], cb, cr;
  const std::size_t evenRows = g.height + g.height % 2;
  const std::uint8_t* chroma = p + g.bytesPerRow * evenRows;
  if (f.layout == Layout::Pairs) {
    line += x / 2 * 4;
    luma = line[a + x % 2 * 2], cb = line[b], cr = line[c];
  } else if (f.layout == Layout::Planar) {
    const std::size_t row =
        g.bytesPerRow >= g.width + 4 ? g.bytesPerRow / 2 : ((g.width + 1) / 2 + 3) & ~3ul;
    cb = chroma[y / 2 * row + x / 2], cr = chroma[(evenRows / 2 + y / 2) * row + x / 2];
  } else {
    chroma += y / 2 * g.bytesPerRow + x / 2 * 2;
    cb = chroma[0], cr = chroma[1];
  }
  luma = f.full ? luma : (luma - 16) * 255 / 219;
  cb = (cb - 128) * (f.full ? 1 : 255.0 / 224);
  cr = (cr - 128) * (f.full ? 1 : 255.0 / 224);
  if (g.height >= 720) {
    return {luma + 1.5748 * cr, luma - 0.1873 * cb - 0.4681 * cr, luma + 1.8556 * cb};
  }
  return {luma + 1.402 * cr, luma - 0.3441 * cb - 0.7141 * cr, luma + 1.772 * cb};
}

void Check(const Format& format, const FrameFormat& frame) {
  const std::size_t bytes = FrameBytes(frame);
  ASSERT_GT(bytes, 0u);
  // On the heap and not a byte too long, so that the sanitizer sees a read beyond the frame.
  const auto pixels = std::make_unique<std::uint8_t[]>(bytes);
  std::mt19937 random(1);
  std::generate_n(pixels.get(), bytes, [&] { return static_cast<std::uint8_t>(random()); });
  EXPECT_TRUE(ToPicture({pixels.get(), bytes - 1}, frame).rgb.empty());
  const Picture picture = ToPicture({pixels.get(), bytes}, frame);
  ASSERT_EQ(picture.rgb.size(), frame.width * frame.height * 3);
  for (std::size_t y = 0; y < frame.height; ++y) {
    for (std::size_t i = 0; i < frame.width * 3; ++i) {
      const double wanted = Model(format, pixels.get(), frame, i / 3, y)[i % 3];
      ASSERT_NEAR(picture.Row(y)[i], std::clamp(wanted, 0.0, 255.0), 0.6) << i << ',' << y;
    }
  }
}

TEST(ToPicture, ConvertsEveryFormatAtEverySizeAndPadding) {
  const std::pair<std::size_t, std::size_t> sizes[] = {{1, 1}, {17, 9}, {18, 719}, {22, 720}};
  for (const Format& format : kFormats) {
    for (const auto& [width, height] : sizes) {
      for (const std::size_t padding : {0u, 32u}) {
        SCOPED_TRACE(format.code + (" " + std::to_string(width)) + " +" + std::to_string(padding));
        const std::size_t row = (((width + 1) & ~1ul) * format.pixel + 3) & ~3ul;
        Check(format, {*ParsePixelFormat(format.code), width, height, row + padding});
      }
    }
  }
}

TEST(FrameBytes, RefusesWhatItCannotKnow) {
  const std::uint32_t bgra = *ParsePixelFormat("BGRA");
  const FrameFormat refused[] = {{*ParsePixelFormat("dvc "), 64, 48, 256},
                                 {*ParsePixelFormat("420v"), 63, 48, 63},
                                 {bgra, 64, 48, 255},
                                 {bgra, 0, 48, 256},
                                 {bgra, 64, 0, 256}};
  for (const auto& format : refused)
    EXPECT_EQ(FrameBytes(format), 0u) << format.pixelFormat << ' ' << format.width;
}

}  // namespace
