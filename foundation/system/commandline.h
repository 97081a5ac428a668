// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_COMMANDLINE_H
#define ZORVEX_FOUNDATION_SYSTEM_COMMANDLINE_H

#include <cstdint>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringlong.h>

/// Divides a command line into its arguments. `prog one "two three" fo\ ur` has four.
///
/// Arguments are divided by spaces. In front of one, all characters up to the space are skipped;
/// within it, tabs and the like are part of it, and so are bytes beyond ASCII everywhere.
///
///  - A backslash in front of a space stands for a space that does not divide, in quotes, too. Any
///    other backslash stands for itself; what follows it counts as it would without.
///  - A double quote begins a part in which spaces do not divide. The next one ends the argument,
///    deliberately also in front of a letter: `"ab"cd` is two arguments.
///  - `""` reads as the end of the text, deliberately: NextArgument is false for both.
class ZORVEX_API LCommandLineArgumentStringExpander {
 public:
  /// `text` is borrowed: it must outlive the object. Null is the empty text.
  explicit LCommandLineArgumentStringExpander(const char* text);

  /// Moves to the next argument. False when it is empty: at the end of the text, where it may be
  /// called again, and for `""`. Throws std::bad_alloc.
  bool NextArgument();

  /// The argument that NextArgument came to; valid until it is called again.
  [[nodiscard]] const char* Argument() const { return argument_.Text(); }

  /// The number of arguments of a text behind the first one, up to the first `""`. The object makes
  /// no difference to it, nor is it changed. Throws std::bad_alloc.
  [[nodiscard]] std::int64_t GetArgumentCount(const char* text) const;

 private:
  const char* position_;
  LStringLongTemplate<char> argument_;
};

#endif  // ZORVEX_FOUNDATION_SYSTEM_COMMANDLINE_H
