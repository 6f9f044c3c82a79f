#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace lumomixcalc::standalone {

inline constexpr const char* kProgramName = "lumomixcalc";

enum class ExitStatus { kDone = 0, kFailed = 1, kWrongCommandLine = 2 };

// Ends a run: what() is one sentence for the user that names the file, option or value.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& sentence, ExitStatus status = ExitStatus::kFailed)
      : std::runtime_error(sentence), status_(status) {}
  ExitStatus Status() const { return status_; }

 private:
  ExitStatus status_;
};

class WrongCommandLine : public Failure {
 public:
  explicit WrongCommandLine(const std::string& sentence)
      : Failure(sentence, ExitStatus::kWrongCommandLine) {}
};

// The end of a run that was asked to stop.
class Cancelled : public Failure {
 public:
  Cancelled() : Failure("cancelled") {}
};

// The end of a run in which the application desisted. It has told the reason itself.
class Desisted : public Failure {
 public:
  Desisted() : Failure("the application desisted") {}
};

// Gets one sentence without an end of line. Called by one thread at a time, but by any.
using MessageSink = std::function<void(const std::string& sentence)>;

// Sends messages to a sink of one's own for as long as it lives, then to where they went before.
class MessageRedirection {
 public:
  explicit MessageRedirection(MessageSink sink);
  ~MessageRedirection();
  MessageRedirection(const MessageRedirection&) = delete;
  MessageRedirection& operator=(const MessageRedirection&) = delete;

 private:
  MessageSink before_;
};

// Writes a sentence as a line on standard error, with the program's name before it.
void WriteToStandardError(const std::string& sentence);

// Hands one sentence to the sink, its control characters visible; without a redirection that is
// WriteToStandardError. A warning is for what stops nothing; it begins with "warning: ".
void Tell(const std::string& sentence);
void Warn(const std::string& sentence);

// The text with control characters written as \x1b and the like, which do nothing to a terminal.
std::string WithVisibleControls(const std::string& text);

// "1 element", "12 elements".
std::string CountText(std::uint64_t count, const std::string& noun);

// The parts between separators, empty ones included; one at least.
std::vector<std::string> Split(std::string_view text, char separator);

// "a, b, c".
std::string Joined(const std::vector<std::string>& texts, const std::string& separator = ", ");

// "; did you mean NAME?" with the name most like the unknown one, upper and lower case alike; empty
// when none is much like it.
std::string Suggestion(const std::string& unknown, const std::vector<std::string>& names);

}  // namespace lumomixcalc::standalone
