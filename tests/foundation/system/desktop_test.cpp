// SPDX-License-Identifier: MIT
#include "foundation/system/desktop.h"

#include <glib.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

using Arguments = std::vector<std::string>;

/// Only the programs that a case names are along PATH; they write down how they are called.
class DesktopTest : public testing::Test {
 protected:
  DesktopTest() {
    std::string name = "/tmp/desktop-XXXXXX";
    root_ = mkdtemp(name.data());
    setenv("PATH", (root_ / "bin").c_str(), 1);
    setenv("XDG_DATA_HOME", (root_ / "home").c_str(), 1);
    setenv("XDG_DATA_DIRS", (root_ / "share").c_str(), 1);
    unsetenv("BROWSER");
    unsetenv("XDG_CURRENT_DESKTOP");
  }
  ~DesktopTest() override { fs::remove_all(root_); }

  void SetPrograms(const std::string& programs) {
    fs::remove_all(root_ / "bin");
    fs::create_directory(root_ / "bin");
    std::istringstream names(programs);
    for (std::string name; names >> name;) {
      const fs::path program = root_ / "bin" / name;
      std::ofstream(program) << "#!/bin/sh\nprintf '%s\\0' \"${0##*/}\" \"$@\" >" << Record()
                             << ".new\n/bin/mv " << Record() << ".new " << Record() << "\n";
      fs::permissions(program, fs::perms::all);
    }
  }

  /// How a program was called; nothing when the call refused to start one.
  Arguments Called(bool isStarted) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (isStarted && !fs::exists(Record()) && std::chrono::steady_clock::now() < limit)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::ifstream record(Record());
    Arguments arguments;
    for (std::string argument; std::getline(record, argument, '\0');)
      arguments.push_back(argument);
    fs::remove(Record());
    return arguments;
  }
  std::string Record() const { return root_ / "record"; }

  fs::path root_;
};

TEST_F(DesktopTest, WebAddressesAreLetThroughOrRefused) {
  std::istringstream refused(
      "|-|--help|-http://x|http|http:|http:/x|http://|https:///x|http://?x|x|/bin/sh|./x.html|x:y|"
      "ftp://host/|javascript:alert(1)|data:text/html,x| http://host|htt\xC3\xA9p://host|mailto:|"
      "file:///etc/passwd|file:///x.desktop|file://host/x.html|file:x.html|file:/x.html|"
      "file:///x?.html|file:///x%00.html|file:///x#.html|http://host/\n--x|http://h/\t|http://h/"
      "\x7f");
  struct {
    const char* address;
    const char* passed = nullptr;  // null: as it is
  } const cases[] = {
      {"http://host"},
      {"HTTPS://user@host:8080/a/../b;c=1?x='1'&y=$(id)&z=*#f!"},
      {"http://[::1]/"},
      {"http://host/%41%e4%"},
      {"http://h/a b\"c`d\\e<f>|{g}^", "http://h/a%20b%22c%60d%5Ce%3Cf%3E%7C%7Bg%7D%5E"},
      {"https://h/\xC3\xA4\xFF?%zz%4", "https://h/%C3%A4%FF?%25zz%254"},
      {"mailto:a@b?subject=x y", "mailto:a@b?subject=x%20y"},
      {"file:///a/Help%20me.HTML#part"},
      {"file://localhost/b.htm?x"},
  };
  SetPrograms("xdg-open gio sensible-browser");
  for (std::string address; std::getline(refused, address, '|');) {
    const bool isStarted = LOpenWebPage(address.c_str());
    EXPECT_FALSE(isStarted) << address;
    EXPECT_EQ(Called(isStarted), Arguments()) << address;
  }
  for (const auto& each : cases) {
    std::string passed = each.passed != nullptr ? each.passed : each.address;
    if (passed.ends_with('%')) passed += "25";
    EXPECT_EQ(Called(LOpenWebPage(each.address)), (Arguments{"xdg-open", passed}));
    EXPECT_TRUE(g_uri_is_valid(passed.c_str(), G_URI_FLAGS_ENCODED, nullptr)) << passed;
  }
}

