#ifndef LUMOMIXCALC_STANDALONE_TEMPORARY_FOLDER_H
#define LUMOMIXCALC_STANDALONE_TEMPORARY_FOLDER_H

#include <filesystem>

namespace lumomixcalc::standalone {

// A hidden folder beside a file that is being made: its pieces carry their final names inside and
// are moved out together when they are complete. It is removed with all that is left in it.
class TemporaryFolder {
 public:
  // Makes the folder in the folder of target. Throws Failure.
  explicit TemporaryFolder(const std::filesystem::path& target);
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& Path() const { return path_; }

  // Moves all files out, the one with the target's name last, so that whoever sees it sees the
  // others. Existing files are replaced with replace, else refused before anything is moved, but
  // for those whose names continue the target's. Throws Failure.
  void Publish(bool replace);

 private:
  std::filesystem::path target_;
  std::filesystem::path path_;
};

}  // namespace lumomixcalc::standalone

#endif
