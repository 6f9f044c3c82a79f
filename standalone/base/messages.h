#pragma once

#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "standalone/base/texts.h"  // of which messages are made

namespace lumomixcalc::standalone {

inline constexpr const char* kProgramName = "lumomixcalc";

enum class ExitStatus { kDone = 0, kFailed = 1, kWrongCommandLine = 2 };

// Ends a run. what() is a sentence for the user that names the file, option or value at fault.
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

// Thrown when a run was asked to stop.
class Cancelled : public Failure {
 public:
  Cancelled() : Failure("cancelled") {}
};

// Thrown when the application called IPDesist. The application has shown the reason itself.
class Desisted : public Failure {
 public:
  Desisted() : Failure("the application desisted") {}
};

// Receives one sentence without an end of line. Any thread may call it, but only one at a time.
using MessageSink = std::function<void(const std::string& sentence)>;

// Sends all messages to another sink as long as this object lives.
class MessageRedirection {
 public:
  explicit MessageRedirection(MessageSink sink);
  ~MessageRedirection();
  MessageRedirection(const MessageRedirection&) = delete;
  MessageRedirection& operator=(const MessageRedirection&) = delete;

 private:
  MessageSink before_;
};

// How messages name a setting and its value: by its option, "-region=0:0:8:8", or by the field of a
// form, "Region 0:0:8:8".
std::string SettingText(const std::string& option, const std::string& value = "");

// Names settings by these fields from now on, by option, or by option and value, "-NAME=VALUE", for
// a check box; the others keep their options. Call it before another thread makes messages.
void NameFields(std::map<std::string, std::string> fields);

// Writes a sentence as a line on standard error, with the program's name before it.
void WriteToStandardError(const std::string& sentence);

// Passes one sentence to the current sink, with control characters made visible. The sink is
// WriteToStandardError unless there is a MessageRedirection. Warn is for problems that do not stop
// the run; its sentences begin with "warning: ".
void Tell(const std::string& sentence);
void Warn(const std::string& sentence);

// The warnings of a run: as long as this object lives, it keeps them and lets each be told once.
// There may be one at a time.
class Warnings {
 public:
  explicit Warnings(bool strict) : strict_(strict) { Become(this); }
  ~Warnings() { Become(nullptr); }
  Warnings(const Warnings&) = delete;
  Warnings& operator=(const Warnings&) = delete;

  // As they were told, without "warning: ", in their order.
  std::vector<std::string> All() const;

  // Throws Failure when there are any and the run is strict. To be called before it publishes.
  void RefuseIfStrict() const;

 private:
  friend void Warn(const std::string& sentence);
  static void Become(Warnings* kept);

  bool strict_;
  std::vector<std::string> told_;
};

// The text with control characters written as \x1b and the like, so that they do nothing to a
// terminal.
std::string WithVisibleControls(const std::string& text);

// The word quoted for a shell: unchanged, or in single quotes. A word with control characters is
// written as $'...', which bash, zsh and ksh understand.
std::string ShellWord(const std::string& word);

}  // namespace lumomixcalc::standalone
