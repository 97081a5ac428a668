// SPDX-License-Identifier: MIT
#include "foundation/store/settingkeys.h"

#include <string>
#include <utility>
#include <vector>

#include "foundation/files/file.h"
#include "foundation/files/pathtext.h"
#include "foundation/store/settingtext.h"
#include "foundation/store/settingvalues.h"

namespace {

std::string_view ViewOf(const char* text) {
  return text == nullptr ? std::string_view() : text;
}

SettingDomain DomainOf(const char* user) {
  SettingDomain domain;
  domain.user = user;
  return domain;
}

std::string_view WithoutSeparatorAtEnd(std::string_view path) {
  if (path.ends_with('/')) path.remove_suffix(1);
  return path;
}

std::string_view LastComponentOf(std::string_view path) {
  path = WithoutSeparatorAtEnd(path);
  return path.substr(path.rfind('/') + 1);  // npos + 1 is the beginning
}

/// The first component behind the beginning of a key; empty when there is none.
std::string_view NextComponent(std::string_view key, std::string_view beginning) {
  if (!BeginsWith(key, beginning)) return {};
  key.remove_prefix(beginning.size());
  return key.substr(0, key.find('/'));
}

struct Move {
  CFStringRef oldKey;
  std::string newKey;
  std::string value;
};

/// What renaming does to the keys, of which nothing has been changed yet: a key may be moved to
/// where another one is that will be moved, too.
std::vector<Move> MovesOf(const SettingDomain& domain, const std::string& recordPath,
                          const char* newPath, const std::string& newName) {
  std::vector<Move> moves;
  const CFArrayRef keys = CopySettingKeys(domain);
  for (const CFStringRef& key : *keys) {
    if (!BeginsWith(*key, recordPath)) continue;
    const bool isOwnKey = key->size() == recordPath.size();
    const CFStringRef value = CopySetting(domain, key->c_str());
    if (!value) continue;  // removed by another thread
    char path[kPathSize];
    LFile::_MakeFilePath(path, newPath, key->c_str() + recordPath.size(), "");
    moves.push_back({key, path, isOwnKey ? newName : *value});
  }
  return moves;
}

}  // namespace

bool MakeParentKeyPath(const SettingDomain& domain, const char* path) {
  const std::string_view whole = ViewOf(path);
  bool hasMade = false;
  std::size_t start = whole.find_first_not_of('/');
  while (start != std::string_view::npos) {
    const std::size_t separator = whole.find('/', start);
    if (separator == std::string_view::npos) break;
    const std::string parent(whole.substr(0, separator + 1));
    if (!CopySetting(domain, parent.c_str())) {
      char name[kPathSize];
      _LSettingMakePrimaryKeyFromPath(parent.c_str(), name);
      ChangeSetting(domain, parent.c_str(), name);
      hasMade = true;
    }
    start = whole.find_first_not_of('/', separator);
  }
  return hasMade;
}

void _LSettingMakePrimaryKeyFromPath(const char* path, char* out) {
  CopyPath(out, LastComponentOf(ViewOf(path)));
}

void _LSettingMakeParentKeyPath(const char* user, const char* path) {
  const SettingDomain domain = DomainOf(user);
  if (MakeParentKeyPath(domain, path)) StoreSettings(domain);
}

bool _LSettingFindRecord(const char* user, char* outName, std::size_t& index, const char* path,
                         const char* name) {
  std::string beginning(WithoutSeparatorAtEnd(ViewOf(path)));
  const bool hasName = !ViewOf(name).empty();
  if (hasName) beginning.append("/").append(name);
  beginning += '/';

  const CFArrayRef keys = CopySettingKeys(DomainOf(user));
  for (std::size_t i = index; i < keys->size(); ++i) {
    const std::string& key = *(*keys)[i];
    if (!BeginsWith(key, beginning)) continue;
    const std::string_view rest = std::string_view(key).substr(beginning.size());
    if (rest.empty() ? !hasName : WithoutSeparatorAtEnd(rest).find('/') != std::string_view::npos)
      continue;
    CopyPath(outName, LastComponentOf(key));
    index = i;
    return true;
  }
  return false;
}

bool _LSettingChangePrimaryKey(const char* user, const char* recordPath, const char* newKey,
                               char* outNewPath) {
  const std::string path(ViewOf(recordPath));
  const std::string name(ViewOf(newKey));
  *outNewPath = '\0';
  const std::size_t separator = WithoutSeparatorAtEnd(path).rfind('/');
  if (name.empty() || separator == std::string::npos) return false;
  char newPath[kPathSize];
  LFile::_MakeFilePath(newPath, path.substr(0, separator + 1).c_str(), name.c_str(), "");

  const SettingDomain domain = DomainOf(user);
  const std::vector<Move> moves = MovesOf(domain, path, newPath, name);
  for (const Move& move : moves)
    ChangeSetting(domain, move.oldKey->c_str(), nullptr);
  for (const Move& move : moves)
    ChangeSetting(domain, move.newKey.c_str(), move.value.c_str());
  StoreSettings(domain);
  CopyPath(outNewPath, newPath);
  return true;
}

bool _LSettingTestKeyHasValue(const char* user, const char* path) {
  const SettingKeyPath beginning(path, "");
  const CFArrayRef keys = CopySettingKeys(DomainOf(user));
  for (const CFStringRef& key : *keys) {
    if (key->size() > beginning.View().size() && BeginsWith(*key, beginning.View())) return true;
  }
  return false;
}

bool _LSettingPlistGetNextKey(const char* user, const char* path, const char* current,
                              char* outNext) {
  const std::string after(ViewOf(current));
  const bool isAtTop = ViewOf(path).empty();
  const SettingKeyPath inRecord(path, "");
  const std::string_view beginning = isAtTop ? std::string_view() : inRecord.View();

  const CFArrayRef keys = CopySettingKeys(DomainOf(user));
  std::string_view next;
  for (const CFStringRef& key : *keys) {
    const std::string_view component = NextComponent(*key, beginning).substr(0, kMaxPathLength);
    if (component.empty() || CompareWithoutCase(component, after) <= 0) continue;
    if (next.empty() || CompareWithoutCase(component, next) < 0) next = component;
  }
  CopyPath(outNext, next);
  return !next.empty();
}

bool _LSettingGetString(const char* user, const char* path, const char* defaultValue, char* out) {
  return GetSetting(DomainOf(user), path, defaultValue, out);
}

bool _LSettingGetString(const char* user, const char* path, const char* defaultValue,
                        LStringLongTemplate<char>& out) {
  return GetSetting(DomainOf(user), path, defaultValue, out);
}
