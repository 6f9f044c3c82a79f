#include "standalone/rasters/temporary_folder.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "standalone/messages.h"

namespace lumomixcalc::standalone {
namespace {

namespace fs = std::filesystem;

class TemporaryFolderTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "temporary_folder_test-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    place_ = pattern;
  }
  void TearDown() override { fs::remove_all(place_); }

  static void WriteFile(const fs::path& path, const std::string& text) {
    std::ofstream(path) << text;
  }
  static std::string ReadFile(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(place_))
      names.insert(entry.path().filename().string());
    return names;
  }
  fs::path place_;
};

using NameSet = std::set<std::string>;

TEST_F(TemporaryFolderTest, PublishesAllFilesAndLeavesNothingElse) {
  {
    TemporaryFolder folder(place_ / "o.img");
    WriteFile(folder.Path() / "o.img", "data");
    WriteFile(folder.Path() / "o.hdr", "header");
    folder.Publish(false);
  }
  EXPECT_EQ(Names(), (NameSet{"o.hdr", "o.img"}));
  EXPECT_EQ(ReadFile(place_ / "o.img"), "data");
}

TEST_F(TemporaryFolderTest, LeavesNothingWhenItIsNotPublished) {
  WriteFile(place_ / "o.img", "old");
  {
    const TemporaryFolder folder(place_ / "o.img");
    WriteFile(folder.Path() / "o.img", "new");
  }
  EXPECT_EQ(Names(), (NameSet{"o.img"}));
  EXPECT_EQ(ReadFile(place_ / "o.img"), "old");
}

TEST_F(TemporaryFolderTest, ReplacesNoFileUnlessTold) {
  WriteFile(place_ / "o.hdr", "old");
  TemporaryFolder folder(place_ / "o.img");
  WriteFile(folder.Path() / "o.img", "new");
  WriteFile(folder.Path() / "o.hdr", "new");
  EXPECT_THROW(folder.Publish(false), Failure);
  EXPECT_EQ(ReadFile(place_ / "o.hdr"), "old");
  EXPECT_FALSE(fs::exists(place_ / "o.img"));
  folder.Publish(true);
  EXPECT_EQ(ReadFile(place_ / "o.hdr"), "new");
  EXPECT_EQ(ReadFile(place_ / "o.img"), "new");
}

TEST_F(TemporaryFolderTest, ReplacesTheSidecarOfAFileThatIsGone) {
  WriteFile(place_ / "o.img.aux.xml", "old");
  TemporaryFolder folder(place_ / "o.img");
  WriteFile(folder.Path() / "o.img", "new");
  WriteFile(folder.Path() / "o.img.aux.xml", "new");
  folder.Publish(false);
  EXPECT_EQ(ReadFile(place_ / "o.img.aux.xml"), "new");
}

TEST_F(TemporaryFolderTest, ClearsTheLeavingsOfKilledRunsButNoLiveFolder) {
  fs::create_directory(place_ / ".lumomixcalc-killed");
  WriteFile(place_ / ".lumomixcalc-killed" / "o.img", "half");
  fs::create_directory(place_ / ".other");
  const TemporaryFolder live(place_ / "live.img");
  const TemporaryFolder folder(place_ / "o.img");
  EXPECT_EQ(Names(), (NameSet{".other", live.Path().filename(), folder.Path().filename()}));
}

TEST_F(TemporaryFolderTest, ReplacedFileKeepsItsPermissions) {
  WriteFile(place_ / "o.img", "old");
  fs::permissions(place_ / "o.img", fs::perms(0640));
  TemporaryFolder folder(place_ / "o.img");
  WriteFile(folder.Path() / "o.img", "new");
  folder.Publish(true);
  EXPECT_EQ(ReadFile(place_ / "o.img"), "new");
  EXPECT_EQ(fs::status(place_ / "o.img").permissions(), fs::perms(0640));
}

TEST_F(TemporaryFolderTest, OfTwoNewOutputsOfOneNameTheSecondIsRefused) {
  TemporaryFolder first(place_ / "o.img");
  TemporaryFolder second(place_ / "o.img");
  for (const TemporaryFolder* folder : {&first, &second}) {
    WriteFile(folder->Path() / "o.img", folder == &first ? "first" : "second");
    WriteFile(folder->Path() / "o.img.aux.xml", folder == &first ? "first" : "second");
  }
  first.Publish(false);
  EXPECT_THROW(second.Publish(false), Failure);
  EXPECT_EQ(ReadFile(place_ / "o.img"), "first");
  EXPECT_EQ(ReadFile(place_ / "o.img.aux.xml"), "first");
}

TEST_F(TemporaryFolderTest, ReplacesNoFolder) {
  fs::create_directory(place_ / "o.hdr");
  TemporaryFolder folder(place_ / "o.img");
  EXPECT_THROW(folder.CheckNames({"o.hdr"}, true), Failure);
  EXPECT_NO_THROW(folder.CheckNames({"o.img", "o.img.aux.xml"}, false));
}

TEST_F(TemporaryFolderTest, NeedsAFolderToStandIn) {
  EXPECT_THROW(TemporaryFolder(place_ / "missing" / "o.img"), Failure);
}

}  // namespace
}  // namespace lumomixcalc::standalone
