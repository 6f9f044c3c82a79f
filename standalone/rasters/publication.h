#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "standalone/rasters/input_files.h"

namespace lumomixcalc::standalone {

// The place of a file after following symbolic links, including one whose file does not exist yet.
// So a link stays a link. Throws Failure when the links form a loop.
std::filesystem::path FollowLinks(const std::string& path);

// The place of an output after following links. Throws Failure when it cannot be a regular file, or
// when the file exists and overwrite is false.
std::filesystem::path ResolveOutput(const std::string& path, bool overwrite);

// Whether both paths lead to the same file, or would lead to it if it existed.
bool IsSameFile(const std::filesystem::path& one, const std::filesystem::path& other);

// A hidden folder in the folder of an output, named ".lumomixcalc-" and six characters. The
// files of the output are made there under their final names and moved out when all are complete.
// The destructor removes the folder. A process that is killed leaves it.
class Publication {
 public:
  // If the run also writes a statistics file, it must be none of the files of the target.
  Publication(const std::filesystem::path& target, bool overwrite, std::vector<InputFiles> inputs,
              std::filesystem::path statisticsFile = {});
  ~Publication();
  Publication(const Publication&) = delete;
  Publication& operator=(const Publication&) = delete;

  // The hidden folder, which the first call makes. Throws Failure.
  const std::filesystem::path& Folder();

  // Throws Failure when a file of one of these names cannot be moved to the target's folder. With
  // overwrite a file may be replaced, but not a folder, not a file of an input that is not itself
  // replaced, and for a new target no file that only has its stem.
  void CheckNames(const std::vector<std::filesystem::path>& names) const;

  // Checks the names of the files of `made`, and throws Failure also when GDAL would read another
  // file beside the target, such as an old .ovr, together with the output, and it may not be
  // removed either. `made` is Folder() or a folder inside it, with closed files like those of the
  // output, under the same names.
  void CheckPlaces(const std::filesystem::path& made);

  // Moves the files out, the target last. Files that are replaced or removed are set aside first
  // and moved back when anything fails. A target that is the only file is replaced by one rename.
  // The new file gets the owner, group and permissions of the old one as far as the system allows.
  // Throws Failure, also for what CheckPlaces refuses. Then every file is as it was before.
  void Publish();

 private:
  std::vector<std::filesystem::path> Names(const std::filesystem::path& made) const;
  std::vector<std::filesystem::path> StaleNames(const std::filesystem::path& made) const;
  void RefuseToReplace(const std::filesystem::path& name, const std::string& reason) const;

  std::filesystem::path target_;
  bool overwrite_;
  std::vector<InputFiles> inputs_;
  std::filesystem::path statisticsFile_;
  std::filesystem::path parent_;
  std::set<std::filesystem::path> stale_;  // files that GDAL would read with the output
  std::filesystem::path folder_;           // empty before it is made
};

// Removes the folders of all publications of this process, which is about to end. Any thread may
// call it. It waits while files are being moved out.
void RemovePublicationFolders();

}  // namespace lumomixcalc::standalone
