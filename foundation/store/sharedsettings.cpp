// SPDX-License-Identifier: MIT
#include "foundation/store/sharedsettings.h"

#include <string>

#include "foundation/files/file.h"
#include "foundation/files/pathtext.h"
#include "foundation/store/settingcipher.h"
#include "foundation/store/settingtext.h"
#include "foundation/store/settingvalues.h"
#include "foundation/store/xmlsettings.h"
#include "foundation/store/xmlsettingsfile.h"

namespace {

struct SharedSettingsPath {
  SharedSettingsPath() {
    LFile::GetSharedDataFolderApp(text);
    if (!LFile::TestFolderExists(text)) LFile::CreateFolderTree(text);
    LFile::_MakeFilePath(text, text, "SharedSettings", ".xml");
  }
  char text[kPathSize];
};

struct SharedSettings {
  SharedSettings() { LSharedSettingsLoad(document); }
  LXMLDocument document;
};

}  // namespace

bool LSharedSettingsLoad(LXMLDocument& document) {
  document = LXMLDocument();  // else it would stay as it is when there is no file
  LoadXmlSettings(document, SharedSettingsPath().text);
  return true;
}

void LSharedSettingsSave(const LXMLDocument& document) {
  SaveXmlSettings(document, SharedSettingsPath().text);
}

void LSharedSettingSetString(const char* section, const char* name, const char* value) {
  LXMLSettingSetString(SharedSettingsPath().text, section, name, value);
}

bool _LSharedSettingGetString(const char* section, const char* name, const char* defaultValue,
                              char* out) {
  return LXMLSettingGetString(SharedSettingsPath().text, section, name, defaultValue, out);
}

bool _LSharedSettingGetString(const char* section, const char* name, const char* defaultValue,
                              LStringLongTemplate<char>& out) {
  char value[kPathSize];
  const bool isFound = _LSharedSettingGetString(section, name, defaultValue, value);
  out = value;
  return isFound;
}

void LSharedSettingDeleteItem(const char* section, const char* name) {
  SharedSettings settings;
  LXMLElement* const found = settings.document.GetElement(section);
  const std::string password = PasswordItemOf(name);
  // What changes nothing does not write, above all not over a file that could not be read.
  if (found == nullptr ||
      (found->GetElement(name) == nullptr && found->GetElement(password.c_str()) == nullptr)) {
    return;
  }
  found->DeleteElement(name);
  found->DeleteElement(password.c_str());
  LSharedSettingsSave(settings.document);
}

void LSharedSettingDeleteSection(const char* section) {
  SharedSettings settings;
  if (settings.document.GetElement(section) == nullptr) return;
  settings.document.DeleteElement(section);
  LSharedSettingsSave(settings.document);
}

bool LSharedSettingTestKeyExists(const char* section) {
  const SharedSettings settings;
  return settings.document.GetElement(section) != nullptr;
}

bool LSharedSettingTestExists(const char* section, const char* name) {
  const SharedSettings settings;
  return FindXmlSetting(settings.document, section, name) != nullptr;
}

void LSharedSettingSetPassword(const char* section, const char* name, const char* password) {
  LStringLongTemplate<char> stored;
  LSettingEncrypt(stored, password);
  LSharedSettingSetString(section, PasswordItemOf(name).c_str(), stored.Text());
}

bool LSharedSettingGetPassword(const char* section, const char* name, const char* /*defaultValue*/,
                               char* out) {
  const SharedSettings settings;
  const char* const stored =
      FindXmlSettingValue(settings.document, section, PasswordItemOf(name).c_str());
  CopyPassword(stored == nullptr ? "" : stored, out);
  return stored != nullptr;
}
