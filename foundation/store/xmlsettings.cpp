// SPDX-License-Identifier: MIT
#include "foundation/store/xmlsettings.h"

#include <fcntl.h>
#include <unistd.h>

#include "foundation/files/filewriter.h"
#include "foundation/files/openlocked.h"
#include "foundation/files/pathtext.h"
#include "foundation/store/settingvalues.h"
#include "foundation/store/xmlsettingsfile.h"

namespace {

constexpr char kValue[] = "value";

LXMLElement* FindOrAdd(LXMLElement& parent, const char* name) {
  LXMLElement* const element = parent.GetElement(name);
  return element != nullptr ? element : parent.AddElement(name);
}

}  // namespace

void LoadXmlSettings(LXMLDocument& document, const char* path) {
  LProcessInterfaceVoid nobody;
  char error[kPathSize];
  document.LoadFromFile(nobody, path, error);
}

void SaveXmlSettings(const LXMLDocument& document, const char* path) {
  LStringLongTemplate<char> text;
  for (const LXMLElement& section : document.Children())
    section.SaveToBuffer(text, 0);
  const UniqueFd file = OpenLocked(path, O_RDWR | O_CREAT, 0666);
  // Truncated once it is locked: somebody else may be writing it.
  if (!file || ftruncate(file.Get(), 0) != 0) return;
  LWriteFileRef(file.Get()).WriteString(text.Text());
}

void SetXmlSetting(LXMLDocument& document, const char* section, const char* name,
                   const char* value) {
  LXMLElement* const item = FindOrAdd(*FindOrAdd(document, section), name);
  item->Attributes().SetString(kValue, value == nullptr ? "" : value);
}

const LXMLElement* FindXmlSetting(const LXMLDocument& document, const char* section,
                                  const char* name) {
  const LXMLElement* const found = document.GetElement(section);
  return found == nullptr ? nullptr : found->GetElement(name);
}

const char* FindXmlSettingValue(const LXMLDocument& document, const char* section,
                                const char* name) {
  const LXMLElement* const item = FindXmlSetting(document, section, name);
  return item == nullptr ? nullptr : item->Attributes().GetString(kValue, nullptr);
}

void LXMLSettingSetString(const char* path, const char* section, const char* name,
                          const char* value) {
  LXMLDocument document;
  LoadXmlSettings(document, path);
  SetXmlSetting(document, section, name, value);
  SaveXmlSettings(document, path);
}

bool LXMLSettingGetString(const char* path, const char* section, const char* name,
                          const char* defaultValue, char* out) {
  LXMLDocument document;
  LoadXmlSettings(document, path);
  const char* const value = FindXmlSettingValue(document, section, name);
  if (value == nullptr && defaultValue == nullptr) defaultValue = "";
  CopySettingText(value == nullptr ? defaultValue : value, out);
  return value != nullptr;
}
