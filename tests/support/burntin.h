// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TESTS_SUPPORT_BURNTIN_H
#define ZORVEX_TESTS_SUPPORT_BURNTIN_H

#include <cstddef>
#include <cstdint>
#include <string>

/// A picture as a host gets it: base address (of the first plane), format code, size.
struct PictureView {
  const unsigned char* pixels = nullptr;
  std::uint32_t format = 0;
  std::size_t width = 0;
  std::size_t height = 0;
  std::size_t bytesPerRow = 0;
};

/// Reads the text that a simulated device burnt into its pictures, after the layout in
/// docs/simulated.md: "000123", "01:00:00:12". Empty when there is none that can be read. For a
/// picture that was scaled give the size that the device sends.
std::string ReadBurntIn(const PictureView& picture, std::size_t sentWidth = 0,
                        std::size_t sentHeight = 0);

#endif  // ZORVEX_TESTS_SUPPORT_BURNTIN_H
