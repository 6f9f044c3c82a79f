#include "standalone/rasters/publication.h"

#include <cpl_conv.h>
#include <cpl_error.h>
#include <cpl_string.h>
#include <fcntl.h>
#include <gdal_priv.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <mutex>
#include <set>
#include <system_error>
#include <utility>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {
namespace fs = std::filesystem;
namespace {

fs::path ParentOf(const fs::path& path) {
  return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

// Whether there is a file, a folder or a link, even one that leads nowhere.
bool Exists(const fs::path& path) {
  std::error_code ignored;
  return fs::exists(fs::symlink_status(path, ignored));
}

// The hidden folders of this process. The mutex keeps them from being removed while files are moved
// out. Never destroyed: another thread may end the process after the end of main.
struct Folders {
  std::mutex mutex;
  std::set<fs::path> paths;
};
Folders& folders = *new Folders;

// Renames a file inside a file system. Unless `replaces` is set, it does not replace an existing
// file, as far as the file system can guarantee that. Returns 0 or an error number.
int Move(const fs::path& from, const fs::path& to, bool replaces) {
  if (!replaces) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    if (Exists(to)) return EEXIST;
  }
  return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

// Gives a new file the owner, group and permissions of the old one, as far as the system allows,
// without letting anybody read it who could not read the old one. An access control list is not
// copied: then only the owner has access to the new file.
void CopyAccessRights(const fs::path& old, const fs::path& file) {
  constexpr const char* kList = "system.posix_acl_access";
  struct stat before = {};
  if (stat(old.c_str(), &before) != 0) return;
  const bool hasList = getxattr(old.c_str(), kList, nullptr, 0) > 0;
  const bool hasGroup = chown(file.c_str(), before.st_uid, before.st_gid) == 0 ||
                        chown(file.c_str(), static_cast<uid_t>(-1), before.st_gid) == 0;
  removexattr(file.c_str(), kList);  // the new file may have one from its folder
  // The set-user and set-group bits were meant for the old contents only.
  chmod(file.c_str(), before.st_mode & (hasGroup && !hasList ? 0777 : 0700));
}

}  // namespace

fs::path FollowLinks(const std::string& path) {
  constexpr int kMostLinks = 40;  // the limit of the kernel
  fs::path target = path;
  std::error_code error;
  for (int links = 0; fs::is_symlink(target, error); ++links) {
    if (links == kMostLinks) throw Failure(path + " is a loop of symbolic links");
    target = target.parent_path() / fs::read_symlink(target, error);
  }
  return target;
}

fs::path ResolveOutput(const std::string& path, bool overwrite) {
  if (path.starts_with("/vsi")) throw Failure("cannot write " + path + ": it is no local file");
  fs::path target = FollowLinks(path);
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (fs::is_directory(status) || !target.has_filename())
    throw Failure(path + " is a folder, and none is replaced; choose another name");
  if (!fs::is_directory(ParentOf(target), error))
    throw Failure("cannot write " + path + ": there is no folder " + ParentOf(target).string());
  if (fs::exists(status) && !fs::is_regular_file(status))
    throw Failure(path + " is neither new nor a regular file");
  if (fs::exists(status) && !overwrite)
    throw Failure(path + " exists already; -overwrite replaces it");
  if (access(ParentOf(target).c_str(), W_OK) != 0)
    throw Failure("cannot write " + path + ": the folder " + ParentOf(target).string() +
                  " is not writable: " + std::strerror(errno));
  return target;
}

bool IsSameFile(const fs::path& one, const fs::path& other) {
  std::error_code error;
  if (fs::equivalent(one, other, error)) return true;
  return one.filename() == other.filename() &&
         fs::equivalent(ParentOf(one), ParentOf(other), error);
}

Publication::Publication(const fs::path& target, bool overwrite, std::vector<InputFiles> inputs,
                         fs::path statisticsFile)
    : target_(target),
      overwrite_(overwrite),
      inputs_(std::move(inputs)),
      statisticsFile_(std::move(statisticsFile)),
      parent_(ParentOf(target)) {}

const fs::path& Publication::Folder() {
  if (!folder_.empty()) return folder_;
  std::string pattern = (parent_ / ".lumomixcalc-XXXXXX").string();
  const std::lock_guard lock(folders.mutex);
  if (!mkdtemp(pattern.data()))
    throw Failure("cannot write " + target_.string() + ": cannot make a folder in " +
                  parent_.string() + ": " + std::strerror(errno));
  folder_ = pattern;
  folders.paths.insert(folder_);
  return folder_;
}

Publication::~Publication() {
  const std::lock_guard lock(folders.mutex);
  std::error_code ignored;
  if (folders.paths.erase(folder_) > 0) fs::remove_all(folder_, ignored);
}

// The files in the folder, the target last. Hidden files with other names are not among them,
// such as those in which a network file system keeps deleted files.
std::vector<fs::path> Publication::Names(const fs::path& made) const {
  std::vector<fs::path> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(made)) {
    const std::string name = entry.path().filename();
    if (!name.starts_with('.') || name.starts_with(target_.stem().string()))
      names.emplace_back(name);
  }
  std::partition(names.begin(), names.end(),
                 [this](const fs::path& name) { return name != target_.filename(); });
  return names;
}

