#include "standalone/command_line/options.h"

#include <gtest/gtest.h>

#include "host/ip.h"
#include "standalone/application/run_context.h"

namespace lumomixcalc::standalone {
namespace {

using Arguments = std::vector<std::string>;

Options Read(const Arguments& arguments) {
  Context() = {};
  IPAppSpecifics();
  return ReadOptions(arguments, Context().registration);
}

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
      // The panel takes any of the files.
      {{"-panel"}, {}},
      {{"-panel", "a"}, {{1, "a"}}},
      {{"a", "-panel", "o"}, {{1, "a"}, {3, "o"}}},
      {{"-panel", "a", "b", "o"}, {{1, "a"}, {2, "b"}, {3, "o"}}},
      {{"-panel", "-file2=b"}, {{2, "b"}}},
      {{"-panel", "-file2=b", "o"}, {{2, "b"}, {3, "o"}}},
      {{"-panel", "-save=o"}, {{3, "o"}}},
  };
  for (const auto& c : kCases)
    EXPECT_EQ(Read(c.arguments).files, c.files) << testing::PrintToString(c.arguments);
}

}  // namespace
}  // namespace lumomixcalc::standalone
