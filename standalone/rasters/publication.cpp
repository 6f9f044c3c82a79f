#include "standalone/rasters/publication.h"

#include <fcntl.h>
#include <gdal_priv.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
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

bool IsThere(const fs::path& path) {
  std::error_code ignored;
  return fs::exists(fs::symlink_status(path, ignored));
}

// The folders of this process, and what keeps them from being removed while files are moved out.
struct Folders {
  std::mutex mutex;
  std::set<fs::path> paths;
};

// Never destroyed: a thread that ends the process may come after the end of main.
Folders& TheFolders() {
  static auto* const folders = new Folders;
  return *folders;
}

// Renames without replacing anything, as far as the file system can promise that.
int RenameToNew(const fs::path& from, const fs::path& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  if (IsThere(to)) return EEXIST;
  return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

// Gives a new file owner, group, permissions and access control list of the old one, all or none.
// Where they cannot be given, the new file gets no permission that the old one lacked.
void TakeAccess(const fs::path& old, const fs::path& file) {
  constexpr const char* kList = "system.posix_acl_access";
  struct stat before = {};
  struct stat now = {};
  if (stat(old.c_str(), &before) != 0 || stat(file.c_str(), &now) != 0) return;
  std::array<char, 65536> list;
  const ssize_t bytes = getxattr(old.c_str(), kList, list.data(), list.size());
  const bool isOwned = (before.st_uid == now.st_uid && before.st_gid == now.st_gid) ||
                       chown(file.c_str(), before.st_uid, before.st_gid) == 0;
  // The bits of the mode that make a program run as its owner are for the old contents alone.
  constexpr mode_t kPermissions = 0777;
  constexpr mode_t kNotTheGroups = 0707;  // with a list or another group they mean something else
  if (isOwned && chmod(file.c_str(), before.st_mode & kPermissions) == 0 &&
      (bytes <= 0 ||
       setxattr(file.c_str(), kList, list.data(), static_cast<std::size_t>(bytes), 0) == 0))
    return;
  chmod(file.c_str(), before.st_mode & now.st_mode & kNotTheGroups);
}

// Moves that can be taken back in the reverse order.
class Moves {
 public:
  int Move(const fs::path& from, const fs::path& to) {
    const int error = RenameToNew(from, to);
    if (error == 0) done_.emplace_back(from, to);
    return error;
  }
  void TakeBack() {
    for (; !done_.empty(); done_.pop_back()) RenameToNew(done_.back().second, done_.back().first);
  }

 private:
  std::vector<std::pair<fs::path, fs::path>> done_;
};

[[noreturn]] void FailToMove(const fs::path& place, int error) {
  throw Failure("cannot give " + place.string() + " its name: " + std::strerror(error));
}

}  // namespace

fs::path FollowLinks(const std::string& path) {
  constexpr int kMostLinks = 40;  // as the kernel has it
  fs::path target = path;
  std::error_code error;
  for (int links = 0; fs::is_symlink(target, error); ++links) {
    if (links == kMostLinks) throw Failure(path + " is a loop of symbolic links");
    target = ParentOf(target) / fs::read_symlink(target, error);
  }
  return target;
}

fs::path ResolveOutput(const std::string& path, bool overwrite) {
  if (path.starts_with("/vsi")) throw Failure("the output " + path + " must be a local file");
  const fs::path target = FollowLinks(path);
  std::error_code error;
  const fs::file_status status = fs::status(target, error);
  if (fs::is_directory(status) || !target.has_filename())
    throw Failure("the output " + path + " is a folder; a file name is expected");
  if (!fs::is_directory(ParentOf(target), error))
    throw Failure("cannot write " + path + ": there is no folder " + ParentOf(target).string());
  if (fs::exists(status) && !fs::is_regular_file(status))
    throw Failure("the output " + path + " is neither new nor a regular file");
  if (fs::exists(status) && !overwrite)
    throw Failure("the output " + path + " exists already; -overwrite replaces it");
  return target;
}

bool IsSameFile(const fs::path& one, const fs::path& other) {
  std::error_code error;
  return fs::equivalent(one, other, error) && !error;
}

int MoveIntoPlace(const fs::path& from, const fs::path& to, bool overwrite) {
  if (!overwrite) return RenameToNew(from, to);
  TakeAccess(to, from);
  return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

Publication::Publication(const fs::path& target, bool overwrite, std::vector<InputFiles> inputs)
    : target_(target),
      overwrite_(overwrite),
      inputs_(std::move(inputs)),
      parent_(ParentOf(target)) {
  std::string pattern = (parent_ / ".lumomixcalc-XXXXXX").string();
  const std::lock_guard lock(TheFolders().mutex);
  if (!mkdtemp(pattern.data()))
    throw Failure("cannot write " + target.string() + ": cannot make a folder in " +
                  parent_.string() + ": " + std::strerror(errno));
  folder_ = pattern;
  // A program may change its working folder before the end.
  std::error_code ignored;
  TheFolders().paths.insert(fs::absolute(folder_, ignored));
}

Publication::~Publication() {
  const std::lock_guard lock(TheFolders().mutex);
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
  TheFolders().paths.erase(fs::absolute(folder_, ignored));
}

// The files in the folder, the target last.
std::vector<fs::path> Publication::Names() const {
  std::vector<fs::path> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder_))
    names.push_back(entry.path().filename());
  std::partition(names.begin(), names.end(),
                 [this](const fs::path& name) { return name != target_.filename(); });
  return names;
}

