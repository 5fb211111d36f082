#include "writer/dot_guard.h"

namespace tallowbrook {

DotGuard::Action DotGuard::action_for(std::string_view bytes, std::size_t dot) const {
  const char last = dot > 0 ? bytes[dot - 1] : last_;
  const char before_last = dot > 1 ? bytes[dot - 2] : dot == 1 ? last_ : before_last_;
  if (last != '\r' && last != '\n') return Action::kPass;
  if (style_ == Style::kQuoted) return Action::kQuote;
  if (last == '\r') return Action::kHold;
  return before_last == '\r' ? Action::kPass : Action::kDouble;  // the coder saw a CR LF
}

void DotGuard::remember(std::string_view bytes) {
  if (bytes.empty()) return;
  before_last_ = bytes.size() > 1 ? bytes[bytes.size() - 2] : last_;
  last_ = bytes.back();
}

}  // namespace tallowbrook
