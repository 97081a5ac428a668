// SPDX-License-Identifier: MIT
#include "foundation/store/xmlcursor.h"

#include <cstdio>
#include <cstring>

XmlCursor::XmlCursor(Loader& loader)
    : loader_(loader),
      end_(loader.text + loader.position + std::strlen(loader.text + loader.position)) {
  FetchPlace();
}

void XmlCursor::StorePlace() {
  loader_.position = static_cast<std::uint64_t>(here_ - loader_.text);
  loader_.column = static_cast<std::uint32_t>(loader_.position - lineBegin_);
}

void XmlCursor::FetchPlace() {
  here_ = loader_.text + loader_.position;
  lineBegin_ = loader_.position - loader_.column;
}

template <typename Step>
auto XmlCursor::WithLoader(Step step) {
  StorePlace();
  const auto result = step();
  FetchPlace();
  return result;
}

void XmlCursor::CountLines(const XmlTextRun& run) {
  loader_.line += run.lineFeeds;
  lineBegin_ = static_cast<std::uint64_t>(run.lastLine - loader_.text) - 1;
  if (run.end != run.lastLine || *run.end != '\r') return;
  // LF CR is one line end.
  ++here_;
  ++lineBegin_;
}

char XmlCursor::GetLineEnd() {
  return WithLoader([&] { return loader_.GetChar(); });
}

char XmlCursor::ReadEndName(char* name) {
  return WithLoader([&] { return XMLLoadTag(loader_, name); });
}

void XmlCursor::ReadEntity(char* decoded) {
  GoTo(here_ + 1);
  WithLoader([&] {
    XMLAmpChar(loader_, decoded);
    return true;
  });
}

/// A value that is all in one pair of quotes.
bool XmlCursor::ReadQuoted(Token& value) {
  const char* begin = here_;
  if (*begin == ' ') ++begin;
  const char quote = *begin;
  if (quote != '"' && quote != '\'') return false;
  ++begin;
  const char* const end = quote == '"' ? FindXmlRunEnd<XmlValueRun<'"'>>(begin, end_)
                                       : FindXmlRunEnd<XmlValueRun<'\''>>(begin, end_);
  if (*end != quote || !IsXmlStop(end[1])) return false;
  here_ = end + 1;
  value = {{begin, static_cast<std::size_t>(end - begin)}, GetChar(), true};
  return true;
}

XmlCursor::Token XmlCursor::ReadValue() {
  Token value{"", 0, false};
  if (ReadQuoted(value)) return value;
  const char stop = WithLoader([&] { return XMLLoadAttribute(loader_, value_); });
  return {{value_.Text(), value_.Length()}, stop, false};
}

void XmlCursor::SetError(const char* message) {
  StorePlace();
  loader_.SetError(message);
}

void XmlCursor::SetErrorF(const char* format, const char* first, const char* second,
                          const char* third) {
  char message[1024];  // more than SetError keeps
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  std::snprintf(message, sizeof message, format, first, second, third);
#pragma GCC diagnostic pop
  SetError(message);
}
