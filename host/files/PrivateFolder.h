#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "host/files/FileDescriptor.h"

// PrivateFolder is a hidden folder beside a file that is being written, for its helpers. Other accounts may
// write into the folder around it, so its name can't be guessed, nobody else may enter it, and it is opened
// once: its files are named by way of the open folder, so that they stay in it even if somebody moves it away
// and puts a link or another folder under its name.
//
// A killed process can't remove its folder. So a process that makes one writes its key where the next run will
// find it, see FileLock, and that run removes the folder.
//
// Ownership:  owns the folder and all that is put into it; both go with the object, unless it was told to
// leave
//             them.
// Failures:   null or false, with the system's reason in `why`.
class PrivateFolder {
public:
  // What the name of a folder beside `target` is made from, from the system's random source; "" without one.
  static std::string MakeKey();
  // Makes the folder "dir/.name.svselect-KEY" for the target "dir/name".
  static std::unique_ptr<PrivateFolder> Make(const std::string& target, std::string_view key,
                                             std::string* why);
  // Whether a text can be a key.
  static bool IsKey(std::string_view text);
  // Opens the folder that a killed run left. `folder` stays closed if the folder doesn't exist, or if its name
  // belongs to something else: a link, or anything but a folder of this account.
  // Failures: false, with the system's reason in `why`, when that can't be found out.
  static bool OpenLeft(const std::string& target, std::string_view key, FileDescriptor* folder,
                       std::string* why);
  // Removes the folder that a killed run left, and leaves alone what OpenLeft() doesn't open.
  static bool Remove(const std::string& target, std::string_view key, std::string* why);

  // Removes the folder with all that is in it; true also if it's gone already. Takes no memory that it can't
  // do without.
  bool Remove();
  // From now on the folder stays when the object goes.
  void Leave() { fbLeft = true; }
  ~PrivateFolder();
  PrivateFolder(const PrivateFolder&) = delete;
  PrivateFolder& operator=(const PrivateFolder&) = delete;

  // A path to a file in it, for this process.
  std::string PathOf(std::string_view name) const;
  // The open folder, for the calls that take one.
  int Get() const { return fFolder.Get(); }
  const FileDescriptor& Folder() const { return fFolder; }

private:
  explicit PrivateFolder(std::string path) : fPath(std::move(path)) {}

  std::string fPath;
  FileDescriptor fFolder;
  bool fbLeft = true;  // there is nothing to remove
};