void Publication::RefuseFileOfInput(const fs::path& name) const {
  for (const InputFiles& input : inputs_)
    if (!IsSameFile(target_, input.name))
      for (const std::string& file : input.files)
        if (IsSameFile(parent_ / name, file))
          throw Failure((target_.parent_path() / name).string() + " belongs to the input " +
                        input.name + ", and the output " + target_.string() +
                        " would replace it; choose another name" +
                        (name.extension() == ".hdr" ? " or add -co=SUFFIX=ADD" : ""));
}

void Publication::CheckPlaces() const {
  for (const fs::path& name : Names()) {
    const fs::path place = target_.parent_path() / name;
    if (fs::is_directory(fs::symlink_status(parent_ / name)))
      throw Failure(place.string() + " is a folder; the output needs this name for a file");
    RefuseFileOfInput(name);
    if (!overwrite_ && IsThere(parent_ / name))
      throw Failure(place.string() + " exists already; -overwrite replaces it");
  }
}

// Files beside the target that GDAL would read together with the new output though the run did not
// make them, such as overviews of an earlier one. GDAL itself tells which: the files whose names
// begin like the target's are linked into the folder, and the output is opened there.
std::vector<fs::path> Publication::StaleCompanions() const {
  const std::vector<fs::path> own = Names();
  const std::string stem = target_.stem();
  std::vector<fs::path> linked;
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(parent_, ignored)) {
    const fs::path name = entry.path().filename();
    if (!name.string().starts_with(stem) || entry.is_directory(ignored) ||
        std::find(own.begin(), own.end(), name) != own.end())
      continue;
    fs::create_symlink(fs::absolute(entry.path()), folder_ / name, ignored);
    linked.push_back(name);
  }
  std::vector<fs::path> stale;
  if (!linked.empty()) {
    CPLPushErrorHandler(CPLQuietErrorHandler);  // the output has been read back without them
    const GDALDatasetUniquePtr output(
        GDALDataset::Open((folder_ / target_.filename()).c_str(), GDAL_OF_RASTER));
    const CPLStringList files(output ? output->GetFileList() : nullptr);
    CPLPopErrorHandler();
    for (int i = 0; i < files.size(); ++i)
      if (const fs::path name = fs::path(files[i]).filename();
          std::find(linked.begin(), linked.end(), name) != linked.end())
        stale.push_back(name);
  }
  for (const fs::path& name : linked) fs::remove(folder_ / name, ignored);
  return stale;
}

std::vector<fs::path> Publication::NamesToSetAside() const {
  const std::vector<fs::path> stale = StaleCompanions();
  if (!overwrite_ && !stale.empty())
    throw Failure((target_.parent_path() / stale.front()).string() +
                  " is there and would be read as a part of the output " + target_.string() +
                  "; -overwrite removes it");
  for (const fs::path& name : stale) RefuseFileOfInput(name);
  std::vector<fs::path> names = Names();
  std::erase_if(names, [this](const fs::path& name) { return !IsThere(parent_ / name); });
  // One file alone is replaced at one moment.
  if (stale.empty() && Names().size() == 1) return {};
  names.insert(names.end(), stale.begin(), stale.end());
  return names;
}

void Publication::Publish() {
  CheckPlaces();
  const std::vector<fs::path> names = Names();
  const std::vector<fs::path> old = NamesToSetAside();
  const fs::path aside = folder_ / ".old";
  if (!old.empty()) fs::create_directory(aside);
  const std::lock_guard lock(TheFolders().mutex);
  Moves moves;
  for (const fs::path& name : old)
    if (const int error = moves.Move(parent_ / name, aside / name); error != 0) {
      moves.TakeBack();
      throw Failure("cannot replace " + (target_.parent_path() / name).string() + ": " +
                    std::strerror(error));
    }
  for (const fs::path& name : names) {
    TakeAccess(aside / name, folder_ / name);
    const int error = names.size() == 1 && old.empty()
                          ? MoveIntoPlace(folder_ / name, parent_ / name, overwrite_)
                          : moves.Move(folder_ / name, parent_ / name);
    if (error == 0) continue;
    moves.TakeBack();
    FailToMove(target_.parent_path() / name, error);
  }
}

void RemovePublicationFolders() {
  const std::lock_guard lock(TheFolders().mutex);
  std::error_code ignored;
  for (const fs::path& folder : TheFolders().paths) fs::remove_all(folder, ignored);
}

}  // namespace lumomixcalc::standalone
