// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_FOLDERDESCENT_H
#define ZORVEX_FOUNDATION_FILES_FOLDERDESCENT_H

#include <string>
#include <vector>

#include "foundation/files/folderhandle.h"
#include "platform/folderidentity.h"

/// Where somebody stands who deletes a tree: the folders from its root down to the one that he
/// works in. Trees may be of any depth: beyond 32 folders only the root and the lowest ones stay
/// open, fewer when descriptors run out (three are needed), and the way back up leads through "..",
/// which is trusted when it is the folder that the way down came through.
///
/// No link is followed below the root, and nothing that is mounted there is entered: it could not
/// be removed in the end, and what is on another volume was hardly meant. One thread at a time;
/// throws std::bad_alloc.
class FolderDescent {
 public:
  enum class Entry {
    kDone,
    kNoFolder,  ///< there is none of that name; it may be a file or a link
    kClosed,    ///< it cannot be opened, or is mounted
  };

  /// Comes first. `path` may be mounted, and a link only when a separator ends it. The system's
  /// root folder is kNoFolder: nobody deletes that.
  Entry EnterRoot(const char* path);
  /// Goes down into a folder of the current one.
  Entry Enter(const char* name);
  /// Goes back up into the folder above. When somebody else has moved or removed a folder on the
  /// way there, that may be a higher one: see Depth.
  void Leave();

  /// The number of folders from the root to the current one: 1 in the root.
  [[nodiscard]] std::size_t Depth() const { return levels_.size(); }
  /// Not for keeping while going up and down. When the folder was closed meanwhile, its entries
  /// begin anew.
  FolderHandle& Current() { return levels_.back().handle; }
  /// The descriptor of the current folder.
  [[nodiscard]] int Descriptor() const { return levels_.back().handle.Descriptor(); }
  /// Of the current folder; empty in the root.
  [[nodiscard]] const std::string& Name() const { return levels_.back().name; }

 private:
  struct Level {
    FolderHandle handle;  ///< empty while it is closed
    FolderIdentity identity;
    std::string name;
  };

  FolderHandle OpenWithRoom(const char* name);
  bool CloseHighest();
  void FindAgain();

  std::vector<Level> levels_;
  std::size_t firstOpen_ = 1;  ///< of the levels below the root
};

#endif  // ZORVEX_FOUNDATION_FILES_FOLDERDESCENT_H
