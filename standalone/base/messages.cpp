#include "standalone/base/messages.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <numeric>
#include <utility>

namespace lumomixcalc::standalone {
namespace {

struct Outlet {
  std::mutex mutex;
  MessageSink sink = WriteToStandardError;
};

Outlet& TheOutlet() {
  static Outlet outlet;
  return outlet;
}

char Lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

// How many characters must be added, dropped or replaced to make one text from the other
// (Levenshtein's distance).
std::size_t Edits(const std::string& one, const std::string& other) {
  std::vector<std::size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < one.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < other.size(); ++j) {
      const std::size_t replaced = diagonal + (Lower(one[i]) == Lower(other[j]) ? 0 : 1);
      diagonal = std::exchange(row[j + 1], std::min({replaced, row[j] + 1, row[j + 1] + 1}));
    }
  }
  return row.back();
}

std::string AsHexadecimal(unsigned char byte) {
  constexpr const char* kDigits = "0123456789abcdef";
  return {'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 15U]};
}

MessageSink Exchange(MessageSink sink) {
  const std::lock_guard lock(TheOutlet().mutex);
  return std::exchange(TheOutlet().sink, std::move(sink));
}

}  // namespace

void WriteToStandardError(const std::string& sentence) {
  // One call a line, so that lines of two processes on one terminal do not mix.
  std::fputs((std::string(kProgramName) + ": " + sentence + "\n").c_str(), stderr);
}

MessageRedirection::MessageRedirection(MessageSink sink) : before_(Exchange(std::move(sink))) {}

MessageRedirection::~MessageRedirection() { Exchange(std::move(before_)); }

void Tell(const std::string& sentence) {
  const std::lock_guard lock(TheOutlet().mutex);
  TheOutlet().sink(WithVisibleControls(sentence));
}

void Warn(const std::string& sentence) { Tell("warning: " + sentence); }

std::string WithVisibleControls(const std::string& text) {
  std::string visible;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    // U+0080 to U+009F are controls, too; in UTF-8 they begin with this byte.
    const bool beginsControl =
        byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
    if (byte >= 0x20 && byte != 0x7F && !beginsControl) {
      visible += text[i];
      continue;
    }
    visible += AsHexadecimal(byte);
    if (beginsControl) visible += AsHexadecimal(static_cast<unsigned char>(text[++i]));
  }
  return visible;
}

std::string CountText(std::uint64_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string ListText(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

std::string Suggestion(const std::string& unknown, const std::vector<std::string>& names) {
  const auto nearest =
      std::min_element(names.begin(), names.end(), [&](const auto& one, const auto& other) {
        return Edits(unknown, one) < Edits(unknown, other);
      });
  if (nearest == names.end() || Edits(unknown, *nearest) * 2 > nearest->size()) return "";
  return "; did you mean " + *nearest + "?";
}

}  // namespace lumomixcalc::standalone
