#include "cli/dialogue.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "cli/terminal.h"
#include "cli/words.h"
#include "platform/kernel/debug_output.h"

namespace tallowbrook::cli {
namespace {

constexpr std::string_view kStart = "SMTP ";

}  // namespace

Dialogue::Dialogue(bool verbose) : verbose_(verbose) {
  platform::SetDebugOutputHandler([this](std::string_view text) { hear(text); });
}

Dialogue::~Dialogue() { platform::SetDebugOutputHandler({}); }

void Dialogue::start() {
  connected_ = false;
  exchanges_.clear();
  failure_.clear();
}

Exchange Dialogue::last(std::string_view verb) const {
  for (auto exchange = exchanges_.rbegin(); exchange != exchanges_.rend(); ++exchange) {
    if (std::string_view(exchange->command).substr(0, verb.size()) == verb) return *exchange;
  }
  return {};
}

void Dialogue::hear(std::string_view text) {
  const bool ours = text.substr(0, kStart.size()) == kStart && text.size() > kStart.size() + 2;
  const char* const setting = std::getenv("TALLOWBROOK_DEBUG");
  if (setting != nullptr && *setting != '\0') {
    std::fwrite(text.data(), 1, text.size(), stderr);  // where it would have gone
  }
  if (!ours) return;
  text.remove_prefix(kStart.size());
  if (text.back() == '\n') text.remove_suffix(1);
  const char mark = text[0];
  const std::string line = recovered(to_utf16(text.substr(std::min<std::size_t>(text.size(), 2))));
  if (verbose_) std::printf("  %c %s\n", mark, printable(line).c_str());
  switch (mark) {
    case '*':
      connected_ = true;
      break;
    case '>':
      exchanges_.push_back({line, {}});
      break;
    case '<':
      if (exchanges_.empty()) exchanges_.emplace_back();
      if (!exchanges_.back().reply.empty()) exchanges_.back().reply += '\n';
      exchanges_.back().reply += line;
      break;
    case '!':
      failure_ = line;
      break;
    default:
      break;
  }
}

}  // namespace tallowbrook::cli
