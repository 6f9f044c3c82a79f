#include "standalone/command_line/options.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "standalone/messages.h"
#include "tests/standalone/test_registration.h"

namespace lumomixcalc::standalone {
namespace {

using Arguments = std::vector<std::string>;

Options Read(const Arguments& arguments) { return ReadOptions(arguments, TwoInputsOneOutput()); }

TEST(ReadOptions, FillsStreamsByNameThenByPosition) {
  const struct {
    Arguments arguments;
    std::map<int, std::string> files;
  } kCases[] = {
      {{"a", "b", "o"}, {{1, "a"}, {2, "b"}, {3, "o"}}},
      {{"a", "o"}, {{1, "a"}, {3, "o"}}},
      {{"-save=o", "a"}, {{1, "a"}, {3, "o"}}},
      {{"-file2=b", "o"}, {{2, "b"}, {3, "o"}}},
      {{"a", "-file1=x", "o"}, {{1, "x"}, {2, "a"}, {3, "o"}}},
      {{"-file1=-x", "o"}, {{1, "-x"}, {3, "o"}}},
      {{"-save=o", "-file2=b", "-file1=a"}, {{1, "a"}, {2, "b"}, {3, "o"}}},
      {{"a", "--", "-b", "--"}, {{1, "a"}, {2, "-b"}, {3, "--"}}},
      {{"a=b", "o"}, {{1, "a=b"}, {3, "o"}}},
  };
  for (const auto& c : kCases) EXPECT_EQ(Read(c.arguments).files, c.files) << c.arguments[0];
}

TEST(ReadOptions, PanelTakesAnyOfTheFiles) {
  const struct {
    Arguments arguments;
    std::map<int, std::string> files;
  } kCases[] = {
      {{"-panel"}, {}},
      {{"-panel", "a"}, {{1, "a"}}},
      {{"a", "-panel", "o"}, {{1, "a"}, {3, "o"}}},
      {{"-panel", "a", "b", "o"}, {{1, "a"}, {2, "b"}, {3, "o"}}},
      {{"-panel", "-file2=b"}, {{2, "b"}}},
      {{"-panel", "-file2=b", "o"}, {{2, "b"}, {3, "o"}}},
      {{"-panel", "-save=o"}, {{3, "o"}}},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(Read(c.arguments).files, c.files) << testing::PrintToString(c.arguments);
    EXPECT_EQ(Read(c.arguments).action, Options::Action::kPanel);
  }
  EXPECT_THROW(Read({"-panel", "a", "b", "c", "o"}), WrongCommandLine);
}

TEST(ReadOptions, RefusesTooFewTooManyAndUnnamedFiles) {
  const Arguments kCases[] = {{},
                              {"o"},
                              {"-save=o"},
                              {"-quiet"},
                              {"a", "b", "c", "o"},
                              {"", "o"},
                              {"a", ""},
                              {"-file1=", "o"},
                              {"-file1", "o"},
                              {"-file1=a"},
                              {"-save=o", "-save=p", "a"},
                              {"-file1=a", "-file2=b", "c", "o"}};
  for (const Arguments& arguments : kCases)
    EXPECT_THROW(Read(arguments), WrongCommandLine) << testing::PrintToString(arguments);
}

TEST(ReadOptions, RefusalNamesTheOffender) {
  const struct {
    Arguments arguments;
    const char* named;
  } kCases[] = {{{"a", "b", "left.tif", "o"}, "left.tif"},
                {{"a", "o", "-mode=float16"}, "float16"},
                {{"a", "o", "-mode=float16"}, "cfloat32"},
                {{"a", "o", "-co=TILED"}, "-co=TILED"},
                {{"a", "o", "-format"}, "-format"}};
  for (const auto& c : kCases) {
    try {
      Read(c.arguments);
      ADD_FAILURE() << c.named << " was accepted";
    } catch (const WrongCommandLine& refusal) {
      EXPECT_NE(std::string(refusal.what()).find(c.named), std::string::npos) << refusal.what();
    }
  }
}

TEST(ReadOptions, TakesTheHostsOptions) {
  const Options options = Read({"-mode=cint16", "a", "-co=COMPRESS=LZW", "-overwrite", "o",
                                "-format=ENVI", "-co=X=a=b", "-quiet"});
  EXPECT_STREQ(options.mode->name, "cint16");
  EXPECT_EQ(options.format, "ENVI");
  EXPECT_EQ(options.creationOptions, (Arguments{"COMPRESS=LZW", "X=a=b"}));
  EXPECT_TRUE(options.overwrite);
  EXPECT_TRUE(options.quiet);
  EXPECT_TRUE(options.applicationArguments.empty());
}

TEST(ReadOptions, LeavesOtherDashesToTheApplicationInOrder) {
  const Arguments kTheirs = {"-a=1:2",       "-clamp", "-operator=a1+b2", "-quietly", "-modes=3",
                             "-overwrite=1", "-",      "-Mode=byte"};
  Arguments arguments = kTheirs;
  arguments.insert(arguments.begin() + 2, "a");
  arguments.push_back("o");
  const Options options = Read(arguments);
  EXPECT_EQ(options.applicationArguments, kTheirs);
  EXPECT_EQ(options.mode, nullptr);
}

TEST(ReadOptions, HelpAndVersionNeedNoFiles) {
  EXPECT_EQ(Read({"-help"}).action, Options::Action::kHelp);
  EXPECT_EQ(Read({"a", "--help"}).action, Options::Action::kHelp);
  EXPECT_EQ(Read({"--version"}).action, Options::Action::kVersion);
}

TEST(FilesSynopsis, ShowsLaterInputsAsOptional) {
  EXPECT_EQ(FilesSynopsis(TwoInputsOneOutput()), "FILE1 [FILE2] SAVE");
}

}  // namespace
}  // namespace lumomixcalc::standalone
