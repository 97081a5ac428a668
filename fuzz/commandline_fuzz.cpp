// SPDX-License-Identifier: MIT
// Command lines are divided as a model divides them that goes by one character at a time.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "fuzz/commandlinemodel.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(std::string(reinterpret_cast<const char*>(data), size).c_str());
  if (!commandlinemodel::Agrees(text)) std::abort();
  return 0;
}
