#include "standalone/rasters/publication.h"

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {
namespace fs = std::filesystem;
namespace {

constexpr const char* kPrefix = ".lumomixcalc-";

int OpenFolder(const fs::path& path) {
  return open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

// Whether the open folder is still the one of that name.
bool IsStill(const fs::path& path, int folder) {
  struct stat named = {};
  struct stat opened = {};
  return lstat(path.c_str(), &named) == 0 && fstat(folder, &opened) == 0 &&
         named.st_ino == opened.st_ino && named.st_dev == opened.st_dev;
}

// Removes the folders that killed runs left in parent. Where locks do not work none is removed.
void RemoveLeavings(const fs::path& parent) {
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(parent, ignored)) {
    if (!entry.path().filename().string().starts_with(kPrefix)) continue;
    const int folder = OpenFolder(entry.path());
    if (folder < 0) continue;
    if (flock(folder, LOCK_EX | LOCK_NB) == 0) fs::remove_all(entry.path(), ignored);
    close(folder);
  }
}

// Holds a lock on a folder for as long as it lives, where there are locks.
class FolderLock {
 public:
  explicit FolderLock(const fs::path& path) : folder_(OpenFolder(path)) {
    if (folder_ >= 0) flock(folder_, LOCK_EX);
  }
  ~FolderLock() {
    if (folder_ >= 0) close(folder_);
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  int folder_;
};

// Renames without replacing anything, as far as the file system can promise that. Returns 0 or an
// error number.
int RenameToNew(const fs::path& from, const fs::path& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  if (fs::exists(fs::symlink_status(to))) return EEXIST;
  return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

void KeepPermissions(const fs::path& of, const fs::path& to) {
  struct stat old = {};
  if (stat(of.c_str(), &old) != 0) return;
  // Owner and group as far as the user may give them; then the mode, which giving them can change.
  if (chown(to.c_str(), old.st_uid, old.st_gid) != 0 && errno != EPERM) return;
  chmod(to.c_str(), old.st_mode & 07777);
}

}  // namespace

TemporaryFolder::TemporaryFolder(const fs::path& target) : target_(target) {
  const fs::path parent = target.has_parent_path() ? target.parent_path() : ".";
  RemoveLeavings(parent);
  // A run that starts at the same time may take the folder for a leaving before it is locked, even
  // before it is opened.
  bool gone = false;
  do {
    if (lock_ >= 0) close(lock_);
    Make(parent);
    lock_ = OpenFolder(path_);
    if (lock_ >= 0) flock(lock_, LOCK_EX);
    std::error_code ignored;
    gone = lock_ >= 0 ? !IsStill(path_, lock_) : !fs::exists(path_, ignored);
  } while (gone);
}

void TemporaryFolder::Make(const fs::path& parent) {
  std::string pattern = (parent / (std::string(kPrefix) + "XXXXXX")).string();
  if (!mkdtemp(pattern.data()))
    throw Failure("cannot write " + target_.string() + ": in the folder " + parent.string() +
                  " nothing can be made: " + std::strerror(errno));
  path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
  if (lock_ >= 0) close(lock_);
}

// "o.tif.aux.xml" can only be a leaving of an "o.tif" that is gone.
bool TemporaryFolder::ContinuesTarget(const fs::path& name) const {
  return name != target_.filename() && name.string().starts_with(target_.filename().string());
}

void TemporaryFolder::CheckNames(const std::vector<fs::path>& names, bool replace) const {
  const fs::path parent = path_.parent_path();
  for (const fs::path& name : names) {
    const fs::file_status there = fs::symlink_status(parent / name);
    if (fs::is_directory(there))
      throw Failure((target_.parent_path() / name).string() +
                    " is a folder; the output needs this name for a file");
    if (!replace && !ContinuesTarget(name) && fs::exists(there))
      throw Failure((target_.parent_path() / name).string() +
                    " exists already; -overwrite replaces it");
  }
}

void TemporaryFolder::Publish(bool replace) {
  const fs::path parent = path_.parent_path();
  std::vector<fs::path> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(path_))
    names.push_back(entry.path().filename());
  std::partition(names.begin(), names.end(),
                 [this](const fs::path& name) { return name != target_.filename(); });

  const FolderLock oneAtATime(parent);
  CheckNames(names, replace);
  for (std::size_t i = 0; i < names.size(); ++i) {
    const fs::path from = path_ / names[i];
    const fs::path to = parent / names[i];
    KeepPermissions(to, from);
    const bool mayReplace = replace || ContinuesTarget(names[i]);
    const int error =
        mayReplace ? (rename(from.c_str(), to.c_str()) == 0 ? 0 : errno) : RenameToNew(from, to);
    if (error == 0) continue;
    // What was moved comes back, to be removed with this folder.
    for (std::size_t moved = 0; moved < i && !replace; ++moved)
      rename((parent / names[moved]).c_str(), (path_ / names[moved]).c_str());
    throw Failure("cannot give " + (target_.parent_path() / names[i]).string() +
                  " its name: " + std::strerror(error));
  }
}

}  // namespace lumomixcalc::standalone
