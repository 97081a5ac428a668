// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TESTS_SUPPORT_FOLDERTEST_H
#define ZORVEX_TESTS_SUPPORT_FOLDERTEST_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

/// Has a folder of its own as long as it runs.
class FolderTest : public testing::Test {
 protected:
  explicit FolderTest(const std::string& within = "/tmp") {
    std::string name = within + "/zorvex-test-XXXXXX";
    root_ = mkdtemp(name.data());
  }
  ~FolderTest() override { std::filesystem::remove_all(root_); }

  /// Writes a file there, and the folders on its way.
  std::filesystem::path Write(const std::filesystem::path& path, const std::string& text,
                              bool isProgram = false) const {
    std::filesystem::create_directories((root_ / path).parent_path());
    std::ofstream(root_ / path, std::ios::binary) << text;
    if (isProgram) std::filesystem::permissions(root_ / path, std::filesystem::perms::all);
    return root_ / path;
  }

  std::filesystem::path root_;
};

#endif  // ZORVEX_TESTS_SUPPORT_FOLDERTEST_H
