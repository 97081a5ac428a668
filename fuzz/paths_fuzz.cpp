// SPDX-License-Identifier: MIT
// Whatever texts the path functions get, they read no byte behind them, write none behind a path
// buffer, and give what a plain model of strings without a limit gives, cut.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>

#include "foundation/files/file.h"
#include "foundation/files/filenames.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

bool IsSeparator(char c) {
  return c == '/' || c == '\\';
}

/// A text that ends where its memory ends. The input's bytes may be repeated many times over: what
/// is long matters, what stands in it less.
std::unique_ptr<char[]> NextText(std::string_view& input) {
  const std::size_t length = std::min(input.find('\n'), input.size());
  std::string text(input.substr(0, length));
  input.remove_prefix(std::min(length + 1, input.size()));
  if (!text.empty() && text[0] == '*') {
    const std::string part = text.substr(1) + "/";
    for (text.clear(); text.size() < 250; text += part) {
    }
  }
  std::replace(text.begin(), text.end(), '\0', '.');
  auto memory = std::make_unique<char[]>(text.size() + 1);
  std::memcpy(memory.get(), text.c_str(), text.size() + 1);
  return memory;
}

/// What a function makes of its sources, each of which may be the destination too.
template <class Function, std::size_t count>
std::string Written(Function function, const std::array<const char*, count>& sources) {
  const auto write = [&](char* dest, const auto& from) {
    std::apply([&](auto... source) { function(dest, source...); }, from);
    Require(std::memchr(dest, '\0', 260) != nullptr);
  };
  const auto buffer = std::make_unique<char[]>(260);
  std::memset(buffer.get(), '#', 260);
  write(buffer.get(), sources);
  for (std::size_t i = 0; i < count; ++i) {
    if (std::strlen(sources[i]) >= 260) continue;
    const auto shared = std::make_unique<char[]>(260);
    std::strcpy(shared.get(), sources[i]);
    auto replaced = sources;
    replaced[i] = shared.get();
    write(shared.get(), replaced);
    Require(std::strcmp(shared.get(), buffer.get()) == 0);
  }
  return buffer.get();
}

std::string Cut(const std::string& text) {
  return text.substr(0, 259);
}

void CheckSplitting(const char* path, const char* ext) {
  const std::string whole = path;
  const std::string folder = Written(LFile::_GetFolderFromPath, std::array{path});
  const std::string file = Written(LFile::_GetFileFromPath, std::array{path});
  const std::string name = Written(LFile::_GetFileNameFromPath, std::array{path});
  const std::string extension = Written(LFile::_GetFileExtensionFromPath, std::array{path});
  const std::string base = Written(LFile::_GetBaseFolderFromPath, std::array{path});
  const std::string changed = Written(LFile::_ApplyNewFileExtension, std::array{path, ext});
  Require(whole.starts_with(base) && base.find_first_of("/\\", 2) == std::string::npos);
  Require(file.find_first_of("/\\") == std::string::npos);
  if (whole.size() >= 260) return;
  if (folder != "/" && !folder.empty()) {
    Require(folder + whole[folder.size()] + file == whole && IsSeparator(whole[folder.size()]));
  }
  Require(file == (file == extension ? file : name + extension));
  if (whole != extension) {
    Require(changed == Cut(whole.substr(0, whole.size() - extension.size()) + ext));
  }
}

void CheckComposing(const char* folder, const char* name, const char* ext) {
  std::string joined = std::string(folder).substr(0, 258);
  if (!joined.empty() && !IsSeparator(joined.back())) joined += '/';
  Require(Written(LFile::_MakeFilePath, std::array{folder, name, ext}) == Cut(joined + name + ext));
  Written(LFile::MakeAbsoluteFilePath, std::array{folder, name, ext});

  const std::string secure = Written(LFile::_MakeFilePathSecure, std::array{folder, name, ext});
  const std::string secureFolder =
      Written(LFile::_MakeFilePathSecure, std::array<const char*, 3>{folder, "", ""});
  Require(secure.starts_with(secureFolder) && secureFolder.find('.') == std::string::npos);
  const std::string file = secure.substr(secureFolder.size());
  Require(file != ".." && file.find_first_of("/\\") == std::string::npos);
}

