#ifndef LUMOMIXCALC_STANDALONE_MESSAGES_H
#define LUMOMIXCALC_STANDALONE_MESSAGES_H

#include <stdexcept>
#include <string>

namespace lumomixcalc::standalone {

inline constexpr const char* kProgramName = "lumomixcalc";

/// Exit statuses of the program.
enum class ExitStatus { kDone = 0, kFailed = 1, kWrongCommandLine = 2 };

/// Ends a run: what() is one sentence for the user that names the file, option or value.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& sentence, ExitStatus status = ExitStatus::kFailed)
      : std::runtime_error(sentence), status_(status) {}
  ExitStatus Status() const { return status_; }

 private:
  ExitStatus status_;
};

/// A failure for which the command line is to blame.
class WrongCommandLine : public Failure {
 public:
  explicit WrongCommandLine(const std::string& sentence)
      : Failure(sentence, ExitStatus::kWrongCommandLine) {}
};

/// Writes one line to standard error, with the program's name before it.
void Tell(const std::string& sentence);

/// The same for what the user should know but what stops nothing.
void Warn(const std::string& sentence);

}  // namespace lumomixcalc::standalone

#endif
