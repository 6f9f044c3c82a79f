#include "standalone/base/messages.h"

#include <cpl_string.h>

#include <cstddef>
#include <cstdio>
#include <mutex>
#include <utility>

namespace lumomixcalc::standalone {
namespace {

std::mutex sinkMutex;
MessageSink theSink = WriteToStandardError;
std::map<std::string, std::string> theFields;  // by option

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
  const auto field = theFields.find(option);
  if (field == theFields.end()) return option + "=" + value;
  return field->second + (value.empty() ? "" : " ") + value;
}

void NameFields(std::map<std::string, std::string> fields) { theFields = std::move(fields); }

void Warn(const std::string& sentence) { Tell("warning: " + sentence); }

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

}  // namespace lumomixcalc::standalone
