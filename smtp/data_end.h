// DataEnd: watches the text of a message on its way out for the line that ends it.
//
// Behind 354 the text of a message ends with CR LF "." CR LF (RFC 5321 section 4.1.1.4); what
// follows is taken for commands. Some servers take a bare LF or CR for a line end, too, and so see
// the end where others do not: a dot that stands alone between line ends, not all of which are
// CR LF, is ambiguous, and what follows it would be text to one server and commands to another.
#pragma once

#include <cstddef>
#include <string_view>

namespace tallowbrook {

class DataEnd {
 public:
  enum class Verdict { kGoesOn, kEnded, kAmbiguous };
  struct Result {
    Verdict verdict;
    std::size_t length;  // the bytes up to and with the end, or all that were given
  };

  // Takes the next bytes of the text. Nothing may follow one that is ended or ambiguous.
  Result take(std::string_view bytes);

  // What a text that stops here lacks.
  [[nodiscard]] std::string_view missing() const;

 private:
  // What the text so far ends with. A line starts properly behind CR LF, loosely behind LF alone;
  // behind CR alone it does so for some.
  enum class State { kText, kCr, kLine, kLooseLine, kDot, kDotCr, kLooseDot };

  void take_run(std::string_view run);
  void take_dot();
  Verdict take_behind_dot(char byte);
  [[nodiscard]] bool behind_dot() const { return state_ >= State::kDot; }

  State state_ = State::kLine;
};

}  // namespace tallowbrook
