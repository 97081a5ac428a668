// SPDX-License-Identifier: MIT
#include "foundation/system/users.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "foundation/system/shell.h"
#include "tests/foundation/system/stoppableprocess.h"

namespace {

std::string OutputOf(const char* command) {
  LProcessInterfaceVoid process;
  LStringLongTemplate<char> output;
  EXPECT_EQ(LRunShellCommand(process, command, output), 0);
  const std::string text = output.Text();
  return text.substr(0, text.find('\n'));
}

bool IsNamed(bool isKnown, const std::string& expected) {
  char name[260] = "";
  LStringLongTemplate<char> sameName;
  return LGetUserName(name) == isKnown && name == expected && LGetUserName(sameName) == isKnown &&
         sameName.Text() == expected;
}

TEST(UsersTest, TheUserAndTheComputerAreThoseOfTheSystemsTools) {
  EXPECT_EQ(std::to_string(LGetUserId()), OutputOf("id -u"));
  EXPECT_TRUE(IsNamed(true, OutputOf("id -un")));
  EXPECT_EQ(LIsRootUser(), OutputOf("id -u") == "0");
  EXPECT_TRUE(LIsUserInGroup(OutputOf("id -gn").c_str()));
  EXPECT_FALSE(LIsUserInGroup("no such group"));
  EXPECT_FALSE(LIsUserInGroup(""));
  const std::string fields = OutputOf("getent passwd $(id -u) | cut -d: -f5");
  LStringLongTemplate<char> text;
  if (!fields.empty() && fields.find_first_of(",&") == std::string::npos) {
    EXPECT_TRUE(LGetUserFullName(text));
    EXPECT_EQ(text.Text(), fields);
  }
  char name[260] = "";
  EXPECT_TRUE(LGetComputerName(name));
  EXPECT_EQ(name, OutputOf("uname -n"));
}

TEST(UsersTest, MembersAndStrangers) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root, to be other users";
  EXPECT_TRUE(LIsAdminUser());
  constexpr uid_t kStranger = 54321;
  ASSERT_EQ(getpwuid(kStranger), nullptr);
  EXPECT_TRUE(As(kStranger, kStranger, {}, [] {
    char name[260] = "";
    return IsNamed(false, "54321") && !LGetUserFullName(name) && std::string(name) == "54321" &&
           !LIsRootUser() && !LIsAdminUser() && LGetUserNameOf(0, name) &&
           std::string(name) == "root";
  }));
  // Whom the database does not know has the groups that he was given; whom it knows, its own.
  for (const char* admins : {"sudo", "wheel", "admin"}) {
    const group* entry = getgrnam(admins);
    if (entry == nullptr) continue;
    const gid_t number = entry->gr_gid;
    EXPECT_TRUE(As(kStranger, kStranger, {7, number}, [] { return LIsAdminUser(); })) << admins;
    EXPECT_TRUE(As(kStranger, number, {}, [] { return LIsAdminUser(); })) << admins;
    EXPECT_TRUE(As(65534, 65534, {number}, [] { return !LIsAdminUser(); })) << admins;
  }
  for (setgrent(); const group* entry = getgrent();) {
    const passwd* member = entry->gr_mem[0] != nullptr ? getpwnam(entry->gr_mem[0]) : nullptr;
    if (member == nullptr || member->pw_uid == 0) continue;
    const std::string name = entry->gr_name;
    EXPECT_TRUE(As(member->pw_uid, 65534, {}, [&] { return LIsUserInGroup(name.c_str()); }))
        << name << " has " << member->pw_name;
  }
  endgrent();
}

}  // namespace
