#include "smtp/data_end.h"

#include <algorithm>

namespace tallowbrook {

// The bytes between two dots.
void DataEnd::take_run(std::string_view run) {
  if (run.empty()) return;
  if (run.back() == '\n') {
    const bool cr = run.size() > 1 ? run[run.size() - 2] == '\r' : state_ == State::kCr;
    state_ = cr ? State::kLine : State::kLooseLine;
  } else {
    state_ = run.back() == '\r' ? State::kCr : State::kText;
  }
}

void DataEnd::take_dot() {
  if (state_ == State::kLine) {
    state_ = State::kDot;
  } else if (state_ != State::kText) {
    state_ = State::kLooseDot;
  }
}

DataEnd::Verdict DataEnd::take_behind_dot(char byte) {
  if (state_ == State::kDotCr) return byte == '\n' ? Verdict::kEnded : Verdict::kAmbiguous;
  if (state_ == State::kDot && byte == '\r') {
    state_ = State::kDotCr;
    return Verdict::kGoesOn;
  }
  state_ = State::kText;
  return byte == '\r' || byte == '\n' ? Verdict::kAmbiguous : Verdict::kGoesOn;
}

DataEnd::Result DataEnd::take(std::string_view bytes) {
  std::size_t at = 0;
  while (at < bytes.size()) {
    if (behind_dot()) {
      const Verdict verdict = take_behind_dot(bytes[at++]);
      if (verdict != Verdict::kGoesOn) return {verdict, at};
      continue;
    }
    const std::size_t dot = std::min(bytes.find('.', at), bytes.size());
    take_run(bytes.substr(at, dot - at));
    if (dot < bytes.size()) take_dot();
    at = dot + 1;
  }
  return {Verdict::kGoesOn, bytes.size()};
}

std::string_view DataEnd::missing() const {
  constexpr std::string_view kEnd = "\r\n.\r\n";
  switch (state_) {
    case State::kCr:
      return kEnd.substr(1);
    case State::kLine:
      return kEnd.substr(2);
    case State::kDot:
      return kEnd.substr(3);
    case State::kDotCr:
      return kEnd.substr(4);
    default:
      return kEnd;
  }
}

}  // namespace tallowbrook
