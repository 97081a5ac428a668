// SPDX-License-Identifier: MIT
#include "foundation/system/desktop.h"

#include <glib.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "tests/support/foldertest.h"

namespace {

namespace fs = std::filesystem;

using Arguments = std::vector<std::string>;

/// Only the programs that a case names are along PATH; they write down how they are called.
class DesktopTest : public FolderTest {
 protected:
  DesktopTest() {
    setenv("PATH", (root_ / "bin").c_str(), 1);
    setenv("RECORD", record_.c_str(), 1);
    setenv("XDG_DATA_HOME", (root_ / "home").c_str(), 1);
    setenv("XDG_DATA_DIRS", (root_ / "share").c_str(), 1);
    unsetenv("BROWSER");
    unsetenv("XDG_CURRENT_DESKTOP");
  }

  void SetPrograms(const std::string& programs) {
    fs::remove_all(root_ / "bin");
    fs::create_directory(root_ / "bin");
    std::istringstream names(programs);
    const std::string script =
        "#!/bin/sh\nprintf '%s\\0' \"${0##*/}\" \"$@\" >\"$RECORD.new\"\n/bin/mv \"$RECORD.new\" "
        "\"$RECORD\"";
    for (std::string name; names >> name;)
      Write("bin/" + name, script, true);
  }

  /// How a program was called; nothing when the call refused to start one.
  Arguments Called(bool isStarted) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (isStarted && !fs::exists(record_) && std::chrono::steady_clock::now() < limit)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::ifstream record(record_);
    Arguments arguments;
    for (std::string argument; std::getline(record, argument, '\0');)
      arguments.push_back(argument);
    fs::remove(record_);
    return arguments;
  }

  const fs::path record_ = root_ / "record";
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
  const std::tuple<const char*, const char*, Arguments> cases[] = {
      {"gio x-www-browser b", "b", {"gio", "open", "http://h/%25s"}},
      {"sensible-browser x-www-browser b",
       "absent: :b -n  '%s;x' $HOME:c",
       {"b", "-n", "'http://h/%25s;x'", "$HOME"}},
      {"sensible-browser b", "b --new", {"b", "--new", "http://h/%25s"}},
      {"sensible-browser x-www-browser", "absent %s", {"sensible-browser", "http://h/%25s"}},
      {"x-www-browser", "::", {"x-www-browser", "http://h/%25s"}},
      {"firefox", "", {}},
  };
  for (const auto& [programs, browser, called] : cases) {
    SetPrograms(programs);
    setenv("BROWSER", browser, 1);
    EXPECT_EQ(Called(LOpenWebPage("http://h/%25s")), called) << browser;
  }
}

TEST_F(DesktopTest, FilesOfAnyNameAreRevealed) {
  std::string everyByte;
  for (int byte = 1; byte < 256; ++byte)
    if (byte != '/') everyByte += static_cast<char>(byte);
  const fs::path folder = root_ / "the folder";
  Write(folder / everyByte, "x");
  fs::create_symlink("nowhere", folder / "--help");
  Write("share/dbus-1/services/org.x.FileManager1.service", "x");
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
  SetPrograms("gdbus xdg-open");
  called = Called(LRevealFile(everyByte.c_str()));
  ASSERT_EQ(called.size(), 2U);
  EXPECT_EQ(decoded(called.back()), folder);
  EXPECT_FALSE(LRevealFile("absent"));
  EXPECT_FALSE(LRevealFile(""));
  SetPrograms("gdbus");
  EXPECT_FALSE(LRevealFile("--help")) << "no file manager is there to ask";
  fs::current_path("/");
}

TEST_F(DesktopTest, SettingsOpenInTheCurrentDesktop) {
  const std::tuple<const char*, const char*, const char*, Arguments> cases[] = {
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
      {"GNOME", "env", "sound", {}},
  };
  for (const auto& [desktop, programs, pane, called] : cases) {
    setenv("XDG_CURRENT_DESKTOP", desktop, 1);
    SetPrograms(programs);
    EXPECT_EQ(Called(LOpenSettingsPane(pane)), called) << desktop << pane;
  }
}

}  // namespace
