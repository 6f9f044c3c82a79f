#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

// What the command line asks for.
struct Options {
  // Of several, the one that is later in this list is done.
  enum class Action { kRun, kPanel, kJoin, kOperators, kCompletions, kHelp, kVersion };

  Action action = Action::kRun;
  Job job;
  std::string mosaic;  // the file of -join=
  bool quiet = false;
  bool progress = false;   // as lines of numbers instead of a bar
  bool checkOnly = false;  // nothing is computed, no file is made
  std::vector<std::string> applicationArguments;
  std::vector<std::string> filesWithoutName;
};

// What parsing, help, echo and completion know of one option of the host.
struct HostOption {
  struct Field {
    // Reads the text after "=", which is not empty; for a switch it is. Returns false when the text
    // is not as expected.
    bool (*read)(Options& options, const std::string& text) = nullptr;
    // The texts after "=" with which the option is repeated for a job, an empty one for a switch.
    // Null for an option that does not change what a run computes.
    std::vector<std::string> (*echo)(const Job& job) = nullptr;
  };

  std::string_view name;      // empty for an option of GDAL's programs alone
  std::string_view gdalName;  // as in GDAL's programs, before its values; may be empty
  std::size_t values;         // how many arguments follow gdalName; 0 for a switch
  const char* form;           // the text after "=" in the help
  const char* expected;       // the end of the message about a wrong text
  const char* help;           // in one line; null for none
  Field field;
  std::vector<std::string> (*choices)() = nullptr;  // known texts; "@" is any file
  bool joins = false;                               // may be used with -join=

  // "-name=FORM".
  std::string Synopsis() const;

  // Whether `choices` are all texts that it takes.
  bool IsChoice() const { return choices && *expected == '\0'; }
};

// All options of the host, in the order of the help and of the echoed command.
std::span<const HostOption> HostOptions();

// "-name" of "-name=value".
std::string NameOf(const std::string& argument);

// The option that has this name, by itself or in GDAL's programs. Null when there is none.
const HostOption* FindHostOption(const std::string& name);

// One of the known values of an option of the application's.
struct ApplicationChoice {
  std::string argument;  // "-operator=a1b"
  std::string meaning;
};

// Reads the arguments after the program's name. Options that the host does not know are left to the
// application. After "--" every argument is a file. Files without an option are kept for
// PlaceFiles, so that errors in options are reported before errors in files. Throws
// WrongCommandLine.
Options ReadOptions(const std::vector<std::string>& arguments, const Registration& registration);

// The application's own options as its usage text shows them: "-a=real[:imaginary]", "-clamp".
std::vector<std::string> ApplicationOptions(const Registration& registration);

// Has the application read its own options. When one is wrong, throws WrongCommandLine with the
// application's message and what was expected: the most similar name, or the option's form.
void ReadApplicationOptions(const std::vector<std::string>& arguments, HostState& host,
                            const std::vector<ApplicationChoice>& choices);

// Assigns the files given without an option to the streams that have no file yet. Throws
// WrongCommandLine.
void PlaceFiles(Options& options, const Registration& registration);

// Asks the application which inputs it reads. Throws WrongCommandLine when one of them is missing.
// Has the run warn of an input that is not read, and leaves it out, so that it is not opened.
// chosen is the option that chose the operator, for messages.
void CheckInputs(Options& options, HostState& host, const std::string& chosen);

// "B is 1 in (FILE1 + B)**A" for an operator with this formula, when B is not given: who asks for a
// logarithm or a power rarely means that of File1 + 1. Empty for another operator.
std::string NoteOnB(const std::string& formula);

// The inputs, in their order, and the output.
std::vector<DeclaredStream> AllStreams(const Registration& registration);

// The files of a command line as the usage text shows them: "FILE1 [FILE2] SAVE".
std::string FilesSynopsis(const Registration& registration);

// Has the application echo its options and returns them with all digits. The exact values come from
// the panel's fields, or without a panel from the command line.
std::vector<std::string> EchoOptions(HostState& host);

// The arguments of a command of this program, split as a shell does. Throws WrongCommandLine when
// the text is not such a command.
std::vector<std::string> ArgumentsOf(const std::string& command);

// The host's options, "-name=value", that a command for this job needs.
std::vector<std::string> HostArguments(const Job& job);

// The command that repeats a run, for a POSIX shell: the program, the files, the host's options
// that affect the result, and the options that the application echoed, which are quoted already.
std::string ReproducingCommand(const Job& job, const Registration& registration,
                               const std::vector<std::string>& echoedOptions);

// Print to standard output: the usage text with the application's part, the versions of the program
// and of GDAL, the operators, a line for each with its name, a tab and its formula, or what a shell
// completes: a line for each option, "-name" or "-name=", and for each known value, "-name=value",
// which is "@" for any file.
void PrintUsage(const Registration& registration, const std::vector<ApplicationChoice>& choices);
void PrintVersion();
void PrintOperators(const std::vector<ApplicationChoice>& choices);
void PrintCompletions(const Registration& registration,
                      const std::vector<ApplicationChoice>& choices);

}  // namespace lumomixcalc::standalone
