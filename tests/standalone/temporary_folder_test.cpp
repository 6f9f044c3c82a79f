#include "standalone/temporary_folder.h"

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

TEST_F(TemporaryFolderTest, NeedsAFolderToStandIn) {
  EXPECT_THROW(TemporaryFolder(place_ / "missing" / "o.img"), Failure);
}

}  // namespace
}  // namespace lumomixcalc::standalone