// Existing files beside the target that GDAL reads together with the output although the run did
// not make them, such as the overviews of an earlier output. GDAL is asked with a link to each file
// whose name begins like the target's, and to the statistics file, among the files of the output.
std::vector<fs::path> Publication::StaleNames(const fs::path& made) const {
  const CPLErrorHandlerPusher quiet(CPLQuietErrorHandler);
  const CPLConfigOptionSetter seesNeighbours("GDAL_DISABLE_READDIR_ON_OPEN", "FALSE", false);
  const auto isRead = [&](const fs::path& file) {
    const GDALDatasetUniquePtr raster(
        GDALDataset::Open((made / target_.filename()).c_str(), GDAL_OF_RASTER));
    const CPLStringList files(raster ? raster->GetFileList() : nullptr);
    return !raster || CSLFindStringCaseSensitive(files.List(), file.c_str()) >= 0;  // not o.TIF
  };
  if (isRead({})) return {};  // a text, or one of several rasters in a file
  std::vector<fs::path> stale;
  const auto addIfRead = [&](const fs::path& candidate) {
    const fs::path file = made / candidate.filename();
    if (Exists(file)) return;
    std::error_code error;
    if (Exists(candidate))
      fs::create_symlink(fs::absolute(candidate), file, error);
    else
      std::ofstream(file).put('\n');
    if (error) fs::copy_file(candidate, file);  // the file system has no links
    if (isRead(file)) stale.push_back(candidate.filename());
    fs::remove(file);
  };
  const std::string stem = target_.stem();
  for (const fs::directory_entry& entry : fs::directory_iterator(parent_)) {
    const std::string name = entry.path().filename();
    if (STARTS_WITH_CI(name.c_str(), stem.c_str()) &&
        !std::isalnum(static_cast<unsigned char>(name[stem.size()])) && !entry.is_directory())
      addIfRead(entry.path());
  }
  if (!statisticsFile_.empty() && IsSameFile(ParentOf(statisticsFile_), parent_))
    addIfRead(statisticsFile_);
  return stale;
}

void Publication::RefuseToReplace(const fs::path& name, const std::string& reason) const {
  const std::string place = target_.parent_path() / name;
  const char* const remedy = name.extension() == ".hdr"
                                 ? "; choose another name or add -co=SUFFIX=ADD"
                                 : "; choose another name";
  const auto isThis = [&](const std::string& file) { return IsSameFile(parent_ / name, file); };
  if (isThis(statisticsFile_))
    throw Failure("the statistics file " + statisticsFile_.string() +
                  " would be a file of the output " + target_.string() + "; choose another name");
  if (!Exists(parent_ / name)) return;
  for (const InputFiles& input : inputs_)
    if (!IsSameFile(target_, input.name) && std::ranges::any_of(input.files, isThis))
      throw Failure(place + " belongs to the input " + input.name + ", and the output " +
                    target_.string() + " would replace it" + remedy);
  // Headers and world files are named by the stem alone: x.hdr may be that of x.slc.
  if (!Exists(target_) && !name.string().starts_with(target_.filename().string()))
    throw Failure(place + " exists already, and may belong to another file than the new output " +
                  target_.string() + remedy);
  if (!overwrite_) throw Failure(place + reason);
}

void Publication::CheckNames(const std::vector<fs::path>& names) const {
  for (const fs::path& name : names) {
    if (fs::is_directory(fs::symlink_status(parent_ / name)))
      throw Failure((target_.parent_path() / name).string() +
                    " is a folder; the output needs this name for a file");
    RefuseToReplace(name, " exists already; -overwrite replaces it");
  }
}

void Publication::CheckPlaces(const fs::path& made) {
  CheckNames(Names(made));
  for (const fs::path& name : StaleNames(made)) {
    RefuseToReplace(name, " would be read as a part of the output " + target_.string() +
                              "; -overwrite removes it");
    stale_.insert(name);
  }
}

void Publication::Publish() {
  CheckPlaces(folder_);
  const std::vector<fs::path> names = Names(folder_);
  for (const fs::path& name : names) CopyAccessRights(parent_ / name, folder_ / name);
  // A single file is replaced by one rename. Of several files, the old ones are moved away first,
  // so that old and new ones are never mixed.
  const bool replaces = overwrite_ && names.size() == 1;
  std::vector<fs::path> old(stale_.begin(), stale_.end());
  std::erase_if(old, [&](const fs::path& name) { return Exists(folder_ / name); });
  if (overwrite_ && !replaces) old.insert(old.end(), names.rbegin(), names.rend());
  const fs::path aside = folder_ / ".old";
  if (!old.empty()) fs::create_directory(aside);

  const std::lock_guard lock(folders.mutex);
  std::vector<std::pair<fs::path, fs::path>> moves;
  for (const fs::path& name : old)
    if (Exists(parent_ / name)) moves.emplace_back(parent_ / name, aside / name);
  for (const fs::path& name : names) moves.emplace_back(folder_ / name, parent_ / name);
  for (std::size_t i = 0; i < moves.size(); ++i) {
    const auto& [from, to] = moves[i];
    const int error = Move(from, to, replaces);
    if (error == 0) continue;
    bool restored = true;
    for (std::size_t done = i; done-- > 0;)
      restored &= Move(moves[done].second, moves[done].first, false) == 0;
    if (!restored) folders.paths.erase(folder_);  // it keeps the old files
    throw Failure("cannot write " + (target_.parent_path() / from.filename()).string() + ": " +
                  std::strerror(error) +
                  (restored ? "" : "; files that were there are in " + aside.string()));
  }
}

void RemovePublicationFolders() {
  const std::lock_guard lock(folders.mutex);
  std::error_code error;
  // Repeated, because a thread that is still writing may make a file in the meantime.
  for (const fs::path& folder : folders.paths)
    for (int tries = 0; tries < 3 && Exists(folder); ++tries) fs::remove_all(folder, error);
}

}  // namespace lumomixcalc::standalone
