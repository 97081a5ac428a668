// SPDX-License-Identifier: MIT
#include "foundation/system/users.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <optional>
#include <string>
#include <vector>

#include "foundation/files/pathtext.h"

namespace {

// An entry may have any length, since a group of all students lists them all; but a database that
// is never content is a broken one.
constexpr std::size_t kLargestEntry = std::size_t{64} * 1024 * 1024;

/// Calls `read(buffer, size)`, which gives an error number, with as large a buffer as it asks for.
template <typename Read>
void WithLargeEnoughBuffer(std::vector<char>& buffer, Read read) {
  buffer.resize(1024);
  for (int error = EINTR; error == EINTR || error == ERANGE;) {
    error = read(buffer.data(), buffer.size());
    if (error == ERANGE && buffer.size() >= kLargestEntry) return;
    if (error == ERANGE) buffer.resize(buffer.size() * 2);
  }
}

struct User {
  std::string name;
  std::string fullName;
  gid_t group;
};

// The full name is the first of several fields with commas between, where an ampersand stands for
// the name with a capital.
std::string FullNameIn(const std::string& fields, const std::string& name) {
  std::string full;
  for (const char character : fields.substr(0, fields.find(','))) {
    if (character != '&') {
      full += character;
    } else if (!name.empty()) {
      full += static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
      full.append(name, 1);
    }
  }
  return full;
}

std::optional<User> ReadUser(uid_t number) {
  std::vector<char> buffer;
  passwd entry = {};
  passwd* found = nullptr;
  WithLargeEnoughBuffer(buffer, [&](char* memory, std::size_t size) {
    return getpwuid_r(number, &entry, memory, size, &found);
  });
  if (found == nullptr || entry.pw_name == nullptr || *entry.pw_name == 0) return std::nullopt;
  const std::string name = entry.pw_name;
  const char* const fields = entry.pw_gecos != nullptr ? entry.pw_gecos : "";
  return User{.name = name, .fullName = FullNameIn(fields, name), .group = entry.pw_gid};
}

std::optional<gid_t> ReadGroup(const char* name) {
  std::vector<char> buffer;
  group entry = {};
  group* found = nullptr;
  WithLargeEnoughBuffer(buffer, [&](char* memory, std::size_t size) {
    return getgrnam_r(name, &entry, memory, size, &found);
  });
  if (found == nullptr) return std::nullopt;
  return entry.gr_gid;
}

std::vector<gid_t> GroupsOfProcess() {
  std::vector<gid_t> groups(static_cast<std::size_t>(std::max(getgroups(0, nullptr), 0)));
  const int count = getgroups(static_cast<int>(groups.size()), groups.data());
  groups.resize(static_cast<std::size_t>(std::max(count, 0)));
  groups.push_back(getegid());
  return groups;
}

std::vector<gid_t> GroupsOfUser() {
  const std::optional<User> user = ReadUser(geteuid());
  if (!user) return GroupsOfProcess();
  for (std::vector<gid_t> groups(32);; groups.resize(groups.size() * 2)) {
    int count = static_cast<int>(groups.size());
    if (getgrouplist(user->name.c_str(), user->group, groups.data(), &count) < 0) continue;
    groups.resize(static_cast<std::size_t>(count));
    return groups;
  }
}

bool IsAmong(const std::vector<gid_t>& groups, const char* name) {
  const std::optional<gid_t> number = ReadGroup(name);
  return number && std::find(groups.begin(), groups.end(), *number) != groups.end();
}

/// A text, and whether it is what was asked for.
struct Answer {
  std::string text;
  bool isKnown;

  bool CopyTo(char* dest) const {
    CopyPath(dest, text);
    return isKnown;
  }
  bool CopyTo(LStringLongTemplate<char>& dest) const {
    dest = text.c_str();
    return isKnown;
  }
};

Answer UserName(uid_t number) {
  const std::optional<User> user = ReadUser(number);
  if (!user) return {.text = std::to_string(number), .isKnown = false};
  return {.text = user->name, .isKnown = true};
}

Answer UserFullName() {
  const std::optional<User> user = ReadUser(geteuid());
  if (!user || user->fullName.empty()) return {.text = UserName(geteuid()).text, .isKnown = false};
  return {.text = user->fullName, .isKnown = true};
}

Answer ComputerName() {
  char name[1024] = "";
  // A name that is cut need not be terminated.
  if (gethostname(name, sizeof name - 1) != 0 || name[0] == 0)
    return {.text = "localhost", .isKnown = false};
  return {.text = name, .isKnown = true};
}

}  // namespace

bool LIsRootUser() {
  return geteuid() == 0;
}

bool LIsAdminUser() {
  if (LIsRootUser()) return true;
  const std::vector<gid_t> groups = GroupsOfUser();
  return IsAmong(groups, "sudo") || IsAmong(groups, "wheel") || IsAmong(groups, "admin");
}

bool LIsUserInGroup(const char* group) {
  return IsAmong(GroupsOfUser(), group);
}

unsigned int LGetUserId() {
  return geteuid();
}

bool LGetUserName(char* dest) {
  return UserName(geteuid()).CopyTo(dest);
}

bool LGetUserName(LStringLongTemplate<char>& dest) {
  return UserName(geteuid()).CopyTo(dest);
}

bool LGetUserFullName(char* dest) {
  return UserFullName().CopyTo(dest);
}

bool LGetUserFullName(LStringLongTemplate<char>& dest) {
  return UserFullName().CopyTo(dest);
}

bool LGetUserNameOf(unsigned int userId, char* dest) {
  return UserName(userId).CopyTo(dest);
}

bool LGetUserNameOf(unsigned int userId, LStringLongTemplate<char>& dest) {
  return UserName(userId).CopyTo(dest);
}

bool LGetComputerName(char* dest) {
  return ComputerName().CopyTo(dest);
}

bool LGetComputerName(LStringLongTemplate<char>& dest) {
  return ComputerName().CopyTo(dest);
}
