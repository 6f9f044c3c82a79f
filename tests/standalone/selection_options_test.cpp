#include "standalone/command_line/selection_options.h"

#include <gtest/gtest.h>

#include "standalone/messages.h"

namespace lumomixcalc::standalone {
namespace {

TEST(ParseBands, TakesNumbersAndRangesInOrder) {
  EXPECT_EQ(ParseBands("1"), (std::vector<int>{1}));
  EXPECT_EQ(ParseBands("1,3-5"), (std::vector<int>{1, 3, 4, 5}));
  EXPECT_EQ(ParseBands("7,2-2,7"), (std::vector<int>{7, 2, 7}));
}

TEST(ParseBands, RefusesWhatIsNoListOfBands) {
  for (const char* text : {"", ",", "1,", "0", "-1", "5-3", "1-", "-", "1-2-3", "a", "1 ", "1.5",
                           "1-2000000000", "99999999999", "1-65536,1"})
    EXPECT_THROW(ParseBands(text), WrongCommandLine) << "'" << text << "'";
}

TEST(ParseRegion, TakesFourWholeNumbers) {
  EXPECT_EQ(ToText(ParseRegion("10:20:300:1")), "10:20:300:1");
  for (const char* text : {"", "1:2:3", "1:2:3:4:5", "1:2:3:0", "1:2:-3:4", "1.0:2:3:4",
                           "1:2:3:", "1,2,3,4", "1:2:3:99999999999"})
    EXPECT_THROW(ParseRegion(text), WrongCommandLine) << "'" << text << "'";
}

TEST(ParseWindow, TakesMinimaBelowMaxima) {
  EXPECT_EQ(ToText(ParseWindow("-1.5:0.1:2e3:+7")), "-1.5:0.1:2000:7");
  for (const char* text : {"", "1:2:3", "3:0:1:5", "0:5:1:5", "0:0:inf:1", "nan:0:1:1", "0:0:1:x"})
    EXPECT_THROW(ParseWindow(text), WrongCommandLine) << "'" << text << "'";
}

TEST(ParseResolution, TakesWholeNumbersFromOne) {
  EXPECT_EQ(ParseResolution("16"), 16);
  for (const char* text : {"0", "-2", "1.5", "x", "1/2"})
    EXPECT_THROW(ParseResolution(text), WrongCommandLine) << text;
}

TEST(ParseResampling, KnowsItsNamesWhole) {
  EXPECT_EQ(ParseResampling("average"), Resampling::kAverage);
  for (const char* text : {"Average", "near", "preview", ""})
    EXPECT_THROW(ParseResampling(text), WrongCommandLine) << text;
}

}  // namespace
}  // namespace lumomixcalc::standalone
