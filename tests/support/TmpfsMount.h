#pragma once

#include <sys/mount.h>

#include <string>

// A file system in memory on an empty folder, gone with the object though files of it are still open. False
// where the test may not mount.
class TmpfsMount {
public:
  TmpfsMount(const std::string& folder, unsigned long flags, const char* size)
      : fFolder(folder), fbMounted(mount("tmpfs", folder.c_str(), "tmpfs", flags, size) == 0) {}
  ~TmpfsMount() {
    if (fbMounted) umount2(fFolder.c_str(), MNT_DETACH);
  }
  TmpfsMount(const TmpfsMount&) = delete;
  TmpfsMount& operator=(const TmpfsMount&) = delete;

  explicit operator bool() const { return fbMounted; }

private:
  std::string fFolder;
  bool fbMounted;
};
