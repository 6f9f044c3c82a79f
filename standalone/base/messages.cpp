#include "standalone/base/messages.h"

#include <cpl_string.h>
#include <strings.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <numeric>
#include <utility>

namespace lumomixcalc::standalone {
namespace {

std::mutex sinkMutex;
MessageSink theSink = WriteToStandardError;
std::map<std::string, std::string> theFields;  // by option

// The Levenshtein distance: how many characters must be added, removed or replaced to turn one text
// into the other. Upper and lower case are the same.
std::size_t EditDistance(const std::string& one, const std::string& other) {
  std::vector<std::size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < one.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < other.size(); ++j) {
      const std::size_t replaced = diagonal + (strncasecmp(&one[i], &other[j], 1) == 0 ? 0 : 1);
      diagonal = std::exchange(row[j + 1], std::min({replaced, row[j] + 1, row[j + 1] + 1}));
    }
  }
  return row.back();
}

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

std::string CountText(std::uint64_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  for (std::size_t end = 0; (end = text.find(separator)) != std::string_view::npos;
       text.remove_prefix(end + 1))
    parts.emplace_back(text.substr(0, end));
  parts.emplace_back(text);
  return parts;
}

std::string Joined(const std::vector<std::string>& texts, const std::string& separator) {
  std::string joined;
  for (std::size_t i = 0; i < texts.size(); ++i) joined += (i > 0 ? separator : "") + texts[i];
  return joined;
}

std::string Suggestion(const std::string& unknown, const std::vector<std::string>& names) {
  const auto nearest = std::ranges::min_element(
      names, {}, [&](const std::string& name) { return EditDistance(unknown, name); });
  if (nearest == names.end() || EditDistance(unknown, *nearest) * 2 > nearest->size()) return "";
  return "; did you mean " + *nearest + "?";
}

}  // namespace lumomixcalc::standalone
