#include "standalone/base/messages.h"

#include <cpl_string.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <utility>
#include <vector>

namespace lumomixcalc::standalone {
namespace {

std::mutex sinkMutex;
MessageSink theSink = WriteToStandardError;
std::map<std::string, std::string> theFields;  // by option or setting
Warnings* theWarnings = nullptr;

MessageSink ExchangeSink(MessageSink sink) {
  const std::lock_guard lock(sinkMutex);
  return std::exchange(theSink, std::move(sink));
}

}  // namespace

void WriteToStandardError(const std::string& sentence) {
  // One call per line, so that the lines of two processes on one terminal do not mix.
  std::fputs((std::string(kProgramName) + ": " + sentence + "\n").c_str(), stderr);
}

MessageRedirection::MessageRedirection(MessageSink sink) : before_(ExchangeSink(std::move(sink))) {}

MessageRedirection::~MessageRedirection() { ExchangeSink(std::move(before_)); }

void Tell(const std::string& sentence) {
  const std::lock_guard lock(sinkMutex);
  theSink(WithVisibleControls(sentence));
}

std::string SettingText(const std::string& option, const std::string& value) {
  std::string setting = option + "=" + value;
  if (const auto box = theFields.find(setting); box != theFields.end()) return box->second;
  const auto field = theFields.find(option);
  if (field == theFields.end()) return setting;
  return field->second + (value.empty() ? "" : " ") + value;
}

void NameFields(std::map<std::string, std::string> fields) { theFields = std::move(fields); }

void Warn(const std::string& sentence) {
  const std::string visible = WithVisibleControls(sentence);
  const std::lock_guard lock(sinkMutex);
  if (theWarnings) {
    std::vector<std::string>& told = theWarnings->told_;
    if (std::ranges::find(told, visible) != told.end()) return;
    told.push_back(visible);
  }
  theSink("warning: " + visible);
}

void Warnings::Become(Warnings* kept) {
  const std::lock_guard lock(sinkMutex);
  theWarnings = kept;
}

std::vector<std::string> Warnings::All() const {
  const std::lock_guard lock(sinkMutex);
  return told_;
}

void Warnings::RefuseIfStrict() const {
  if (const std::size_t count = All().size(); strict_ && count > 0)
    throw Failure("-strict: " + CountText(count, "warning") + ", so nothing was written");
}

std::string WithVisibleControls(const std::string& text) {
  std::string visible;
  bool continuesControl = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    // U+0080 to U+009F are control characters, too; in UTF-8 they begin with the byte C2.
    const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
    const bool beginsControl = byte == 0xC2 && next >= 0x80 && next < 0xA0;
    const bool isControl = byte < 0x20 || byte == 0x7F || beginsControl || continuesControl;
    visible += isControl ? CPLSPrintf("\\x%02x", byte) : std::string(1, text[i]);
    continuesControl = beginsControl;
  }
  return visible;
}

std::string ShellWord(const std::string& word) {
  constexpr const char* kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_@%+=:,./-";
  if (word.empty()) return "''";
  // zsh takes a word that begins with = as the name of a command.
  if (!word.starts_with('=') && word.find_first_not_of(kPlain) == std::string::npos) return word;
  if (WithVisibleControls(word) != word) {
    std::string escaped;
    for (const char c : word) escaped.append(c == '\'' || c == '\\' ? "\\" : "").append(1, c);
    return "$'" + WithVisibleControls(escaped) + "'";
  }
  // Without empty quotes: wordexp reads '' as a word of its own.
  std::vector<std::string> pieces;
  for (const std::string& piece : Split(word, '\''))
    pieces.push_back(piece.empty() ? "" : std::string("'").append(piece).append("'"));
  return Joined(pieces, "\\'");
}

}  // namespace lumomixcalc::standalone
