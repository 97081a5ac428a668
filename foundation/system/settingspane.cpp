// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/system/desktop.h"
#include "foundation/system/shell.h"
#include "foundation/system/xdgfolders.h"

namespace {

/// What each desktop calls it; null where it has none.
struct Pane {
  std::string_view name;
  const char* gnome;  // a panel of its one program
  const char* kde;    // a module of its one program
  const char* xfce;   // a program
};

constexpr Pane kPanes[] = {
    {"about", "info-overview", "kcm_about-distro", "xfce4-about"},
    {"bluetooth", "bluetooth", "kcm_bluetooth", "blueman-manager"},
    {"camera", "camera", nullptr, nullptr},
    {"datetime", "datetime", "kcm_clock", "time-admin"},
    {"display", "display", "kcm_kscreen", "xfce4-display-settings"},
    {"keyboard", "keyboard", "kcm_keyboard", "xfce4-keyboard-settings"},
    {"language", "region", "kcm_regionandlang", nullptr},
    {"microphone", "microphone", "kcm_pulseaudio", "pavucontrol"},
    {"mouse", "mouse", "kcm_mouse", "xfce4-mouse-settings"},
    {"network", "network", "kcm_networkmanagement", "nm-connection-editor"},
    {"notifications", "notifications", "kcm_notifications", "xfce4-notifyd-config"},
    {"power", "power", "kcm_powerdevilprofilesconfig", "xfce4-power-manager-settings"},
    {"printers", "printers", "kcm_printer_manager", "system-config-printer"},
    {"sound", "sound", "kcm_pulseaudio", "pavucontrol"},
    {"users", "user-accounts", "kcm_users", "users-admin"},
};

/// Null arguments are left out.
bool Start(std::initializer_list<const char*> arguments) {
  std::vector<const char*> given;
  for (const char* const argument : arguments) {
    if (argument != nullptr) given.push_back(argument);
  }
  given.push_back(nullptr);
  return LStartProgram(given.data());
}

bool OpenKde(const Pane& pane) {
  return Start({"systemsettings", pane.kde}) || Start({"systemsettings5", pane.kde});
}

bool OpenXfce(const Pane& pane) {
  return (pane.xfce != nullptr && Start({pane.xfce})) || Start({"xfce4-settings-manager"});
}

bool OpenGnome(const Pane& pane) {
  return Start({"gnome-control-center", pane.gnome});
}

/// Under another desktop the program ends at once, unless it is told that this is its own.
bool OpenGnomeElsewhere(const Pane& pane) {
  return !FindProgram("gnome-control-center").empty() &&
         Start({"env", "XDG_CURRENT_DESKTOP=GNOME", "gnome-control-center", pane.gnome});
}

struct Desktop {
  std::string_view name;
  bool (*open)(const Pane& pane);
};

constexpr Desktop kDesktops[] = {
    {"GNOME", OpenGnome}, {"Unity", OpenGnome}, {"KDE", OpenKde}, {"XFCE", OpenXfce}};

const Pane* FindPane(std::string_view name) {
  for (const Pane& pane : kPanes) {
    if (pane.name == name) return &pane;
  }
  return nullptr;
}

bool OpenInCurrentDesktop(const Pane& pane) {
  const char* const names = std::getenv("XDG_CURRENT_DESKTOP");
  for (const std::string& name : ListParts(names == nullptr ? "" : names)) {
    for (const Desktop& desktop : kDesktops) {
      if (desktop.name == name && desktop.open(pane)) return true;
    }
  }
  return false;
}

}  // namespace

bool LOpenSettingsPane(const char* pane) {
  const Pane* const known = FindPane(pane);
  if (known == nullptr) return false;
  return OpenInCurrentDesktop(*known) || OpenGnomeElsewhere(*known) || OpenKde(*known) ||
         OpenXfce(*known);
}
