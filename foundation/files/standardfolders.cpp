// SPDX-License-Identifier: MIT
#include "platform/standardfolders.h"

#include "foundation/files/file.h"
#include "foundation/files/pathtext.h"
#include "foundation/system/application.h"

namespace {

constexpr char kApplicationName[] = "LZorvex";
constexpr char kMakerName[] = "Vantrel";

/// False when the folder was there, or could not be made: nobody is told of that.
bool CreateMissingFolder(const char* path) {
  return !LFile::TestFolderExists(path) && LFile::CreateFolderTree(path);
}

void CreateMissingFolderForAll(const char* path) {
  if (CreateMissingFolder(path)) LFile::SetFolderSecurityAllAccess(path);
}

/// Only a folder formed here, under the home folder, is made when it is missing: where the platform
/// says that one is, it is the platform's.
void GetStandardFolder(char* dest, StandardFolder folder, const char* underHome) {
  if (NSSearchPathForDirectory(folder, dest)) return;
  NSHomeDirectory(dest);
  LFile::_MakeFilePath(dest, dest, underHome, "");
  CreateMissingFolder(dest);
}

}  // namespace

void LFile::GetUserFolder(char* dest) {
  NSHomeDirectory(dest);
}

void LFile::GetUserDataFolder(char* dest) {
  GetStandardFolder(dest, StandardFolder::ApplicationSupport, "Library/Application Support");
}

void LFile::GetSharedDataFolder(char* dest) {
  GetUserDataFolder(dest);
}

void LFile::GetUserDataFolderApp(char* dest) {
  GetUserDataFolder(dest);
  _MakeFilePath(dest, dest, kApplicationName, "");
  CreateMissingFolder(dest);
}

void LFile::GetUserDataFolderAppSubFolder(const char* sub, char* dest) {
  char folder[kPathSize];
  GetUserDataFolderApp(folder);
  _MakeFilePath(dest, folder, sub, "");
  CreateMissingFolder(dest);
}

void LFile::GetSharedDataFolderApp(char* dest) {
  GetUserDataFolderAppSubFolder("Shared", dest);
}

void LFile::GetSharedDataFolderAppSubFolder(const char* sub, char* dest) {
  char folder[kPathSize];
  GetSharedDataFolderApp(folder);
  _MakeFilePath(dest, folder, sub, "");
  CreateMissingFolderForAll(dest);
}

void LFile::GetSharedDataFolderAppNoWarn(char* dest) {
  GetSharedDataFolder(dest);
  for (const char* const name : {kMakerName, kApplicationName}) {
    _MakeFilePath(dest, dest, name, "");
    CreateMissingFolderForAll(dest);
  }
}

void LFile::GetTempFolder(char* dest) {
  GetStandardFolder(dest, StandardFolder::Caches, "Library/Caches");
}

void LFile::GetApplicationsFolder(char* dest) {
  // Not under the home folder, and so never made.
  if (!NSSearchPathForDirectory(StandardFolder::LocalApplications, dest)) {
    CopyPath(dest, "/Applications");
  }
}

void LFile::GetHelpFolder(char* dest) {
  LApplicationGetResourceFolder(dest);
  _MakeFilePath(dest, dest, "help", "");
}

void LFile::GetUserMusicFolder(char* dest) {
  GetStandardFolder(dest, StandardFolder::Music, "Music");
}

void LFile::GetUserVideoFolder(char* dest) {
  GetStandardFolder(dest, StandardFolder::Movies, "Movies");
}

void LFile::GetUserPicturesFolder(char* dest) {
  GetStandardFolder(dest, StandardFolder::Pictures, "Pictures");
}

void LFile::GetUserApplicationsFolder(char* dest) {
  GetStandardFolder(dest, StandardFolder::Applications, "Applications");
}

void LFile::GetUserDocumentsFolder(char* dest) {
  GetStandardFolder(dest, StandardFolder::Documents, "Documents");
}

void LFile::GetUserDesktopFolder(char* dest) {
  GetStandardFolder(dest, StandardFolder::Desktop, "Desktop");
}

void LFile::GetUserDownloadFolder(char* dest) {
  GetStandardFolder(dest, StandardFolder::Downloads, "Downloads");
}
