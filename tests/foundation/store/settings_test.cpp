// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstring>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "foundation/store/applicationsettings.h"
#include "foundation/store/hiddensettings.h"
#include "foundation/store/settingcipher.h"
#include "foundation/store/settingkeys.h"
#include "foundation/store/settingsrecord.h"
#include "foundation/store/sharedsettings.h"
#include "foundation/store/usersettings.h"
#include "foundation/store/xmlsettings.h"
#include "platform/preferences.h"
#include "platform/uniquefd.h"

namespace {

namespace fs = std::filesystem;

const char* const kUser = kCFPreferencesCurrentUser;

/// All user settings as "key=value" in the order of their keys.
std::string Settings(const char* user = kUser, const char* application = "LZorvex") {
  std::string text;
  const CFArrayRef keys = CFPreferencesCopyKeyList(application, user, kCFPreferencesCurrentHost);
  for (const CFStringRef& key : *keys) {
    text += *key + "=" +
            *CFPreferencesCopyValue(key->c_str(), application, user, kCFPreferencesCurrentHost) +
            " ";
  }
  return text;
}

std::string Get(const char* section, const char* name, const char* defaultValue = "default") {
  char out[260];
  LStringLongTemplate<char> text;
  const bool isFound = _LUserSettingGetString(section, name, defaultValue, out);
  EXPECT_EQ(_LUserSettingGetString(section, name, defaultValue, text), isFound);
  EXPECT_EQ(std::string(text.Text()).substr(0, 259), out);
  EXPECT_EQ(LUserSettingTestExists(section, name), isFound);
  return text.Text();
}

class SettingsTest : public testing::Test {
 protected:
  SettingsTest() {
    // In memory where there is such a place: what is stored goes to the disk each time.
    std::string name = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    name += "/settings-XXXXXX";
    home_ = mkdtemp(name.data());
    setenv("HOME", home_.c_str(), 1);
    unsetenv("XDG_CONFIG_HOME");
    CFPreferencesSynchronize("LZorvex", kUser, kCFPreferencesCurrentHost);
  }
  ~SettingsTest() override {
    for (const char* section : {"A", "L", "R", "RS", "S", "P", "W", ""})
      LUserSettingDeleteSection(section);
    fs::remove_all(home_);
  }

  /// Keys without values of their own hold "v".
  static void Store(const std::vector<std::string>& keys, const char* user = kUser) {
    for (const std::string& key : keys)
      CFPreferencesSetValue(key.c_str(), "v", "LZorvex", user, kCFPreferencesCurrentHost);
  }
  /// What a process that starts now would find.
  static void Reload() {
    setenv("HOME", (std::string(getenv("HOME")) + "/.").c_str(), 1);
    CFPreferencesSynchronize("LZorvex", kUser, kCFPreferencesCurrentHost);
  }

