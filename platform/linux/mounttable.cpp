// SPDX-License-Identifier: MIT
#include "platform/linux/mounttable.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

int MountTable::Next() {
  if (position_ == count_) {
    ssize_t got = 0;
    do {
      got = read(descriptor_, buffer_, sizeof buffer_);
    } while (got < 0 && errno == EINTR);
    if (got <= 0) return last_ = -1;
    position_ = 0;
    count_ = static_cast<std::size_t>(got);
  }
  return last_ = static_cast<unsigned char>(buffer_[position_++]);
}

void MountTable::ReadField(std::span<char> text) {
  std::size_t length = 0;
  const auto store = [&](unsigned int c) {
    if (length + 1 < text.size()) text[length++] = static_cast<char>(c);
  };
  unsigned int escape = 0;
  int digitsLeft = 0;
  while (!IsAtLineEnd()) {
    const int c = Next();
    if (c == ' ' || IsAtLineEnd()) break;
    if (c == '\\') {
      digitsLeft = 3;
      escape = 0;
    } else if (digitsLeft > 0) {
      escape = escape * 8 + static_cast<unsigned int>(c - '0');
      if (--digitsLeft == 0) store(escape);
    } else {
      store(static_cast<unsigned int>(c));
    }
  }
  if (!text.empty()) text[length] = '\0';
}

void MountTable::SkipLine() {
  while (!IsAtLineEnd())
    Next();
}

bool MountTable::Find(unsigned long mountId, Volume& volume) {
  for (;;) {
    SkipLine();
    if (last_ == -1) return false;
    last_ = ' ';
    char field[32];
    ReadField(field);
    if (*field == '\0' || std::strtoul(field, nullptr, 10) != mountId) continue;
    for (int skipped = 0; skipped < 3; ++skipped)
      SkipField();
    Volume found = {};
    ReadField(found.mountPoint);
    do {
      ReadField(field);
    } while (std::strcmp(field, "-") != 0 && !IsAtLineEnd());
    ReadField(found.typeName);
    volume = found;
    return true;
  }
}
