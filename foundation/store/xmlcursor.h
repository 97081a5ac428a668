// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_XMLCURSOR_H
#define ZORVEX_FOUNDATION_STORE_XMLCURSOR_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "foundation/store/xmlcharacters.h"
#include "foundation/store/xmlloader.h"

/// Where a reader is in the text of a loader. The place is kept here, and in the loader only while
/// something else reads or tells an error, and in the end.
///
/// What names and values are is written down once, in XMLLoadTag and XMLLoadAttribute. Those that
/// need neither decoding nor cutting, nearly all, are looked at where they stand instead.
class XmlCursor {
 public:
  using Loader = LXMLLoaderTemplate<char>;

  /// Names are cut to one character less.
  static constexpr std::size_t kNameSize = 260;

  /// A name or a value: in the text, or in a buffer.
  struct Token {
    std::string_view text;
    char stop;     // what ended it, as XMLLoadTag gives it
    bool isPlain;  // in the text
  };

  explicit XmlCursor(Loader& loader);
  ~XmlCursor() { StorePlace(); }
  XmlCursor(const XmlCursor&) = delete;
  XmlCursor& operator=(const XmlCursor&) = delete;

  [[nodiscard]] const char* Here() const { return here_; }
  /// Where the text ends, at its terminator.
  [[nodiscard]] const char* End() const { return end_; }
  /// Goes on to a place with no line end in between.
  void GoTo(const char* place) { here_ = place; }
  /// Goes behind such a run.
  void Skip(const XmlTextRun& run) {
    here_ = run.end;
    if (run.lastLine) CountLines(run);
  }
  /// As LXMLLoaderTemplate::GetChar.
  char GetChar() {
    const char c = *here_;
    if (c == '\r' || c == '\n') return GetLineEnd();
    if (c != 0) ++here_;
    return c;
  }

  /// A tag's or an attribute's; as XMLLoadTag, with 260 bytes of room for one that is not plain.
  Token ReadName(char* buffer);
  /// An attribute's; as XMLLoadAttribute. Good until the next call.
  Token ReadValue();
  /// As XMLLoadTag, behind "</".
  char ReadEndName(char* name);
  /// As XMLAmpChar, in front of the "&".
  void ReadEntity(char* decoded);

  [[nodiscard]] bool IsToStop() const { return loader_.progress->IsToStop(); }
  void SetError(const char* message);
  /// The format has up to three "%s".
  void SetErrorF(const char* format, const char* first, const char* second = "",
                 const char* third = "");

 private:
  void StorePlace();
  void FetchPlace();
  /// Does something with the loader here.
  template <typename Step>
  auto WithLoader(Step step);

  void CountLines(const XmlTextRun& run);
  char GetLineEnd();
  bool ReadQuoted(Token& value);

  Loader& loader_;
  const char* here_ = nullptr;
  std::uint64_t lineBegin_ = 0;  // what is to be taken from the position to have the column
  const char* const end_;
  LStringLongTemplate<char> value_;
};

inline XmlCursor::Token XmlCursor::ReadName(char* buffer) {
  const char* const begin = here_;
  const char* const end = FindXmlRunEnd<XmlNameRun>(begin, end_);
  const auto length = static_cast<std::size_t>(end - begin);
  if (*begin != '!' && length < kNameSize && *end != '"' && *end != '\'' && *end != '&') {
    here_ = end;
    return {{begin, length}, GetChar(), true};
  }
  const char stop = ReadEndName(buffer);
  return {buffer, stop, false};
}

#endif  // ZORVEX_FOUNDATION_STORE_XMLCURSOR_H