  fs::path home_;
};

TEST_F(SettingsTest, ItemsAreFiledUnderTheirKeys) {
  const std::string longText(600, 'x'), text510(510, 'x');
  const struct {
    const char *section, *name, *value;
    std::string stored;
  } rows[] = {
      {"A", "b", "1", "A/b=1"},
      {"A/", "c", "2", "A/c=2"},
      {"A//", "d", "", "A//d="},
      {"", "e", "3", "/e=3"},
      {"/", "f", "4", "/f=4"},
      {nullptr, nullptr, nullptr, "/="},
      {"A/x", "\xc3\xa9", "\xe4\xb8\x80", "A/x/\xc3\xa9=\xe4\xb8\x80"},
      {"A", "\xff", "in\xff valid", "A/=in"},
      {"A", "cut \xf0\x9f\x98\x80\xff", "v", "A/cut \xef\x98\x80=v"},
      {longText.c_str(), "n", "v", longText.substr(0, 519) + "=v"},
      {text510.c_str(), longText.c_str(), "v", text510 + "/" + longText.substr(0, 8) + "=v"},
      {"long", "value", longText.c_str(), "long/value=" + longText},
  };
  for (const auto& row : rows) {
    EXPECT_TRUE(LUserSettingSetString(row.section, row.name, row.value));
    Reload();
    EXPECT_EQ(Settings(), row.stored + " ");
    EXPECT_EQ(Get(row.section, row.name), row.stored.substr(row.stored.rfind('=') + 1));
    EXPECT_EQ(LUserSettingTestKeyExists(row.stored.substr(0, row.stored.rfind('=')).c_str()), true);
    LUserSettingDeleteItem(row.section, row.name);
    EXPECT_EQ(Settings(), "");
    EXPECT_EQ(Get(row.section, row.name), "default");
    EXPECT_EQ(Get(row.section, row.name, nullptr), "");
  }
  char value[260] = "the default itself";
  EXPECT_FALSE(_LUserSettingGetString("no", "such", value, value));
  EXPECT_STREQ(value, "the default itself");
  EXPECT_FALSE(LUserSettingTestKeyExists("A"));
}

TEST_F(SettingsTest, WideTextIsTheSameItemInUtf8) {
  wchar_t out[260];
  for (const std::wstring& text :
       {std::wstring(), std::wstring(300, L'\x4e00'), std::wstring(L"a\xe9\x1f600")}) {
    EXPECT_TRUE(LSettingSetUnicodeString("W", "n", text.c_str()));
    EXPECT_TRUE(LSettingGetUnicodeString("W", "n", L"default", out));
    EXPECT_EQ(out, text.substr(0, 259));
  }
  EXPECT_EQ(Get("W", "n"), "a\xc3\xa9\xf0\x9f\x98\x80");
  EXPECT_FALSE(LSettingGetUnicodeString("W", "no", L"default", out));
  EXPECT_STREQ(out, L"default");
}

TEST_F(SettingsTest, PasswordsAreEncipheredInUserAndSharedSettings) {
  for (const std::string& password : {std::string("x"), std::string("a longer one"),
                                      std::string(100, 'p'), std::string(250, 'q')}) {
    LStringLongTemplate<char> stored;
    LSettingEncrypt(stored, password.c_str());
    EXPECT_TRUE(LUserSettingSetPassword("P", "n", password.c_str()));
    LSharedSettingSetPassword("P", "n", password.c_str());
    EXPECT_EQ(Get("P", "__n"), stored.Text());
    char out[260];
    EXPECT_TRUE(LUserSettingGetPassword("P", "n", "default", out));
    EXPECT_EQ(out, password);
    EXPECT_TRUE(LSharedSettingGetPassword("P", "n", "default", out));
    EXPECT_EQ(out, password);
    LUserSettingDeleteItem("P", "n");
    LSharedSettingDeleteItem("P", "n");
    // The default makes no difference.
    EXPECT_FALSE(LUserSettingGetPassword("P", "n", "default", out));
    EXPECT_STREQ(out, "");
    std::strcpy(out, "old");
    EXPECT_FALSE(LSharedSettingGetPassword("P", "n", "default", out));
    EXPECT_STREQ(out, "");
  }
  LUserSettingSetPassword("P", "n", "");
  EXPECT_EQ(Settings(), "P/__n= ");
}

TEST_F(SettingsTest, SectionsGoWithAllThatIsInThem) {
  const struct {
    const char *section, *left;
  } rows[] = {{"A", "/n=v AB/c=v B/A/n=v "},
              {"a/", "/n=v AB/c=v B/A/n=v "},
              {"A/x", "/n=v A/=v A/b=v AB/c=v B/A/n=v a/y=v "},
              {"", "A/=v A/b=v A/x/y=v AB/c=v B/A/n=v a/y=v "},
              {"A/b", "/n=v A/=v A/b=v A/x/y=v AB/c=v B/A/n=v a/y=v "}};
  for (const auto& row : rows) {
    Store({"A/", "A/b", "A/x/y", "a/y", "AB/c", "B/A/n", "/n"});
    LUserSettingDeleteSection(row.section);
    Reload();
    EXPECT_EQ(Settings(), row.left) << row.section;
  }
}

TEST_F(SettingsTest, ParentsAreMadeWhereTheyAreMissing) {
  const struct {
    const char *path, *stored;
  } rows[] = {{"R", ""},
              {"R/S", "R/=R "},
              {"R/S/", "R/=R R/S/=S "},
              {"R/S/f", "R/=R R/S/=S "},
              {"//R///S//f", "//R/=R //R///S/=S "},
              {"///", ""},
              {"", ""},
              {"made/x/y", "made/=v made/x/=x "}};
  for (const auto& row : rows) {
    if (std::strncmp(row.path, "made", 4) == 0) Store({"made/"});
    _LSettingMakeParentKeyPath(kUser, row.path);
    Reload();
    EXPECT_EQ(Settings(), row.stored) << row.path;
    for (const char* section : {"R", "", "made"})
      LUserSettingDeleteSection(section);
  }
  const char* const names[][2] = {{"A/Main/", "Main"}, {"A/Main", "Main"}, {"Main", "Main"},
                                  {"A//", ""},         {"/", ""},          {"", ""}};
  for (const auto& [path, name] : names) {
    char out[260];
    _LSettingMakePrimaryKeyFromPath(path, out);
    EXPECT_STREQ(out, name);
  }
}

TEST_F(SettingsTest, RecordsAreFoundAndWalkedOver) {
  Store({"R/", "R/S/", "r/T/f", "R/item", "R/Zeta", "r/alpha/x/y", "R/U/V/w", "RS/x", "/top"});
  const struct {
    const char *path, *name, *found;
  } finds[] = {{"R", "", "R/S/:S R/Zeta:Zeta R/item:item "},
               {"R/", nullptr, "R/S/:S R/Zeta:Zeta R/item:item "},
               {"r", "s", "R/S/:S "},
               {"R", "T", "r/T/f:f "},
               {"R", "alpha", ""},
               {"R", "U", ""},
               {"R/U", "v", "R/U/V/w:w "},
               {"", "", "/top:top "},
               {"none", "", ""}};
  const CFArrayRef keys = CFPreferencesCopyKeyList("LZorvex", kUser, kCFPreferencesCurrentHost);
  for (const auto& row : finds) {
    std::string found;
    char name[260] = "";
    for (std::size_t i = 0; _LSettingFindRecord(kUser, name, i, row.path, row.name); ++i)
      found += *(*keys)[i] + ":" + name + " ";
    EXPECT_EQ(found, row.found) << row.path;
  }
  Store({"L/" + std::string(400, 'x')});
  const std::map<const char*, std::string> walks = {
      {"R", "alpha item S T U Zeta "},   {"r/u/", "V "}, {"R/S", ""}, {"", "L R RS "}, {"none", ""},
      {"L", std::string(259, 'x') + " "}};
  for (const auto& [path, expected] : walks) {
    std::string walked;
    char name[260] = "";
    while (_LSettingPlistGetNextKey(kUser, path, name, name))
      walked += name + std::string(" ");
    EXPECT_EQ(walked, expected) << path;
    EXPECT_STREQ(name, "");
  }
  const std::map<const char*, bool> contents = {{"r", true},    {"R/S", false},  {"R/T/", true},
                                                {"R/U", true},  {"R/S/", false}, {"R/item", false},
                                                {"none", false}};
  for (const auto& [path, hasValue] : contents)
    EXPECT_EQ(_LSettingTestKeyHasValue(kUser, path), hasValue) << path;
}

TEST_F(SettingsTest, RenamingMovesWhatIsInARecord) {
  const struct {
    const char *path, *newKey, *newPath, *stored;
  } rows[] = {
      {"A/Main/", "New", "A/New", "A/=v A/Main2/g=v A/New/=New A/New/f=v A/New/h/i=v "},
      {"a/mAIN/", "B/C", "a/B/C", "A/=v A/Main2/g=v a/B/C/=B/C a/B/C/f=v a/B/C/h/i=v "},
      // Without a separator at the end a sibling comes along.
      {"A/Main", "N", "A/N", "A/=v A/N//=v A/N//f=v A/N//h/i=v A/N/2/g=v "},
      {"A/Main/", "Main", "A/Main", "A/=v A/Main/=Main A/Main/f=v A/Main/h/i=v A/Main2/g=v "},
      {"A/Main/", "Main/h", "A/Main/h",
       "A/=v A/Main/h/=Main/h A/Main/h/f=v A/Main/h/h/i=v A/Main2/g=v "},
      {"A/", "New", "", nullptr},
      {"A/Main/", "", "", nullptr},
      {"A/none/", "New", "A/New", nullptr},
  };
  for (const auto& row : rows) {
    LUserSettingDeleteSection("A");
    Store({"A/", "A/Main/", "A/Main/f", "a/main/h/i", "A/Main2/g"});
    const std::string before = Settings();
    char newPath[260] = "old";
    EXPECT_EQ(_LSettingChangePrimaryKey(kUser, row.path, row.newKey, newPath), *row.newPath != 0);
    EXPECT_STREQ(newPath, row.newPath);
    Reload();
    if (row.stored != nullptr) {
      EXPECT_EQ(Settings(), row.stored) << row.path << row.newKey;
    }
  }
}

TEST_F(SettingsTest, ARecordReadsAndWritesItsItems) {
  LSharedSettingsRecord record("S", "R/S");
  char out[260];
  EXPECT_TRUE(record.SetPassword("p", "as it is"));
  EXPECT_EQ(Settings(), "R/S/p=as it is ");
  EXPECT_TRUE(record.SetString("f", "1"));
  Reload();
  EXPECT_EQ(Settings(), "R/=R R/S/f=1 R/S/p=as it is ");
  LStringLongTemplate<char> text;
  EXPECT_TRUE(record.GetString("f", "x", text) && record.GetString("f", "x", out));
  EXPECT_TRUE(record.GetString("f", out) && record.GetPassword("p", "x", out));
  EXPECT_EQ(std::string(out) + text.Text(), "as it is1");
  EXPECT_FALSE(record.GetString("none", out));
  EXPECT_STREQ(out, "");
  // By the primary key, not by the path.
  EXPECT_FALSE(record.TestFieldExists("f"));
  Store({"S/f"});
  EXPECT_TRUE(record.TestFieldExists("f"));
  record.DeleteField("f");
  EXPECT_EQ(Settings(), "R/=R R/S/f=1 R/S/p=as it is ");

  // A name for what does not exist yet, and then for what does.
  EXPECT_TRUE(record.SetPrimaryKey("T"));
  EXPECT_STREQ(record.primaryKey, "T");
  EXPECT_STREQ(record.keyPath, "R/S");
  LSharedSettingsRecord child("C", "R/S/C/");
  EXPECT_TRUE(child.SetString("g", "2"));
  EXPECT_EQ(Settings(), "R/=R R/S/=S R/S/C/=C R/S/C/g=2 R/S/f=1 R/S/p=as it is ");
  EXPECT_FALSE(record.SetPrimaryKey(""));
  EXPECT_STREQ(record.primaryKey, "T");
  EXPECT_TRUE(record.SetPrimaryKey("U"));
  EXPECT_STREQ(record.keyPath, "R/U");
  EXPECT_EQ(Settings(), "R/=R R/U/=U R/U/C/=C R/U/C/g=2 R/U/f=1 R/U/p=as it is ");
  EXPECT_FALSE(LSharedSettingsRecord("R", "R").SetPrimaryKey("top"));
  EXPECT_TRUE(record.TestSubRecordExists("c"));
  EXPECT_FALSE(record.TestSubRecordExists("D"));
  record.DeleteSubRecord("C");
  EXPECT_EQ(Settings(), "R/=R R/U/=U R/U/f=1 R/U/p=as it is ");
  record.DeleteRecord();
  EXPECT_EQ(Settings(), "R/=R ");

  LSharedSettingsRecord ofAll("S", "R/S", kCFPreferencesAnyUser);
  EXPECT_TRUE(ofAll.SetString("f", "all"));
  EXPECT_EQ(Settings(kCFPreferencesAnyUser) + Settings(), "R/=R R/S/f=all R/=R ");
  EXPECT_TRUE(LUserSettingTestKeyFullPathExists(kCFPreferencesAnyUser, "R/S/f"));
  EXPECT_FALSE(LUserSettingTestKeyExists("R/S/f"));
}

TEST_F(SettingsTest, OtherApplicationsHaveTheirOwn) {
  LStringLongTemplate<char> domain;
  LSettingGetCFPreferencesApplicationKeyLongForApplication(domain, "MixIT \xc3\x89");
  EXPECT_STREQ(domain.Text(), "com.vantrel.mixit \xc3\x89");
  EXPECT_TRUE(LSettingForApplicationSetBool("MixIT", "S", "on", true));
  EXPECT_TRUE(LSettingForApplicationSetBool("mixit", "S", "off", false));
  EXPECT_TRUE(LSettingForApplicationSetString("MIXIT", "S/", "text", "words"));
  EXPECT_EQ(Settings(kUser, "com.vantrel.mixit"), "S/off=0 S/on=1 S/text=words ");
  EXPECT_TRUE(fs::exists(home_ / ".config/zorvex/com.vantrel.mixit.sqlite"));
  char out[260];
  EXPECT_TRUE(LSettingForApplicationGetString("Mixit", "S", "text", "default", out));
  EXPECT_STREQ(out, "words");
  EXPECT_FALSE(LSettingForApplicationGetString("other", "S", "text", "default", out));
  EXPECT_STREQ(out, "default");
}

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

TEST_F(SettingsTest, XmlSettingsAreTextThatPeopleCanEdit) {
  LSharedSettingSetString("Network", "Proxy", "on");
  char folder[260];
  LStringLongTemplate<char> text;
  const fs::path shared = home_ / "Library/Application Support/LZorvex/Shared/SharedSettings.xml";
  EXPECT_EQ(ReadFile(shared), "<Network>\n\t<Proxy value=\"on\"/>\n</Network>\n");
  std::ofstream(shared)
      << "<!-- mine --><Network><Proxy/><P value='a&amp;b\"' x='y'/><P value='2'/>"
         "</Network><Network><Q value='q'/></Network><Empty/>";
  EXPECT_FALSE(_LSharedSettingGetString("Network", "Proxy", "default", text));
  EXPECT_STREQ(text.Text(), "default");
  EXPECT_TRUE(_LSharedSettingGetString("Network", "P", "", folder));
  EXPECT_STREQ(folder, "a&b\"");
  EXPECT_TRUE(LSharedSettingTestExists("Network", "Proxy"));
  EXPECT_FALSE(LSharedSettingTestExists("Network", "Q"));
  EXPECT_TRUE(LSharedSettingTestKeyExists("Empty"));
  EXPECT_FALSE(LSharedSettingTestKeyExists("network"));
  LSharedSettingSetPassword("Network", "P", "x");
  LSharedSettingSetString("Network", "P", "<3>");
  EXPECT_NE(ReadFile(shared).find("<P value=\"&lt;3&gt;\" x=\"y\"/>\n\t<P value=\"2\"/>\n\t<__P "),
            std::string::npos);
  LSharedSettingDeleteItem("Network", "P");
  LSharedSettingDeleteItem("None", "P");
  EXPECT_EQ(ReadFile(shared),
            "<!-- mine -->\n<Network>\n\t<Proxy/>\n</Network>\n<Network>\n\t"
            "<Q value=\"q\"/>\n</Network>\n<Empty/>\n");
  LSharedSettingDeleteSection("Network");
  EXPECT_EQ(ReadFile(shared), "<!-- mine -->\n<Empty/>\n");

  // While another process writes it, and when it cannot be opened, it stays as it is.
  const UniqueFd locked(open(shared.c_str(), O_RDONLY));
  flock(locked.Get(), LOCK_SH);
  LSharedSettingSetString("Network", "Proxy", "off");
  EXPECT_EQ(ReadFile(shared), "<!-- mine -->\n<Empty/>\n");
  LXMLSettingSetString((home_ / "no/such.xml").c_str(), "a", "b", "c");
  EXPECT_FALSE(fs::exists(home_ / "no"));
}

TEST_F(SettingsTest, HiddenSettingsStartAnewWhereTheFileIsBroken) {
  const fs::path hidden = home_ / ".vantrel/LZorvex.xml";
  const std::string longValue(300, 'x');
  const std::map<std::string, std::string> contents = {
      {"", ""}, {"no XML", "no XML"}, {"\xff\xfe\n", ""}, {"<a", "<a/>\n"}};
  for (const auto& [content, kept] : contents) {
    char out[260];
    EXPECT_FALSE(_LUserHiddenSettingGetString("S", "n", "default", out));
    EXPECT_STREQ(out, "default");
    EXPECT_TRUE(fs::exists(home_ / ".vantrel"));
    std::ofstream(hidden) << content;
    EXPECT_FALSE(_LUserHiddenSettingGetString("S", "n", nullptr, out));
    LUserHiddenSettingSetString("S", "n", longValue.c_str());
    EXPECT_EQ(ReadFile(hidden), (kept + "<S>\n\t<n value=\"").append(longValue + "\"/>\n</S>\n"));
    EXPECT_TRUE(_LUserHiddenSettingGetString("S", "n", "default", out));
    EXPECT_EQ(out, longValue.substr(0, 259));
    fs::remove_all(home_ / ".vantrel");
  }
}

}  // namespace
