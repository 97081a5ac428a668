// SPDX-License-Identifier: MIT
#include "foundation/store/datfile.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/store/datfilenative.h"
#include "foundation/text/texttonumber.h"

namespace {

/// An item's text; empty when there is none.
class Value {
 public:
  Value(const LDatFile& file, const char* section, const char* name,
        const char* defaultValue = "") {
    LDatFileGetValue(file.Path(), section, name, defaultValue, text_);
  }
  [[nodiscard]] const char* Text() const { return text_; }
  [[nodiscard]] bool IsEmpty() const { return text_[0] == 0; }

 private:
  char text_[kDatFileText];
};

/// A text made by printf, cut to 259 bytes.
class Formatted {
 public:
  template <typename... Arguments>
  explicit Formatted(const char* format, Arguments... arguments) {
    std::snprintf(text_, sizeof text_, format, arguments...);
  }
  operator const char*() const { return text_; }

 private:
  char text_[kDatFileText];
};

// As sscanf reads "%d:%d:%d", which says nothing of numbers that are too large.
int SecondsOf(const char* text) {
  unsigned int seconds = 0;
  for (const unsigned int weight : {3600U, 60U, 1U}) {
    char* end = nullptr;
    seconds += static_cast<unsigned int>(std::strtol(text, &end, 10)) * weight;
    if (end == text || *end != ':') break;
    text = end + 1;
  }
  return static_cast<int>(seconds);
}

}  // namespace

void LDatFileSetValue(const char* path, const char* section, const char* name, const char* value) {
  gDatFileNativeSystem.SetValue(path, section, name, value);
}

void LDatFileGetValue(const char* path, const char* section, const char* name,
                      const char* defaultValue, char* out) {
  gDatFileNativeSystem.GetValue(path, section, name, defaultValue, out);
}

void LDatFileFlush(const char* path) {
  gDatFileNativeSystem.Flush(path);
}

void LDatFileFlush() {
  gDatFileNativeSystem.Flush();
}

LDatFile::LDatFile(const char* path) {
  const std::size_t length = strnlen(path, sizeof path_ - 1);
  std::memcpy(path_, path, length);
  path_[length] = 0;
}

void LDatFile::SetInt64(const char* section, const char* name, long long value) const {
  LDatFileSetValue(path_, section, name, Formatted("%lld", value));
}

long long LDatFile::GetInt64(const char* section, const char* name, long long defaultValue) const {
  const Value value(*this, section, name);
  return value.IsEmpty() ? defaultValue : ttoi64template(value.Text());
}

void LDatFile::SetLong(const char* section, const char* name, long value) const {
  LDatFileSetValue(path_, section, name, Formatted("%d", static_cast<int>(value)));
}

long LDatFile::GetLong(const char* section, const char* name, long defaultValue) const {
  const Value value(*this, section, name);
  return value.IsEmpty() ? defaultValue : std::strtol(value.Text(), nullptr, 10);
}

bool LDatFile::GetBool(const char* section, const char* name, bool defaultValue) const {
  return *Value(*this, section, name, defaultValue ? "true" : "").Text() == 't';
}

void LDatFile::SetDayTime(const char* section, const char* name, LDayTime value) const {
  LDatFileSetValue(path_, section, name,
                   Formatted("%.2d:%.2d:%.2d", value / 3600, value % 3600 / 60, value % 60));
}

LDayTime LDatFile::GetDayTime(const char* section, const char* name, LDayTime defaultValue) const {
  const Value value(*this, section, name);
  return value.IsEmpty() ? defaultValue : LDayTime(SecondsOf(value.Text()));
}

void LDatFile::SetDB(const char* section, const char* name, LdB<signed char> value) const {
  char text[kDatFileText];
  value.GetText(text);
  LDatFileSetValue(path_, section, name, text);
}

LdB<signed char> LDatFile::GetDB(const char* section, const char* name,
                                 LdB<signed char> defaultValue) const {
  const Value value(*this, section, name);
  if (!value.IsEmpty()) defaultValue.SetText(value.Text());
  return defaultValue;
}

void LDatFile::SetSoundTime(const char* section, const char* name, LSoundTime value) const {
  char text[kDatFileText];
  value._GetText(text);
  LDatFileSetValue(path_, section, name, text);
}

LSoundTime LDatFile::GetSoundTime(const char* section, const char* name,
                                  LSoundTime defaultValue) const {
  const Value value(*this, section, name);
  if (!value.IsEmpty()) defaultValue.SetText(value.Text());
  return defaultValue;
}

int LDatFile::GetListCount(const char* section, const char* prefix) const {
  return static_cast<int>(GetLong(section, Formatted("%scount", prefix), 0));
}

void LDatFile::SetListCount(const char* section, const char* prefix, int count) const {
  SetLong(section, Formatted("%scount", prefix), count);
}

int LDatFile::AddList(const char* section, const char* prefix) const {
  const int count = GetListCount(section, prefix);
  // A long: the largest count wraps when it is stored.
  SetLong(section, Formatted("%scount", prefix), static_cast<long>(count) + 1);
  return count;
}

void LDatFile::MoveListItem(const char* section, const char* prefix, const char* suffix, int from,
                            int to) const {
  const Formatted source("%s%d%s", prefix, from, suffix);
  const Value value(*this, section, source);
  LDatFileSetValue(path_, section, source, nullptr);
  LDatFileSetValue(path_, section, Formatted("%s%d%s", prefix, to, suffix), value.Text());
}
