// SPDX-License-Identifier: MIT
#include "foundation/store/applicationsettings.h"

#include "foundation/store/settingtext.h"
#include "foundation/store/settingvalues.h"
#include "foundation/text/stringformat.h"

namespace {

/// The preferences of an application.
class ApplicationDomain {
 public:
  explicit ApplicationDomain(const char* application) {
    LSettingGetCFPreferencesApplicationKeyLongForApplication(name_, application);
  }
  [[nodiscard]] SettingDomain Get() const {
    SettingDomain domain;
    domain.application = name_.Text();
    return domain;
  }

 private:
  LStringLongTemplate<char> name_;
};

}  // namespace

void LSettingGetCFPreferencesApplicationKeyLongForApplication(LStringLongTemplate<char>& out,
                                                              const char* application) {
  LStringLongTemplate<char> key;
  sprintf(key, "com.vantrel.%s", application);
  MakeLowerCase(key.Buffer());
  out = std::move(key);
}

bool LSettingForApplicationGetString(const char* application, const char* section, const char* name,
                                     const char* defaultValue, char* out) {
  const ApplicationDomain domain(application);
  return GetSetting(domain.Get(), SettingKeyPath(section, name).Text(), defaultValue, out);
}

bool LSettingForApplicationSetString(const char* application, const char* section, const char* name,
                                     const char* value) {
  const ApplicationDomain domain(application);
  return SetSetting(domain.Get(), SettingKeyPath(section, name).Text(),
                    value == nullptr ? "" : value);
}

bool LSettingForApplicationSetBool(const char* application, const char* section, const char* name,
                                   bool value) {
  return LSettingForApplicationSetString(application, section, name, value ? "1" : "0");
}
