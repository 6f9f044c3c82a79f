// Command lines and the texts of numbers.
#include <cpl_conv.h>
#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <sstream>

#include "standalone/base/texts.h"
#include "tests/standalone/command_lines.h"

namespace lumomixcalc::standalone {
namespace {

std::vector<std::string> Words(const std::string& text) {
  std::istringstream words(text);
  return {std::istream_iterator<std::string>(words), {}};
}

TEST(CommandLines, FillStreamsByNameThenByPosition) {
  const struct {
    std::vector<std::string> arguments;
    std::map<int, std::string> files;
  } kCases[] = {
      {{"-save=o", "a"}, {{1, "a"}, {3, "o"}}},
      {{"a", "-file1=x", "o"}, {{1, "x"}, {2, "a"}, {3, "o"}}},
      {{"a", "--", "-b", "--"}, {{1, "a"}, {2, "-b"}, {3, "--"}}},
      // The panel takes any of the files, in the order of its fields.
      {{"-panel"}, {}},
      {{"-panel", "a"}, {{1, "a"}}},
      {{"a", "-panel", "b"}, {{1, "a"}, {2, "b"}}},
      {{"a", "b", "o", "-panel"}, {{1, "a"}, {2, "b"}, {3, "o"}}},
      {{"-panel", "-file2=b", "a"}, {{1, "a"}, {2, "b"}}},
      {{"-panel", "-file2=b", "a", "o"}, {{1, "a"}, {2, "b"}, {3, "o"}}},
  };
  for (const auto& [arguments, files] : kCases) {
    const Job job = ReadCommandLine(arguments).job;
    std::map<int, std::string> found = job.inputs;
    if (!job.output.empty()) found[3] = job.output;
    EXPECT_EQ(found, files) << testing::PrintToString(arguments);
  }
}

TEST(CommandLines, ComeBackFromTheCommandThatRepeatsTheRun) {
  const std::vector<std::vector<std::string>> commands = {
      Words("a.tif o.img -mode=cfloat32 -format=ENVI -co=INTERLEAVE=BIL -co=A=' -region=1:2:30:40 "
            "-resolution=2 -resampling=average -bands=1,3-5 -looks=3:2 -nodata=keep -clamp"),
      Words("=x -file1=-dash -save=\xc3\xa4 -window=-1.2345678:2e3:1e6:4e300 -resolution=3 -oo=A=1 "
            "-extent=intersection -resampling=overview -nodata=nan -a_nodata=1.5e-9 -unscale "
            "-operator=a/b2"),
      Words("-mode=byte -file2=$HOME`;\\'2 -operator=1+b_pow_a -looks=1:3 -- -b"),
      Words("~root -save=~ -a=0.1234567:1 -b=0.1234568:1"),  // alike in the first six digits
      {"it's of two words", "'\xc2\"*~''"}};
  std::mt19937 random;
  const auto real = [&random] {
    const auto bits = static_cast<std::uint32_t>(random());
    const float value = random() % 2 == 0 ? std::bit_cast<float>(bits) : static_cast<float>(bits);
    return ShortestText(value);
  };
  for (int run = 0; run < 1000; ++run)
    for (std::vector<std::string> arguments : commands) {
      arguments.insert(arguments.begin(), {"-a=" + real() + ":" + real(), "-b=" + real()});
      EXPECT_TRUE(ComesBackTheSame(arguments)) << testing::PrintToString(arguments);
    }
  EXPECT_EQ(ShellWord("=x"), "'=x'");  // zsh takes it for the name of a command
  EXPECT_THROW(ArgumentsOf("lumomixcalc $(true)"), WrongCommandLine);
  EXPECT_THROW(ArgumentsOf("lumomixcalc-coherence a b c"), WrongCommandLine);
}

TEST(CommandLines, TakeWhatGdalsProgramsTake) {
  const auto commandOf = [](const std::string& text) {
    const Options options = ReadCommandLine(Words(text));
    const HostState& host = TheHostState();
    return ReproducingCommand(options.job, host.registration, {}) + (options.quiet ? " q" : "");
  };
  EXPECT_EQ(commandOf("a -ot Int16 -of ENVI -co A=B -oo C=D -srcwin 1 2 3 4 -r near -q o"),
            commandOf("a o -mode=int16 -format=ENVI -co=A=B -oo=C=D -region=1:2:3:4 -quiet"));
  EXPECT_EQ(commandOf("-a_nodata -1 -projwin -2 4 6 -8 a o --config LUMOMIXCALC_TEST http://a:8"),
            commandOf("a --config LUMOMIXCALC_TEST2=A=B o -a_nodata=-1 -window=-2:-8:6:4"));
  EXPECT_STREQ(CPLGetConfigOption("LUMOMIXCALC_TEST", ""), "http://a:8");
  EXPECT_STREQ(CPLGetConfigOption("LUMOMIXCALC_TEST2", ""), "A=B");
  EXPECT_EQ(commandOf("a o -mode=uint8 -ot complex64"), commandOf("a o -ot cfloat32"));
  EXPECT_EQ(commandOf("a o -mode=uint8"), commandOf("a o -mode=byte"));
}

// Expects a command line to be refused with a sentence that has a text in it.
void ExpectRefused(const std::string& text, const std::vector<std::string>& arguments) {
  try {
    ReadCommandLine(arguments);
    ADD_FAILURE() << "accepted: " << testing::PrintToString(arguments);
  } catch (const WrongCommandLine& wrong) {
    EXPECT_NE(std::string(wrong.what()).find(text), std::string::npos) << wrong.what();
  }
}

TEST(CommandLines, NameTheArgumentThatIsWrong) {
  for (const std::string& word : Words(R"(
      -region= -region=1:2:3 -region=1:2:3:4:5 -region=1:2:3: -region=1,2,3,4 -region=a:0:1:1
      -region=1.0:2:3:4 -region=0:0:0:1 -region=1:2:-3:4 -region=0:0:1:99999999999 -window=1:2:3
      -window=1:2:3:x -window=5:1:1:5 -window=0:5:1:5 -window=nan:0:1:1 -window=0:0:inf:1
      -extent= -extent=union -resolution=0 -resolution=-1 -resolution=2.5 -resolution=1/2 -resampling=
      -resampling=Average -resampling=preview -bands= -bands=0 -bands=x
      -bands=1.5 -bands=1, -bands=1,,2 -bands=1- -bands=3-1 -bands=1-2-3 -bands=1-65536,1
      -bands=1-999999999 -mode=float16 -nodata=drop -a_nodata=x -co=A -oo==B -b -srcwin -srcwin=0:0:1:1
      -overwrite=yes -file1 -file1=b.tif -file2= c.tif -part=0/3 -part=4/3 -part=-1/3 -part=1/0
      -part=3 -part=1/3/5 -part=/3 -part=1/ -part=x/y -part=1/99999999999 -looks=0 -looks=1:0
      -looks=2:3:4 -looks=x -looks=-1 -looks=1.5 -a= -a=+ -a=- -a=x -a=1x -a=1,5 -a=1.5.2 -a=--1
      -a=+-1 -a=++1 -a=0x10 -a=1e -a=3.5e38 -a=-1e39 -a=1e-50 -a=one -a=1: -a=:1 -a=1:2:3 -a=1:x
      -b=1:2: -A=1 -aa=1 --a=1 -a)"))
    ExpectRefused(word, {"-file1=a.tif", "-file2=b.tif", word, "o.tif"});
  ExpectRefused("-bands=1 ", {"a.tif", "o.tif", "-bands=1 "});
}

TEST(CommandLines, SayWhatIsWrong) {
  const std::string many(40'000, '1');
  ExpectRefused("no output file", {"-file1=a"});
  ExpectRefused("no input file", {"-save=o"});
  ExpectRefused("file name is empty", {"a", "b", ""});
  ExpectRefused("exclude each other", {"a", "o", "-window=0:0:1:1", "-region=0:0:1:1"});
  ExpectRefused("did you mean -file1?", {"a", "o", "--file1=b"});
  ExpectRefused("; write -operator=op", {"a", "o", "-operator"});
  ExpectRefused("write -operator=a1b", {"a", "o", "-operator", "a1b"});
  ExpectRefused("write -of COG or -format=NAME", {"a", "o", "-of=COG"});
  ExpectRefused("did you mean average?", {"a", "o", "-resampling=avrage"});
  ExpectRefused("1 value must follow", {"a", "o", "-ot"});
  ExpectRefused("from 1e-45 to 3.4e38", {"a", "o", "-a=1e39"});
  ExpectRefused("write -a=real[:imaginary] instead of -a=2,3", {"a", "o", "-a=2,3"});
  ExpectRefused("-a requires", {"a", "o", "-a=" + many});
  ExpectRefused("o is left over", std::vector<std::string>(40'000, "o"));
  EXPECT_NO_THROW(ReadCommandLine({"a", "o", "-a=0." + many}));
  ExpectRefused("must end in .vrt", {"-part=1/2", "a", "o.tif"});
  ExpectRefused("must end in .vrt", {"-join=m"});
  ExpectRefused("-format=", {"-part=1/2", "a", "o.vrt", "-format=GTiff"});
  ExpectRefused("-stats=", {"-part=1/2", "a", "o.vrt", "-stats=-"});
  ExpectRefused("-panel", {"-part=1/2", "a", "o.vrt", "-panel"});
  ExpectRefused("-mode=byte: -join= goes with", {"-join=o.vrt", "-mode=byte"});
  ExpectRefused("-panel: -join= goes with", {"-join=o.vrt", "-panel"});
  EXPECT_EQ(ReadOptions({"-h", "-join=o.vrt"}, StartAfresh().registration).action,
            Options::Action::kHelp);
}

TEST(CommandLines, GiveTheApplicationItsNumbers) {
  for (const char* text :
       {"0", "-2.5", "+3", ".5", "5.", "1e3", "1E-3", "3.4028235e38", "1e-45", "0.1", "-inf"}) {
    ReadCommandLine({"a", "o", std::string("-a=") + text + ":-0", "-b=1:2", "-b=nan"});
    EXPECT_EQ(gCoeffA[0], std::strtof(text, nullptr));
    EXPECT_TRUE(gCoeffA[1] == 0 && std::signbit(gCoeffA[1])) << text;
    EXPECT_TRUE(std::isnan(gCoeffB[0]) && gCoeffB[1] == 0) << text;
  }
  EXPECT_THROW(ReadCommandLine({"a", "o", "-a=2:x"}), WrongCommandLine);
  EXPECT_EQ(gCoeffA[0], 1);
}

}  // namespace
}  // namespace lumomixcalc::standalone
