// SPDX-License-Identifier: MIT
#include "foundation/system/versions.h"

#include <algorithm>
#include <string_view>

namespace {

// Not isdigit and tolower: an order must not depend on a locale.
constexpr bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

constexpr char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Bytes beyond ASCII are letters of some script.
constexpr bool IsLetter(char c) {
  return (Lower(c) >= 'a' && Lower(c) <= 'z') || static_cast<unsigned char>(c) >= 128;
}

/// Takes the parts off a version one by one; an empty one is its end.
class Parts {
 public:
  explicit Parts(const char* version) : rest_(version == nullptr ? "" : version) {
    rest_ = rest_.substr(0, rest_.find('+'));
    if (rest_.size() > 1 && Lower(rest_[0]) == 'v' && IsDigit(rest_[1])) rest_.remove_prefix(1);
  }

  std::string_view Next() {
    while (!rest_.empty() && !IsDigit(rest_[0]) && !IsLetter(rest_[0]))
      rest_.remove_prefix(1);
    if (rest_.empty()) return {};
    const auto end = IsDigit(rest_[0]) ? std::find_if_not(rest_.begin(), rest_.end(), IsDigit)
                                       : std::find_if_not(rest_.begin(), rest_.end(), IsLetter);
    const std::string_view part = rest_.substr(0, static_cast<std::size_t>(end - rest_.begin()));
    rest_.remove_prefix(part.size());
    return part;
  }
  [[nodiscard]] bool IsNumberNext() const { return !rest_.empty() && IsDigit(rest_[0]); }

 private:
  std::string_view rest_;
};

int CompareNumbers(std::string_view left, std::string_view right) {
  for (std::string_view* const number : {&left, &right})
    number->remove_prefix(std::min(number->find_first_not_of('0'), number->size()));
  if (left.size() != right.size()) return left.size() < right.size() ? -1 : 1;
  return left.compare(right);
}

int CompareWords(std::string_view left, std::string_view right) {
  const auto before = [](char a, char b) {
    return static_cast<unsigned char>(Lower(a)) < static_cast<unsigned char>(Lower(b));
  };
  if (std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(), before))
    return -1;
  return std::lexicographical_compare(right.begin(), right.end(), left.begin(), left.end(), before);
}

bool AnnouncesRelease(std::string_view word, const Parts& behind) {
  for (const char* const known : {"alpha", "beta", "dev", "pre", "preview", "rc"}) {
    if (CompareWords(word, known) == 0) return true;
  }
  return word.size() == 1 && Lower(word[0]) >= 'a' && Lower(word[0]) <= 'c' &&
         behind.IsNumberNext();
}

/// What comes before what, where versions first differ in kind.
enum class Rank { Announcement, End, Word, Number };

Rank RankOf(std::string_view part, const Parts& behind) {
  if (part.empty()) return Rank::End;
  if (IsDigit(part[0])) return Rank::Number;
  return AnnouncesRelease(part, behind) ? Rank::Announcement : Rank::Word;
}

bool IsZero(std::string_view part) {
  return !part.empty() && part.find_first_not_of('0') == std::string_view::npos;
}

/// Beside what is no number, zeros are as good as nothing; else "1.0.0" would not be "1.0" where
/// both are compared with "1.0a".
void SkipZeros(std::string_view& part, Parts& behind, std::string_view other) {
  if (!other.empty() && IsDigit(other[0])) return;
  while (IsZero(part))
    part = behind.Next();
}

}  // namespace

int LVersionCompare(const char* left, const char* right) {
  Parts leftParts(left);
  Parts rightParts(right);
  for (;;) {
    std::string_view a = leftParts.Next();
    std::string_view b = rightParts.Next();
    SkipZeros(a, leftParts, b);
    SkipZeros(b, rightParts, a);
    const Rank rankA = RankOf(a, leftParts);
    const Rank rankB = RankOf(b, rightParts);
    if (rankA != rankB) return rankA < rankB ? -1 : 1;
    if (rankA == Rank::End) return 0;
    const int order = rankA == Rank::Number ? CompareNumbers(a, b) : CompareWords(a, b);
    if (order != 0) return order;
  }
}
