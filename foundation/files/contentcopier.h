// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_CONTENTCOPIER_H
#define ZORVEX_FOUNDATION_FILES_CONTENTCOPIER_H

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>

/// Copies the content of a regular file into an empty one, piece by piece. The system does it where
/// it can; else the bytes go through a buffer. What the source does not store, since it is zeros,
/// the copy does not store either. Borrows the descriptors, and may move the source's offset.
class ContentCopier {
 public:
  ContentCopier(int from, int to, const struct stat& source);

  /// Copies the next bytes. Fewer than `count` when the source ends before, with `errno` 0, or when
  /// one of the files fails, with the reason in `errno`.
  std::size_t Copy(std::size_t count);

  /// Copies all that the source holds, also what comes to it meanwhile. Only as the first and last
  /// call. False with the reason in `errno`.
  bool CopyAll();

  /// After the last piece: gives the copy its whole size, which zeros at its end may have left out.
  /// False with the reason in `errno`.
  [[nodiscard]] bool Finish() const;

 private:
  void FindData();
  ssize_t CopySome(std::size_t count);
  ssize_t CopyThroughBuffer(std::size_t count);

  int from_;
  int to_;
  off_t offset_ = 0;
  off_t size_;
  // Between offset_ and dataBegin_ nothing is stored. At dataEnd_ it has to be asked again.
  off_t dataBegin_ = 0;
  off_t dataEnd_;
  bool isCopiedBySystem_ = true;
};

#endif  // ZORVEX_FOUNDATION_FILES_CONTENTCOPIER_H
