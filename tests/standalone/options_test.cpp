#include "standalone/cli/options.h"

#include <gtest/gtest.h>

#include "host/ip.h"
#include "standalone/framework/host_calls.h"

namespace lumomixcalc::standalone {
namespace {

TEST(ReadOptions, FillsStreamsByNameThenByPosition) {
  TheHostState() = {};
  IPAppSpecifics();
  const struct {
    std::vector<std::string> arguments;
    std::map<int, std::string> files;
  } kCases[] = {
      {{"-save=o", "a"}, {{1, "a"}, {3, "o"}}},
      {{"a", "-file1=x", "o"}, {{1, "x"}, {2, "a"}, {3, "o"}}},
      {{"a", "--", "-b", "--"}, {{1, "a"}, {2, "-b"}, {3, "--"}}},
      // The panel takes any of the files.
      {{"-panel"}, {}},
      {{"-panel", "a"}, {{1, "a"}}},
      {{"a", "-panel", "o"}, {{1, "a"}, {3, "o"}}},
      {{"-panel", "-file2=b", "o"}, {{2, "b"}, {3, "o"}}},
  };
  for (const auto& c : kCases) {
    Options options = ReadOptions(c.arguments, TheHostState().registration);
    PlaceFiles(options, TheHostState().registration);
    EXPECT_EQ(options.job.files, c.files) << testing::PrintToString(c.arguments);
  }
}

}  // namespace
}  // namespace lumomixcalc::standalone
