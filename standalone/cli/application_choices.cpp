#include "standalone/cli/application_choices.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <variant>

#include "host/ip.h"
#include "standalone/framework/panel_rows.h"

namespace lumomixcalc::standalone {
namespace {

using Echo = std::vector<std::string>;

Echo EchoWith(HostState& host, std::int32_t& choice, std::size_t position) {
  choice = static_cast<std::int32_t>(position);
  host.echoedOptions.clear();
  host.registration.Call(IP_SLOT_WRITE_CMD_LINE);
  return std::exchange(host.echoedOptions, {});
}

// The place in the echo of the option that differs from choice to choice.
std::optional<std::size_t> DifferingPlace(const std::vector<Echo>& echoes) {
  const Echo& first = echoes.front();
  const Echo& last = echoes.back();
  const auto [differing, ignored] =
      std::mismatch(first.begin(), first.end(), last.begin(), last.end());
  if (differing == first.end()) return std::nullopt;
  return static_cast<std::size_t>(differing - first.begin());
}

// Without the quotes that are the shell's.
std::string Unquoted(std::string option) {
  std::erase(option, '\'');
  return option;
}

// A row's label without the blanks that pad it in a panel.
std::string Title(const InfoButton& button) {
  return button.label.substr(0, button.label.find_last_not_of(' ') + 1);
}

ApplicationChoices ChoicesOf(HostState& host, const Pulldown& pulldown, const std::string& title) {
  const std::int32_t chosen = *pulldown.choice;
  std::vector<Echo> echoes;
  for (std::size_t i = 0; i < pulldown.labels.size(); ++i)
    echoes.push_back(EchoWith(host, *pulldown.choice, i));
  *pulldown.choice = chosen;

  ApplicationChoices result = {title, {}};
  const std::optional<std::size_t> place = DifferingPlace(echoes);
  for (std::size_t i = 0; place && i < echoes.size(); ++i)
    if (*place < echoes[i].size())
      result.choices.push_back({Unquoted(echoes[i][*place]), pulldown.labels[i]});
  return result;
}

}  // namespace

std::vector<ApplicationChoices> AskForChoices(HostState& host) {
  host.panel = {};
  host.registration.Call(IP_SLOT_SET_MENU);
  const PanelRows panel = std::exchange(host.panel, {});
  std::vector<ApplicationChoices> all;
  for (const PanelRow& row : panel.Rows()) {
    std::string title;
    for (const PanelElement& element : row.elements) {
      if (const auto* const button = std::get_if<InfoButton>(&element)) title = Title(*button);
      if (const auto* const pulldown = std::get_if<Pulldown>(&element))
        all.push_back(ChoicesOf(host, *pulldown, title));
    }
  }
  return all;
}

}  // namespace lumomixcalc::standalone
