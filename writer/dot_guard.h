// DotGuard: keeps coded content from holding the line "." that ends a message (RFC 5321 section
// 4.5.2), or a dot that SMTP would take off.
//
// The coders guard the dots that they see at line starts. Some line starts they do not see: behind
// a bare LF, which goes out as CR LF; behind a bare CR, which a reader takes for a line end; and
// where an escaped blank closed the line before. A dot that comes first there is guarded on the
// way out:
//   quoted-printable   "=2E", which decodes to the dot
//   line codings       doubled; behind a bare CR only where nothing but blanks follows it in the
//                      line, since such a dot stands inside the line for SMTP
#pragma once

#include <string>
#include <string_view>

namespace tallowbrook {

class DotGuard {
 public:
  enum class Style { kQuoted, kDoubled };

  explicit DotGuard(Style style) : style_(style) {}

  // Calls `put` with what goes out for the coder's next bytes. A dot may be held back with the
  // blanks behind it until the line shows what it is: `finish` puts out what is left.
  template <class Put>
  void take(std::string_view bytes, Put&& put) {
    std::size_t at = held_.empty() ? 0 : take_held(bytes, put);
    std::size_t run = at;
    for (at = bytes.find('.', at); at != bytes.npos; at = bytes.find('.', at)) {
      const Action action = action_for(bytes, at);
      if (action == Action::kPass) {
        ++at;
        continue;
      }
      put(bytes.substr(run, at - run));
      if (action == Action::kHold) {
        at += take_held(bytes.substr(at), put);
      } else {
        put(action == Action::kQuote ? std::string_view("=2E") : std::string_view(".."));
        ++at;
      }
      run = at;
    }
    put(bytes.substr(run));
    remember(bytes);
  }

  template <class Put>
  void finish(Put&& put) {
    release(!held_.empty(), put);
  }

 private:
  enum class Action { kPass, kQuote, kDouble, kHold };

  [[nodiscard]] Action action_for(std::string_view bytes, std::size_t dot) const;
  void remember(std::string_view bytes);

  // Takes the held dot's line on, or a new one's; returns the bytes taken.
  template <class Put>
  std::size_t take_held(std::string_view bytes, Put&& put) {
    std::size_t blanks = bytes.find_first_not_of(" \t", held_.empty() ? 1 : 0);
    const bool open = blanks == bytes.npos;
    if (open) blanks = bytes.size();
    held_.append(bytes.substr(0, blanks));
    if (!open) release(bytes[blanks] == '\r' || bytes[blanks] == '\n', put);
    return blanks;
  }

  template <class Put>
  void release(bool alone, Put&& put) {
    if (alone) put(std::string_view("."));
    put(std::string_view(held_));
    held_.clear();
  }

  Style style_;
  std::string held_;
  char before_last_ = '\r';  // the bytes in front: content starts a line
  char last_ = '\n';
};

}  // namespace tallowbrook
