// SPDX-License-Identifier: MIT
//
// Copies a file on a thread of its own, shows how far it is, and counts the copies in a settings
// file beside the copy:  backup FILE COPY
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <string>

#include <zorvex/foundation.h>

namespace {

class Backup : public LThread {
 public:
  Backup(const char* from, const char* to)
      : from_(open(from, O_RDONLY | O_CLOEXEC)),
        to_(open(to, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {}
  ~Backup() override {
    StopThreadNow();
    close(from_);
    close(to_);
  }
  Backup(const Backup&) = delete;
  Backup& operator=(const Backup&) = delete;

  /// Waits for the end, at most so many milliseconds.
  bool HasEnded(unsigned int timeout) const { return ended_.WaitSignal(timeout); }
  int Percent() const { return percent_; }
  bool Succeeded() const { return succeeded_; }

 private:
  void ThreadFunction() override {
    struct stat status {};
    if (fstat(from_, &status) == 0) {
      std::string contents(static_cast<std::size_t>(status.st_size), '\0');
      LReadFileRef reader(from_);
      LWriteFileRef writer(to_);
      LProcessInterfaceSubProcess firstHalf(*this, 0, 0.5);
      LProcessInterfaceSubProcess secondHalf(*this, 0.5, 0.5);
      // 0 is done, 1 stopped, 2 failed. Both look whether the thread is to stop.
      succeeded_ = LProcessFileRead(firstHalf, reader, contents.data(), contents.size()) == 0 &&
                   LProcessFileWrite(secondHalf, writer, contents.data(), contents.size()) == 0;
    }
    ended_.Signal();
  }
  void SetProgress(double fraction) override { percent_ = static_cast<int>(fraction * 100); }

  int from_;
  int to_;
  std::atomic<int> percent_ = 0;
  std::atomic<bool> succeeded_ = false;
  LSignalObject ended_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    tprintf("usage: backup FILE COPY\n");
    return 2;
  }
  Backup backup(argv[1], argv[2]);
  backup.Start(0);
  while (!backup.HasEnded(100))
    tprintf("%d %%\n", backup.Percent());
  if (!backup.Succeeded()) return 1;

  char settingsPath[260];
  LFile::_ApplyNewFileExtension(settingsPath, argv[2], ".dat");
  const LDatFile settings(settingsPath);
  settings.SetLong("Backup", "Copies", settings.GetLong("Backup", "Copies", 0) + 1);
  const LDateTime now = std::time(nullptr);
  LStringShortTemplate<char> when;
  now.GetDateTime(when.Buffer());
  LDatFileSetValue(settingsPath, "Backup", "Last", when);
  tprintf("%s: copy %d of %s\n", argv[2], static_cast<int>(settings.GetLong("Backup", "Copies", 0)),
          argv[1]);
  return 0;
}
