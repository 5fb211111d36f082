// The lexical scanner: bytes of a message to tokens of the grammar.
//
// A re-entrant object; all its state is here, and its buffers are kept between runs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "model/header_value.h"
#include "parser/load.h"
#include "parser/usual_fields.h"

namespace tallowbrook {

// A boundary parameter's value without its quotes; empty when it cannot delimit anything.
[[nodiscard]] std::string usable_boundary(std::string_view value);

class Scanner {
 public:
  Scanner();
  ~Scanner();
  Scanner(const Scanner&) = delete;
  Scanner& operator=(const Scanner&) = delete;

  // Forgets everything of the run before: header fields, at line start, line 1, no boundaries.
  void start(ParseRun& run);

  // The next token: a code of the grammar, a literal character, or 0 at the end of the message.
  // `value` receives the token's value; a token without one has the empty value. A body line's
  // value looks into the scanner's buffer and is gone with the next call.
  [[nodiscard]] int next(HeaderValue& value);

  // The number of line ends consumed, plus 1. At the end of a multipart's type the line end is
  // still to come, but an error there is one of what follows.
  [[nodiscard]] long line() const;

  // After a run: gives back a buffer that a long token made large.
  void release_large_buffer();
  // Bytes that were read and not consumed.
  [[nodiscard]] std::size_t unread() const { return static_cast<std::size_t>(limit_ - cursor_); }
  // True when the body lines given last are all that was read: more of the body may follow.
  [[nodiscard]] bool body_goes_on() const { return body_goes_on_; }
  [[nodiscard]] std::size_t bytes_read() const { return bytes_read_; }

  // Called by the action of a parameter named boundary. The first one of a multipart type becomes
  // the multipart's boundary when the type's value ends.
  void note_boundary(std::string_view value);

 private:
  struct Boundary {
    std::string text;
    bool seen = false;  // a delimiter of it was met
  };
  enum class Match { kMismatch, kDelimiter, kClose };
  // How far the value of a multipart Content-Type has been read.
  enum class TypeValue { kNone, kOpen, kMultipartType, kEnding };
  // What of a Content-Type comes next, up to its subtype.
  enum class TypePlace { kNone, kMajor, kSlash, kSubtype };

  int scan(HeaderValue& value);
  void settle();
  int usual_fields(HeaderValue& value);
  int enter(int token, int condition);
  int enter_field(int token, int condition, bool deferred);
  int enter_type(int token, bool multipart);
  void open_type_value();
  int type_token(int token, HeaderValue& value);
  int single_value(HeaderValue& value, int token, int condition);
  int extension_field(HeaderValue& value);
  int take_body_token();
  int header_end();
  int header_delimiter();
  int header_end_of_data();

  [[nodiscard]] Match recognise(std::string_view line);
  int body_delimiter(HeaderValue& value);
  int body_end_of_data();
  void push_boundary(std::string_view value);
  int end_type_value();

  int plain_body(HeaderValue& value);
  int long_line(HeaderValue& value);
  int raw_field(HeaderValue& value);
  bool find_raw_end(std::size_t& content_end, std::size_t& seen);
  int line(HeaderValue& value, int token);
  int word(HeaderValue& value, int token);
  int atom(HeaderValue& value);
  void begin_text(HeaderValue& value, int condition);
  int end_text(int token);
  int number(HeaderValue& value, int token, std::int32_t number);
  int digits(HeaderValue& value);
  int zone(HeaderValue& value, std::string_view offset);
  void abandon_comment();

  void push(int condition);
  void pop();
  [[nodiscard]] bool under_received() const;
  void keep_blank_line();
  void back_to_line_end();
  void back(std::size_t bytes) { cursor_ -= bytes; }
  void back_all() { cursor_ = token_; }
  [[nodiscard]] std::string_view matched() const {
    return {token_, static_cast<std::size_t>(cursor_ - token_)};
  }
  [[nodiscard]] bool refill();
  [[nodiscard]] bool have(std::size_t offset);
  void count_lines();

  ParseRun* run_ = nullptr;

  // The buffer holds [token_, limit_) and a zero byte behind it, which no message byte equals.
  char* buffer_ = nullptr;
  std::size_t capacity_ = 0;
  std::size_t bytes_read_ = 0;  // in this run
  bool body_goes_on_ = false;
  const char* token_ = nullptr;   // start of the text being matched
  const char* cursor_ = nullptr;  // the next byte to look at
  const char* marker_ = nullptr;  // where the longest match so far ends
  const char* limit_ = nullptr;   // the end of what was read

  int condition_ = 0;
  std::vector<std::uint8_t> conditions_;
  std::vector<Boundary> boundaries_;
  int pending_body_token_ = -1;
  int comment_depth_ = 0;
  bool at_line_start_ = true;
  bool before_blank_line_ = false;  // what comes next counts as at line start
  bool in_part_ = false;            // a delimiter was met: header fields belong to a part
  TypeValue type_value_ = TypeValue::kNone;
  TypePlace type_place_ = TypePlace::kNone;
  int major_token_ = 0;  // of the type that is being read
  bool boundary_noted_ = false;
  std::string noted_boundary_;
  UsualFields usual_;
  bool takes_usual_ = false;       // header fields of this run may go past the grammar
  bool is_settled_ = true;         // the parser has reduced all that it was given
  long line_ = 1;                  // at `counted_`
  const char* counted_ = nullptr;  // line ends before it are counted; not behind `token_`
};

}  // namespace tallowbrook
