#include "standalone/command_line/command_echo.h"

#include <gtest/gtest.h>

#include "standalone/command_line/selection_options.h"
#include "tests/standalone/test_registration.h"

namespace lumomixcalc::standalone {
namespace {

TEST(WithAllDigits, GivesBackWhatSixDigitsDropped) {
  const std::map<std::string, std::vector<float>> read = {{"a", {0.12345679F, 0}},
                                                          {"b", {1234567, -1e-20F}}};
  EXPECT_EQ(WithAllDigits("-a=0.123457:0", read), "-a=0.12345679:0");
  EXPECT_EQ(WithAllDigits("-b=1.23457e+06:-1e-20", read), "-b=1234567:-1e-20");
}

TEST(WithAllDigits, LeavesOptionsThatWereSetOtherwise) {
  const std::map<std::string, std::vector<float>> read = {{"a", {0.12345679F, 0}}};
  for (const char* option : {"-a=0.5:0", "-a=0.123457:1", "-aa=0.123457:0", "-b=0.123457:0",
                             "-a=0.123457", "-clamp", ""})
    EXPECT_EQ(WithAllDigits(option, read), option);
}

TEST(WithAllDigits, TakesEachRowOfAPanelForOneOption) {
  std::vector<std::vector<float>> rows = {{0.12345678F, 0}, {0.12345679F, 0}, {7}};
  EXPECT_EQ(WithAllDigits("-clamp", rows), "-clamp");
  EXPECT_EQ(WithAllDigits("-op='a=b'", rows), "-op='a=b'");
  EXPECT_EQ(WithAllDigits("-x=0.123457:0", rows), "-x=0.12345678:0");
  EXPECT_EQ(WithAllDigits("-y=0.123457:0", rows), "-y=0.12345679:0");
  EXPECT_EQ(WithAllDigits("-z=0.123457:0", rows), "-z=0.123457:0");
}

TEST(ShellWord, QuotesOnlyWhatAShellWouldChange) {
  EXPECT_EQ(ShellWord("dir/a-b_1.tif"), "dir/a-b_1.tif");
  EXPECT_EQ(ShellWord("a b.tif"), "'a b.tif'");
  EXPECT_EQ(ShellWord("HDF5:\"x.h5\"://d"), "'HDF5:\"x.h5\"://d'");
  EXPECT_EQ(ShellWord("it's"), "'it'\\''s'");
  EXPECT_EQ(ShellWord("$HOME*"), "'$HOME*'");
  EXPECT_EQ(ShellWord(""), "''");
}

TEST(ReproducingCommand, RepeatsTheRunWhenItIsReadAgain) {
  const std::vector<std::vector<std::string>> kCases = {
      {"a.tif", "b.tif", "o.tif", "-mode=byte", "-co=TILED=YES"},
      {"-file2=b.tif", "o.tif", "-format=ENVI"},
      {"-file1=-a", "b.tif", "-save=-o"},
      {"a", "o", "-region=1:2:30:40", "-resolution=2", "-resampling=cubic", "-bands=3,1-2"},
      {"a", "o", "-window=0.1:-5:7:1e-3", "-nodata=keep"}};
  const Registration registration = TwoInputsOneOutput();
  for (const auto& arguments : kCases) {
    const Options options = ReadOptions(arguments, registration);
    const std::string command = ReproducingCommand(options, registration, {});
    std::vector<std::string> words;  // no word of these needs quotes
    for (std::size_t start = command.find(' '); start != std::string::npos;) {
      const std::size_t end = command.find(' ', start + 1);
      words.push_back(command.substr(start + 1, end - start - 1));
      start = end;
    }
    const Options again = ReadOptions(words, registration);
    EXPECT_EQ(again.files, options.files) << command;
    EXPECT_EQ(again.mode, options.mode) << command;
    EXPECT_EQ(again.format, options.format) << command;
    EXPECT_EQ(again.creationOptions, options.creationOptions) << command;
    EXPECT_EQ(again.bands, options.bands) << command;
    EXPECT_EQ(again.keepNoData, options.keepNoData) << command;
    EXPECT_EQ(SelectionArguments(again.selection, {}), SelectionArguments(options.selection, {}))
        << command;
  }
}

TEST(ReproducingCommand, EndsWithTheApplicationsOptionsAsTheyCome) {
  const Registration registration = TwoInputsOneOutput();
  const Options options = ReadOptions({"a b", "o", "-quiet", "-overwrite"}, registration);
  EXPECT_EQ(ReproducingCommand(options, registration, {"-a=1:0", "-operator='a1+b2'"}),
            "lumomixcalc 'a b' o -a=1:0 -operator='a1+b2'");
}

}  // namespace
}  // namespace lumomixcalc::standalone