void CheckRelative(const char* from, const char* to) {
  std::string rest = from;
  if (rest.empty() || !IsSeparator(rest.back())) rest += '/';
  std::string target = to;
  while (!rest.empty() && !target.empty() &&
         (rest[0] == target[0] || (IsSeparator(rest[0]) && IsSeparator(target[0])))) {
    rest.erase(0, 1);
    target.erase(0, 1);
  }
  std::string way;
  for (const char c : rest)
    way += IsSeparator(c) ? "../" : "";
  if (!target.empty() && IsSeparator(target[0])) target.erase(0, 1);
  Require(Written(LFile::MakeRelativeFilePath, std::array{from, to}) == Cut(way + target));

  bool isInside = false;
  const auto getInside = [&](char* dest, const char* base, const char* path) {
    isInside = LFile::GetRelativePathFromAbsolutePath(dest, base, path);
  };
  const std::string inside = Written(getInside, std::array{from, to});
  Require(std::string_view(to).ends_with(inside) || std::strlen(to) > 259);
  // Nothing but the folder's own end is left over of it.
  Require(isInside ? way.size() <= 3 : inside.empty());
}

void CheckCompact(const char* path, std::size_t n) {
  const std::string whole = path;
  std::string expected = whole;
  if (whole.size() >= n) {
    const std::size_t kept = n < 5 ? 0 : std::min<std::size_t>(n, 260) - 4;
    expected = whole.substr(0, (kept + 1) / 2) + "..." + whole.substr(whole.size() - kept / 2);
    if (n < 5) expected = std::string("...").substr(0, n - (n > 0 ? 1 : 0));
  }
  const auto compact = [&](char* dest, const char* p) { LFile::CompactFilePath(dest, p, n); };
  Require(Written(compact, std::array{path}) == Cut(expected));
}

void CheckNames(const char* text) {
  std::string escaped;
  for (const char c : std::string(text)) {
    const std::string added = c == '`' || c == '"' ? std::string("\\") + c : std::string(1, c);
    if (escaped.size() + added.size() > 259) break;
    escaped += added;
  }
  const auto escape = [](char* dest, const char* path) { LFile::EscapeFilePath(path, dest); };
  Require(Written(escape, std::array{text}) == escaped);

  const unsigned int code = LFileOrFolderNameValidate(text);
  const auto buffer = std::make_unique<char[]>(260);
  Require(LFile::IsFileValid(text, buffer.get()) == (code == 0));
  Require((*buffer.get() == '\0') == (code == 0));
  const bool isFolder = LFile::IsFolderValid(text, buffer.get());
  Require((*buffer.get() == '\0') == isFolder);
  if (code == 0) {
    const std::string asFolder = "/" + std::string(text);
    Require(LFile::IsFolderValid(asFolder.c_str(), nullptr) == (asFolder.size() <= 259));
  }
  const auto preprocess = [](char* dest, const char* name) { LFile::PreprocessName(name, dest); };
  const std::string name = Written(preprocess, std::array{text});
  Require(LFileOrFolderNameValidate(name.c_str()) == (name.empty() ? 1 : 0));
  if (code == 0) Require(name == text);
  Written(LFile::GetHumanReadableDriveFromPath, std::array{text});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  std::string_view input(reinterpret_cast<const char*>(data + 1), size - 1);
  const auto first = NextText(input), second = NextText(input), third = NextText(input);
  CheckSplitting(first.get(), second.get());
  CheckComposing(first.get(), second.get(), third.get());
  CheckRelative(first.get(), second.get());
  CheckCompact(first.get(), data[0] < 0xF0 ? data[0] : data[0] * 2U);
  CheckNames(first.get());
  return 0;
}
