// SPDX-License-Identifier: MIT
// What the fuzz target and the test hold the dividing of command lines against: the rules, one
// character after the other, on a text that they are taken away from.
#ifndef ZORVEX_FUZZ_COMMANDLINEMODEL_H
#define ZORVEX_FUZZ_COMMANDLINEMODEL_H

#include <string>

#include "foundation/system/commandline.h"

namespace commandlinemodel {

/// Takes the next argument off the text.
inline std::string Take(std::string& text) {
  while (!text.empty() && static_cast<unsigned char>(text[0]) <= ' ')
    text.erase(0, 1);
  std::string argument;
  for (bool isQuoted = false; !text.empty();) {
    const char c = text[0];
    const bool isEscapedSpace = text.starts_with("\\ ");
    text.erase(0, isEscapedSpace ? 2 : 1);
    if (isEscapedSpace)
      argument += ' ';
    else if (c == '"' && !isQuoted)
      isQuoted = true;
    else if (c == '"' || (c == ' ' && !isQuoted))
      break;
    else
      argument += c;
  }
  return argument;
}

/// Whether the library divides the text in the same way, empty arguments among them, and counts
/// the same number.
inline bool Agrees(const std::string& text) {
  LCommandLineArgumentStringExpander expander(text.c_str());
  std::string rest = text;
  bool isCounting = true;
  long count = -1;
  for (bool isFirst = true; !rest.empty(); isFirst = false) {
    const std::string argument = Take(rest);
    if (expander.NextArgument() == argument.empty() || expander.Argument() != argument)
      return false;
    isCounting = isFirst || (isCounting && !argument.empty());
    if (isCounting) ++count;
  }
  if (count < 0) count = 0;
  return !expander.NextArgument() && !expander.NextArgument() && *expander.Argument() == '\0' &&
         expander.GetArgumentCount(text.c_str()) == count;
}

}  // namespace commandlinemodel

#endif  // ZORVEX_FUZZ_COMMANDLINEMODEL_H
