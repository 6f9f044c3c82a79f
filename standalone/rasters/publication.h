#ifndef LUMOMIXCALC_STANDALONE_RASTERS_PUBLICATION_H
#define LUMOMIXCALC_STANDALONE_RASTERS_PUBLICATION_H

#include <filesystem>
#include <vector>

namespace lumomixcalc::standalone {

// A hidden folder beside a file that is being made: its pieces carry their final names inside and
// are moved out together when they are complete. It is removed with all that is left in it. While
// it is in use the process holds a lock on it; one without a lock was left by a run that was
// killed, and the next run beside it removes it.
class TemporaryFolder {
 public:
  // Makes the folder in the folder of target. Throws Failure.
  explicit TemporaryFolder(const std::filesystem::path& target);
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& Path() const { return path_; }

  // Throws Failure when files of these names cannot be moved out because others are in their place:
  // any without replace, but for those whose names continue the target's, and folders always.
  void CheckNames(const std::vector<std::filesystem::path>& names, bool replace) const;

  // Moves all files out, the one with the target's name last, so that whoever sees it sees the
  // others. Existing files are replaced as CheckNames allows; their permissions stay. Of two runs
  // to one target one moves its files after the other. Throws Failure, with everything as it was
  // when nothing was to be replaced.
  void Publish(bool replace);

 private:
  bool ContinuesTarget(const std::filesystem::path& name) const;
  void Make(const std::filesystem::path& parent);

  std::filesystem::path target_;
  std::filesystem::path path_;
  int lock_ = -1;
};

}  // namespace lumomixcalc::standalone

#endif
