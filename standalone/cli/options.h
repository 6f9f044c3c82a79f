#pragma once

#include <string>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

// What the command line asks for.
struct Options {
  // Of several, the one that is later in this list is done.
  enum class Action { kRun, kPanel, kJoin, kCompletions, kHelp, kVersion };

  Action action = Action::kRun;
  Job job;
  std::string mosaic;  // the file of -join=
  bool quiet = false;
  std::vector<std::string> applicationArguments;
  std::vector<std::string> filesWithoutName;
};

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
// Warns of an input that is not read and leaves it out of the job, so that it is not opened.
// operatorOption is the option that made the choice, for messages.
void CheckInputs(Options& options, HostState& host, const std::string& operatorOption);

// The inputs, in their order, and the output.
std::vector<DeclaredStream> AllStreams(const Registration& registration);

// The files of a command line as the usage text shows them: "FILE1 [FILE2] SAVE".
std::string FilesSynopsis(const Registration& registration);

}  // namespace lumomixcalc::standalone
