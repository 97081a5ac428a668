// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "foundation/files/file.h"
#include "foundation/files/filenames.h"

namespace {

/// What a function writes into a path buffer; fails when it writes behind its end.
template <class Function, class... Arguments>
std::string Written(Function function, const Arguments&... arguments) {
  std::array<char, 264> buffer;
  buffer.fill('#');
  function(buffer.data(), arguments...);
  EXPECT_EQ(std::string(buffer.begin() + 260, buffer.end()), "####");
  return buffer.data();
}

/// The same with the answer in front: "+" for true and "-" for false.
template <class Function, class... Arguments>
std::string Answered(Function function, const Arguments&... arguments) {
  bool answer = false;
  const std::string text = Written([&](char* dest) { answer = function(dest, arguments...); });
  return (answer ? "+" : "-") + text;
}

TEST(Paths, AreSplit) {
  const std::string longest(259, 'a'), longer = longest + "/" + longest + "bc.d";
  // The path, its folder, base folder, file, name and extension, and the path with extension ".x".
  const std::string cases[][7] = {
      {"/a/b", "/a", "/a", "b", "b", "", "/a/b.x"},
      {"a/b", "a", "a/b", "b", "b", "", "a/b.x"},
      {"/a", "/", "/a", "a", "a", "", "/a.x"},
      {"\\a", "", "\\a", "a", "a", "", "\\a.x"},
      {"\\a/b\\c.d", "\\a/b", "\\a", "c.d", "c", ".d", "\\a/b\\c.x"},
      {"//", "/", "/", "", "", "", "//.x"},
      {"a/", "a", "a", "", "", "", "a/.x"},
      {"/Volumes/Disk/x", "/Volumes/Disk", "/Volumes", "x", "x", "", "/Volumes/Disk/x.x"},
      {"C:\\x", "C:", "C:", "x", "x", "", "C:\\x.x"},
      {"/a.b/c", "/a.b", "/a.b", "c", "c", "", "/a.b/c.x"},
      {"/a/c.tar.gz", "/a", "/a", "c.tar.gz", "c.tar", ".gz", "/a/c.tar.x"},
      {"/a/.b", "/a", "/a", ".b", ".b", ".b", "/a/.x"},
      {".b", "", ".b", ".b", ".b", ".b", ".b.x"},
      {"x.", "", "x.", "x.", "x", ".", "x.x"},
      {longer, "", longest, longest, longest, ".d", longest}};
  for (const auto& [path, folder, baseFolder, file, name, extension, changed] : cases) {
    SCOPED_TRACE(path);
    EXPECT_EQ(Written(LFile::_GetFolderFromPath, path.c_str()), folder);
    EXPECT_EQ(Written(LFile::_GetBaseFolderFromPath, path.c_str()), baseFolder);
    EXPECT_EQ(Written(LFile::_GetFileFromPath, path.c_str()), file);
    EXPECT_EQ(Written(LFile::_GetFileNameFromPath, path.c_str()), name);
    EXPECT_EQ(Written(LFile::_GetFileExtensionFromPath, path.c_str()), extension);
    EXPECT_EQ(Written(LFile::_ApplyNewFileExtension, path.c_str(), ".x"), changed);
  }
}

TEST(Paths, AreComposed) {
  const std::string f256(256, 'f'), f258(258, 'f'), n258(258, 'n');
  // Folder, name and extension, the path of them, and the secure one.
  const std::string cases[][5] = {{"/a", "b", ".c", "/a/b.c", "/a/b.c"},
                                  {"/a/", "b", ".c", "/a/b.c", "/a/b.c"},
                                  {"a\\", "b", "", "a\\b", "a\\b"},
                                  {"", "b", ".c", "b.c", "b.c"},
                                  {"/a/../../b", "c", "", "/a/../../b/c", "b/c"},
                                  {"/v1.2/b/c", "d", "", "/v1.2/b/c/d", "2/b/c/d"},
                                  {"a", "b\\..\\c", "/../.d", "a/b\\..\\c/../.d", "a/c.d"},
                                  {"a", "b", ".x/y", "a/b.x/y", "a/by"},
                                  {"a", "..", "", "a/..", "a/"},
                                  {"", ".", ".", "..", ""},
                                  {f256, "..b", "", f256 + "/..", f256 + "/"},
                                  {f258 + "/../../..", "b", "", f258 + "/", f258 + "/"},
                                  {"..", n258 + "/../e", "", "../" + n258.substr(2), n258},
                                  {"", n258, ".e", n258 + ".", n258 + "."}};
  for (const auto& [folder, name, extension, path, securePath] : cases) {
    SCOPED_TRACE(path);
    EXPECT_EQ(Written(LFile::_MakeFilePath, folder.c_str(), name.c_str(), extension.c_str()), path);
    EXPECT_EQ(Written(LFile::_MakeFilePathSecure, folder.c_str(), name.c_str(), extension.c_str()),
              securePath);
  }
}

TEST(Paths, AreResolvedAgainstAFolder) {
  const std::string cases[][4] = {
      {"/a/b", "/c", ".d", "/c.d"},        {"/a/b", "\\c", "", "\\c"},
      {"/a/b", "c/d:e", "", "/a/b/c/d:e"}, {"/a/b", "c", ".d", "/a/b/c.d"},
      {"/a/b", "././../c", "", "/a/c"},    {"/a/b/", "../c", "", "/a/c"},
      {"/a/b", "..\\./../c", "", "/c"},    {"/a/b", "../../../c", "", "/c"},
      {"/a/b", ".c", "", "/a/b/.c"},       {"/a/b", "...", "/../x", "/a/b/.../../x"},
      {"/a/b", "..", "", "/a/b/.."},       {"", "", "", ""}};
  for (const auto& [folder, path, extension, expected] : cases) {
    EXPECT_EQ(Written(LFile::MakeAbsoluteFilePath, folder.c_str(), path.c_str(), extension.c_str()),
              expected);
  }
}

TEST(Paths, AreMadeRelative) {
  // From, to, the way between them, and the path of what is inside.
  const std::string cases[][4] = {{"/a/b", "/a/b/c", "c", "+c"},
                                  {"/a/b", "/a/x", "../x", "-"},
                                  {"/a/b", "/a/bc/d", "../c/d", "-"},
                                  {"/a/b", "/a/b", "../", "+"},
                                  {"/a/b/", "/a/b", "../", "+"},
                                  {"/a/b/c", "/x", "../../../x", "-"},
                                  {"\\a/b", "/a\\b/c", "c", "+c"},
                                  {"", "a", "../a", "-"},
                                  {"", "/a", "a", "+a"},
                                  {"/a", "", "../../", "-"},
                                  {"/a", "/a//b", "b", "+/b"},
                                  {"/a/b/c", "/a/b", "../../", "-"}};
  for (const auto& [from, to, way, inside] : cases) {
    SCOPED_TRACE(from);
    EXPECT_EQ(Written(LFile::MakeRelativeFolder, from.c_str(), to.c_str()), way);
    EXPECT_EQ(Written(LFile::MakeRelativeFilePath, from.c_str(), to.c_str()), way);
    EXPECT_EQ(Answered(LFile::GetRelativePathFromAbsolutePath, from.c_str(), to.c_str()), inside);
  }
}

TEST(Paths, AreShortenedForDisplay) {
  const std::string path = "/Volumes/Disk/x.mov!";  // of 20 characters
  const std::string long300(300, 'a');
  const std::pair<std::size_t, std::string> cases[] = {{21, path},
                                                       {20, "/Volumes...k/x.mov!"},
                                                       {11, "/Vol...ov!"},
                                                       {10, "/Vo...ov!"},
                                                       {5, "/..."},
                                                       {4, "..."},
                                                       {1, ""},
                                                       {0, ""}};
  for (const auto& [n, expected] : cases) {
    EXPECT_EQ(Written(LFile::CompactFilePath, path.c_str(), n), expected) << n;
  }
  EXPECT_EQ(Written(LFile::CompactFilePath, long300.c_str(), 301U), long300.substr(0, 259));
  EXPECT_EQ(Written(LFile::CompactFilePath, long300.c_str(), 300U),
            std::string(128, 'a') + "..." + std::string(128, 'a'));
}

TEST(Paths, AreEscapedForTheShell) {
  const auto escape = [](char* dest, const char* path) { LFile::EscapeFilePath(path, dest); };
  const std::string a258(258, 'a'), a257(257, 'a');
  EXPECT_EQ(Written(escape, "a`b\"c\\$d"), "a\\`b\\\"c\\$d");
  EXPECT_EQ(Written(escape, (a258 + "\"b").c_str()), a258);
  EXPECT_EQ(Written(escape, (a257 + "\"b").c_str()), a257 + "\\\"");
}

TEST(Paths, AreNumberedUntilOneIsFree) {
  std::string folder = std::filesystem::temp_directory_path() / "pathsXXXXXX";
  const std::string start = mkdtemp(folder.data()) + std::string("/");
  const std::string deep = start + std::string(200 - start.size(), 'd') + "/";
  const std::string deepest = deep + std::string(258 - deep.size() - 1, 'd') + "/";
  std::filesystem::create_directories(deepest);
  const std::string longName(259 - deep.size(), 'n');  // fills the buffer: its number needs room
  const std::string tries[][3] = {{start, "name", "name.txt"},
                                  {start, "name", "name_0.txt"},
                                  {start, "name", "name_1.txt"},
                                  {deep, longName, longName},
                                  {deep, longName, longName.substr(2) + "_0"},
                                  {deep, longName, longName.substr(2) + "_1"},
                                  {deepest, "n", "n"},
                                  {deepest, "n", "n"}};  // no room for a number
  for (const auto& [parent, name, expected] : tries) {
    const std::string path =
        Written(LFile::MakeUniqueOrderedFilePath, parent.c_str(), name.c_str(), ".txt");
    EXPECT_EQ(path, parent + expected);
    const std::ofstream file(path);
  }
  std::filesystem::remove_all(folder);
}

TEST(FileNames, AreValidated) {
  const auto validate = [](char* dest, const char* n) { return LFile::IsFileValid(n, dest); };
  const auto preprocess = [](char* dest, const char* n) { return LFile::PreprocessName(n, dest); };
  const std::string longest(259, 'a');
  struct {
    std::string name;
    unsigned int code;
    std::string message, preprocessed;
  } const cases[] = {{"a<b>|?*\"", 0, "", "a<b>|?*\""},
                     {" name ", 0, "", " name "},
                     {"na\xC3\xAFve\xFF.", 0, "", "na\xC3\xAFve\xFF."},
                     {longest, 0, "", longest},
                     {"", 1, "File name is blank. Please provide a file name.", ""},
                     {longest + "/", 2, "File name may be less than 260 characters long", longest},
                     {"..a.b", 4, "File name may not start with a period", "a.b"},
                     {":.a", 6, "File name may not contain characters < > : \" / \\ | ? *", "a"},
                     {"a\x1F:", 5, "File name may not contain control characters", "a"},
                     {"./\\:", 4, "File name may not start with a period", ""}};
  for (const auto& [name, code, message, preprocessed] : cases) {
    SCOPED_TRACE(name);
    EXPECT_EQ(LFileOrFolderNameValidate(name.c_str()), code);
    EXPECT_EQ(Answered(validate, name.c_str()), (code == 0 ? "+" : "-") + message);
    EXPECT_EQ(LFile::IsFileValid(name.c_str(), nullptr), code == 0);
    EXPECT_EQ(Answered(preprocess, name.c_str()),
              (preprocessed.empty() ? "-" : "+") + preprocessed);
  }
  EXPECT_FALSE(LFileNameIsReserved("CON"));
}

TEST(FileNames, OfFoldersAreValidatedInOrder) {
  const auto validate = [](char* dest, const char* f) { return LFile::IsFolderValid(f, dest); };
  const std::string longest = "/" + std::string(258, 'a');
  const std::string cases[][2] = {
      {"/", ""},
      {"/Users/x/", ""},
      {longest, ""},
      {"", "Folder must not be empty"},
      {longest + "b", "Folder must be less than 260 character long"},
      {std::string(260, ':'), "Folder must be less than 260 character long"},
      {"Users", "Folder must begin with /"},
      {"//", "Folder name must not be empty"},
      {"/Users//x", "Folder name must not be empty"},
      {"/a\\/x", "Folder name must not be empty"},
      {"/a/.b", "Folder name must not start with a period"},
      {"/a/b\n/:", "Folder name must not contain control characters"},
      {"/a:/\n", "Folder component must not contain character :"}};
  for (const auto& [folder, message] : cases) {
    SCOPED_TRACE(folder);
    EXPECT_EQ(Answered(validate, folder.c_str()), (message.empty() ? "+" : "-") + message);
    EXPECT_EQ(LFile::IsFolderValid(folder.c_str(), nullptr), message.empty());
  }
}

TEST(FileNames, ExtensionsAreFoundInEitherCase) {
  const char* const list[] = {".mov", "AVI", nullptr};
  EXPECT_TRUE(LIsFileExtensionInList(list, ".MOV"));
  EXPECT_TRUE(LIsFileExtensionInList(list, "avi"));
  EXPECT_FALSE(LIsFileExtensionInList(list, ".avi"));
  EXPECT_FALSE(LIsFileExtensionInList(list + 2, ""));
}

TEST(Sizes, AreShownInWholeUnits) {
  const auto format = [](char* dest, auto n) { LFile::GetSizeFormattedBytes(n, dest); };
  const std::pair<unsigned long long, const char*> cases[] = {
      {0, "0 Bytes"},         {1023, "1023 Bytes"},          {1024, "1 KB"},
      {1048575, "1023 KB"},   {(1ULL << 30) - 1, "1023 MB"}, {1ULL << 30, "1 GB"},
      {~0ULL, "16777215 TB"}, {(1ULL << 40) - 1, "1023 GB"}};
  for (const auto& [bytes, expected] : cases)
    EXPECT_EQ(Written(format, bytes), expected);
}

}  // namespace
