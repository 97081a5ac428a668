// SPDX-License-Identifier: MIT
#include "foundation/system/webaddress.h"

#include <algorithm>

namespace {

constexpr std::string_view kDigits = "0123456789ABCDEF";
constexpr std::string_view kReserved = ":/?#[]@!$&'()*+,;=";

// Not isalnum and tolower: what an address is must not depend on a locale.
constexpr bool IsUnreserved(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '.' || c == '_' || c == '~';
}

constexpr bool IsHexadecimal(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

constexpr bool IsControl(char c) {
  return (c >= 0 && c < ' ') || c == '\x7f';
}

constexpr char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string Lowered(std::string_view text) {
  std::string lowered(text);
  std::transform(lowered.begin(), lowered.end(), lowered.begin(), Lower);
  return lowered;
}

void AppendEncoded(std::string& address, char c) {
  const auto byte = static_cast<unsigned char>(c);
  address += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
}

bool IsEscape(std::string_view text) {
  return text.size() >= 3 && text[0] == '%' && IsHexadecimal(text[1]) && IsHexadecimal(text[2]);
}

/// Whether the page is one on this machine, and a page by its name. Anything else that such an
/// address may name is a document or a program, which the desktop would open or even start.
bool IsLocalPage(std::string_view behindScheme) {
  const std::string rest = Lowered(behindScheme);
  const std::string_view path = std::string_view(rest).substr(0, rest.find_first_of("?#"));
  const bool isHere = path.starts_with("///") || path.starts_with("//localhost/");
  const bool isPage = path.ends_with(".html") || path.ends_with(".htm") || path.ends_with(".xhtml");
  return isHere && isPage && path.find("%00") == std::string_view::npos;
}

bool IsLetThrough(std::string_view address) {
  const std::size_t colon = address.find(':');
  if (colon == std::string_view::npos) return false;
  const std::string scheme = Lowered(address.substr(0, colon));
  const std::string_view rest = address.substr(colon + 1);
  if (scheme == "http" || scheme == "https")
    return rest.size() > 2 && rest.starts_with("//") && rest.find_first_of("/?#", 2) != 2;
  if (scheme == "mailto") return !rest.empty();
  return scheme == "file" && IsLocalPage(rest);
}

}  // namespace

std::string SafeWebAddress(std::string_view address) {
  if (!IsLetThrough(address) || std::any_of(address.begin(), address.end(), IsControl)) return {};
  std::string safe;
  for (std::size_t i = 0; i < address.size(); ++i) {
    const char c = address[i];
    const bool isKept = IsUnreserved(c) || kReserved.find(c) != std::string_view::npos ||
                        IsEscape(address.substr(i));
    if (isKept) {
      safe += c;
    } else {
      AppendEncoded(safe, c);
    }
  }
  return safe;
}

std::string FileAddress(std::string_view path) {
  std::string address = "file://";
  for (const char c : path) {
    if (IsUnreserved(c) || c == '/') {
      address += c;
    } else {
      AppendEncoded(address, c);
    }
  }
  return address;
}
