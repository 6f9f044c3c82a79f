#include "standalone/temporary_folder.h"

#include <stdlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>
#include <vector>

#include "standalone/messages.h"

namespace lumomixcalc::standalone {
namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder(const fs::path& target) : target_(target) {
  const fs::path parent = target.has_parent_path() ? target.parent_path() : ".";
  std::string pattern = (parent / ".lumomixcalc-XXXXXX").string();
  if (!mkdtemp(pattern.data()))
    throw Failure("cannot write " + target.string() + ": in the folder " + parent.string() +
                  " nothing can be made: " + std::strerror(errno));
  path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

void TemporaryFolder::Publish(bool replace) {
  const fs::path parent = path_.parent_path();
  std::vector<fs::path> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(path_))
    names.push_back(entry.path().filename());
  std::partition(names.begin(), names.end(),
                 [this](const fs::path& name) { return name != target_.filename(); });

  // "o.tif.aux.xml" can only be a leaving of an "o.tif" that is gone.
  const auto belongsToTarget = [this](const fs::path& name) {
    return name != target_.filename() && name.string().starts_with(target_.filename().string());
  };
  for (const fs::path& name : names)
    if (!replace && !belongsToTarget(name) && fs::exists(fs::symlink_status(parent / name)))
      throw Failure((target_.parent_path() / name).string() +
                    " exists already; -overwrite replaces it");
  for (const fs::path& name : names) {
    std::error_code error;
    fs::rename(path_ / name, parent / name, error);
    if (error)
      throw Failure("cannot give " + (target_.parent_path() / name).string() +
                    " its name: " + error.message());
  }
}

}  // namespace lumomixcalc::standalone
