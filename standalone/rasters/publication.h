#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace lumomixcalc::standalone {

// Where a file named path goes: symbolic links are followed, also one whose file does not exist
// yet, so that a link stays a link. Throws Failure when they form a loop.
std::filesystem::path FollowLinks(const std::string& path);

// Where an output named path goes, its links followed. Throws Failure when no regular file can be
// there, or when one is and overwrite is false.
std::filesystem::path ResolveOutput(const std::string& path, bool overwrite);

// Whether both names lead to one file, or would if it existed.
bool IsSameFile(const std::filesystem::path& one, const std::filesystem::path& other);

// An input of a run: its name and the names of all files that it consists of.
struct InputFiles {
  std::string name;
  std::vector<std::string> files;
};

// The making of an output in a hidden folder beside its place, ".lumomixcalc-" and six characters:
// its files have their final names there and are moved out when all are complete. The folder is
// removed with its owner; a process that is killed leaves it.
class Publication {
 public:
  // Makes the folder in the folder of target. Throws Failure.
  Publication(const std::filesystem::path& target, bool overwrite, std::vector<InputFiles> inputs);
  ~Publication();
  Publication(const Publication&) = delete;
  Publication& operator=(const Publication&) = delete;

  const std::filesystem::path& Folder() const { return folder_; }

  // Throws Failure when a file in the folder cannot be moved out, or when GDAL would read another
  // one, such as an old .ovr, together with the output. With overwrite such files may be replaced
  // or removed, but no folder and no file of an input that is not itself replaced.
  void CheckPlaces() const;

  // Moves the files out, the target last. What is to be replaced or removed is set aside first and
  // comes back when anything fails; a target that is the only file is replaced at one moment. A
  // replaced file passes its owner, group and permissions on as far as the system lets it.
  // Throws Failure, also for what CheckPlaces refuses, with every file as it was.
  void Publish();

 private:
  std::vector<std::filesystem::path> Names() const;
  std::vector<std::filesystem::path> StaleNames() const;
  void RefuseToReplace(const std::filesystem::path& name, const std::string& reason) const;

  std::filesystem::path target_;
  bool overwrite_;
  std::vector<InputFiles> inputs_;
  std::filesystem::path parent_;
  std::filesystem::path folder_;
};

// Removes the folders of all publications of this process, for one that is about to end. From any
// thread; waits for files that are being moved out.
void RemovePublicationFolders();

}  // namespace lumomixcalc::standalone
