// SPDX-License-Identifier: MIT
#include "foundation/store/hiddensettings.h"

#include "foundation/files/file.h"
#include "foundation/files/pathtext.h"
#include "foundation/store/xmlsettings.h"

namespace {

struct HiddenSettingsPath {
  HiddenSettingsPath() {
    LFile::GetUserFolder(text);
    LFile::_MakeFilePath(text, text, ".vantrel", "");
    if (!LFile::TestFolderExists(text)) LFile::CreateFolderTree(text);
    LFile::_MakeFilePath(text, text, "LZorvex", ".xml");
  }
  char text[kPathSize];
};

}  // namespace

void LUserHiddenSettingSetString(const char* section, const char* name, const char* value) {
  LXMLSettingSetString(HiddenSettingsPath().text, section, name, value);
}

bool _LUserHiddenSettingGetString(const char* section, const char* name, const char* defaultValue,
                                  char* out) {
  return LXMLSettingGetString(HiddenSettingsPath().text, section, name, defaultValue, out);
}