TEST_F(DesktopTest, TheFirstBrowserThatIsThereOpensThePage) {
  struct {
    const char* programs;
    const char* browser;
    Arguments called;
  } const cases[] = {
      {"gio x-www-browser b", "b", {"gio", "open", "http://h/%s"}},
      {"sensible-browser x-www-browser b",
       "absent: :b -n  '%s;x' $HOME:c",
       {"b", "-n", "'http://h/%s;x'", "$HOME"}},
      {"sensible-browser b", "b --new", {"b", "--new", "http://h/%s"}},
      {"sensible-browser x-www-browser", "absent %s", {"sensible-browser", "http://h/%s"}},
      {"x-www-browser", "::", {"x-www-browser", "http://h/%s"}},
      {"firefox", "", {}},
  };
  for (const auto& each : cases) {
    SetPrograms(each.programs);
    setenv("BROWSER", each.browser, 1);
    Arguments called = each.called;
    for (std::string& argument : called)  // a '%' that encodes nothing is itself encoded
      if (const auto place = argument.find("%s"); place != std::string::npos)
        argument.replace(place, 2, "%25s");
    EXPECT_EQ(Called(LOpenWebPage("http://h/%s")), called) << each.browser;
  }
}

TEST_F(DesktopTest, FilesOfAnyNameAreRevealed) {
  std::string everyByte;
  for (int byte = 1; byte < 256; ++byte)
    if (byte != '/') everyByte += static_cast<char>(byte);
  const fs::path folder = root_ / "the folder";
  fs::create_directory(folder);
  std::ofstream(folder / everyByte) << "x";
  fs::create_symlink("nowhere", folder / "--help");
  fs::create_directories(root_ / "share/dbus-1/services");
  std::ofstream(root_ / "share/dbus-1/services/org.x.FileManager1.service") << "x";
  const auto decoded = [](const std::string& uri) {
    const std::unique_ptr<char, void (*)(void*)> path(
        g_filename_from_uri(uri.c_str(), nullptr, nullptr), g_free);
    return path ? std::string(path.get()) : "not an address: " + uri;
  };
  SetPrograms("gdbus dbus-send xdg-open");
  fs::current_path(folder);
  for (const std::string& name : {everyByte, std::string("--help"), folder.string() + "/"}) {
    Arguments called = Called(LRevealFile(name.c_str()));
    ASSERT_EQ(called.size(), 11U) << name;
    EXPECT_EQ(called[0] + called[8] + called[10], "gdbusorg.freedesktop.FileManager1.ShowItems");
    const std::string& items = called[9];
    ASSERT_TRUE(items.starts_with("['") && items.ends_with("']")) << items;
    const std::string uri = items.substr(2, items.size() - 4);
    EXPECT_EQ(uri.find_first_of("'\",\\ "), std::string::npos) << uri;
    EXPECT_EQ(decoded(uri), name[0] == '/' ? folder.string() : (folder / name).string());
  }
  SetPrograms("dbus-send xdg-open");
  Arguments called = Called(LRevealFile("--help"));
  ASSERT_EQ(called.size(), 8U);
  EXPECT_EQ(decoded(called[6].substr(std::string("array:string:").size())), folder / "--help");
  fs::remove_all(root_ / "share");
  for (const char* const programs : {"gdbus xdg-open", "gdbus gio"}) {
    SetPrograms(programs);
    called = Called(LRevealFile(everyByte.c_str()));
    ASSERT_GE(called.size(), 2U);
    EXPECT_EQ(decoded(called.back()), folder);
  }
  EXPECT_FALSE(LRevealFile("absent"));
  EXPECT_FALSE(LRevealFile(""));
  SetPrograms("gdbus");
  EXPECT_FALSE(LRevealFile("--help")) << "no file manager is there to ask";
  fs::current_path("/");
}

TEST_F(DesktopTest, SettingsOpenInTheCurrentDesktop) {
  struct {
    const char* desktop;
    const char* programs;
    const char* pane;
    Arguments called;
  } const cases[] = {
      {"ubuntu:GNOME", "gnome-control-center env", "sound", {"gnome-control-center", "sound"}},
      {"KDE", "gnome-control-center systemsettings", "display", {"systemsettings", "kcm_kscreen"}},
      {"KDE", "systemsettings5 env", "camera", {"systemsettings5"}},
      {"XFCE", "systemsettings pavucontrol", "microphone", {"pavucontrol"}},
      {"XFCE", "systemsettings xfce4-settings-manager", "camera", {"xfce4-settings-manager"}},
      {"sway",
       "gnome-control-center env systemsettings",
       "network",
       {"env", "XDG_CURRENT_DESKTOP=GNOME", "gnome-control-center", "network"}},
      {"sway", "env xfce4-settings-manager", "users", {"xfce4-settings-manager"}},
      {"GNOME", "gnome-control-center", "--help", {}},
      {"GNOME", "gnome-control-center", "", {}},
      {"GNOME", "env", "sound", {}},
  };
  for (const auto& each : cases) {
    setenv("XDG_CURRENT_DESKTOP", each.desktop, 1);
    SetPrograms(each.programs);
    EXPECT_EQ(Called(LOpenSettingsPane(each.pane)), each.called) << each.desktop << each.pane;
  }
}

}  // namespace
