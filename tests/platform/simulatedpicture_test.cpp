// SPDX-License-Identifier: MIT
#include "platform/simulated/simulatedpicture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/cvpixelbuffer.h"
#include "tests/support/burntin.h"

namespace {

struct FormatShape {
  std::uint32_t format;
  struct Plane {
    std::size_t bytesPerPair, linesPerRow;
  };
  std::vector<Plane> planes;
};
const FormatShape kShapes[] = {
    {FourCharCode("2vuy"), {{4, 1}}},         {FourCharCode("yuvs"), {{4, 1}}},
    {FourCharCode("BGRA"), {{8, 1}}},         {FourCharCode("y420"), {{2, 1}, {1, 2}, {1, 2}}},
    {FourCharCode("420v"), {{2, 1}, {2, 2}}},
};

TEST(SimulatedPicture, FillsEveryFrameCompletelyWithAReadableTextAndNothingElse) {
  const struct {
    std::size_t width, height;
    const char* text;
    const char* read;
  } cases[] = {
      {1280, 720, "01:23:45;67", "01:23:45;67"},
      {720, 576, "012389", "012389"},
      {322, 242, "", ""},
      {160, 40, "99:99:99:99 and no more", "99:99:99:99"},
      {158, 480, "000123", ""},  // too small for a text, as the rest
      {8192, 38, "000123", ""},
      {16, 16, "000123", ""},
  };
  constexpr std::size_t kGuard = 13;  // bytes before every plane and after every row
  for (const FormatShape& shape : kShapes) {
    for (const auto& [width, height, text, read] : cases) {
      SimulatedPicture picture(shape.format, static_cast<int>(width), static_cast<int>(height));
      std::vector<bool> inside;
      std::vector<std::size_t> starts, strides;
      for (const auto& plane : shape.planes) {
        const std::size_t used = width / 2 * plane.bytesPerPair;
        inside.resize(inside.size() + kGuard, false);
        starts.push_back(inside.size());
        strides.push_back(used + kGuard);
        for (std::size_t row = 0; row < height / plane.linesPerRow; ++row) {
          inside.resize(inside.size() + used, true);
          inside.resize(inside.size() + kGuard, false);
        }
      }
      const auto paint = [&](std::uint64_t index, unsigned char blank) {
        std::vector<unsigned char> frame(inside.size(), blank);
        std::vector<SimulatedPicture::Plane> planes;
        for (std::size_t i = 0; i < starts.size(); ++i)
          planes.push_back({frame.data() + starts[i], strides[i]});
        picture.Paint(planes, index, text);
        return frame;
      };
      std::vector<unsigned char> before;
      for (const std::uint64_t index : {0ul, 1ul, 118ul, 1000000ul, UINT64_MAX}) {
        const auto one = paint(index, 0xCD), other = paint(index, 0x32);
        std::size_t wrong = 0;  // only what is painted does not depend on what was there
        for (std::size_t i = 0; i < inside.size(); ++i)
          wrong += (one[i] == other[i]) != inside[i];
        EXPECT_EQ(wrong, 0u) << width << "x" << height;
        EXPECT_EQ(ReadBurntIn({&one[starts[0]], shape.format, width, height, strides[0]}), read)
            << "frame " << index;
        EXPECT_NE(one, before) << "nothing moves";
        before = one;
      }
    }
  }
}

}  // namespace
