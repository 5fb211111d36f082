// The lexicon of Internet messages, as re2c rules. Letter case never matters.
//
// Conditions. A stack of them says where the scanner is: a header name pushes the condition that
// reads the field's value, the end of the field pops it.
//
//   HEADER         fields of a header section          bottom of the stack; header end pushes BODY
//   HEADER_BOL       the same at line start, in the message's own header
//   PART_BOL         the same at line start, in a part's header: only Content- fields have names
//   COMMENT        "(...)", nested                     any value; its closing or the line end leaves
//   BODY           body text                           header end; a delimiter leaves for HEADER
//   BODY_BOL         the same at line start
//   ADDRESS        address lists and single addresses
//   ROUTE          Return-Path, and after "for" in a trace field
//   DOMLIT         after "["
//   DATE           date and time                       left by the zone
//   QSTRING        after an opening quote
//   RECEIVED       trace fields                        ";" leaves for DATE
//   UNSTRUCT       unstructured text
//   EWORD          after "=?charset?x?"
//   RAWFIELD       a value kept unparsed (raw_field, without rules)
//   VERSION        MIME-Version
//   MIMETYPE       Content-Type, Content-Disposition
//   MECHANISM      Content-Transfer-Encoding
//   BOUNDVAL, ATYPE, CHARSETVAL    after "boundary=", "access-type=", "charset="
//   PARTIALPARAMS  parameters of message/partial
//   KOMMALIST      lenient comma list
//   LISTWORD       the rest of a word of it
//   RECVID         after "id" in a trace field
//
// The longest match wins, then the earlier rule; but an encoded word is one wherever its rule
// stands, also where an atom would be longer. A value's end is a line end that no white space
// follows; a line of nothing but white space ends the whole header section and is left for HEADER
// to see. Bytes that no rule expects are skipped.
#include "parser/scanner.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "coding/encoded_words.h"
#include "core/fold_scan.h"
#include "core/text.h"
#include "parser/grammar.h"
#include "parser/input_reader.h"
#include "core/line_scan.h"
#include "parser/report.h"

namespace tallowbrook {
namespace {

using Token = GrammarParser::token;

/*!types:re2c*/

// Conditions without rules of their own.
constexpr int kHeader = 100;    // HEADER, HEADER_BOL or PART_BOL, by where the scanner stands
constexpr int kBody = 101;      // BODY or BODY_BOL
constexpr int kRawField = 102;

constexpr std::size_t kInitialBuffer = 16384;
// A piece of a line or of an unparsed field that is handed on before its end was seen.
constexpr std::size_t kPiece = 32768;

bool is_blank(char c) { return c == ' ' || c == '\t'; }

bool is_line_end(char c) { return c == '\r' || c == '\n'; }

long count_line_ends(const char* from, const char* to) {
  constexpr std::ptrdiff_t kToken = 64;  // hardly any is longer
  if (to - from <= kToken) return std::count(from, to, '\n');
  return static_cast<long>(
      fastest_line_scan().count_line_ends({from, static_cast<std::size_t>(to - from)}));
}

// What may make a body line more than plain text: a delimiter, the end of the data, a uuencode
// begin or end line. `line` holds at least its first 6 bytes, or the whole of it; `boundary` is the
// innermost one, null when no multipart is open.
bool is_special(std::string_view line, const std::string* boundary) {
  switch (line[0]) {
    case '-': {
      if (line[1] != '-' || boundary == nullptr) return false;
      const std::string_view rest = line.substr(2, boundary->size());
      return rest == std::string_view(*boundary).substr(0, rest.size());
    }
    case '.':
      return line.size() > 1 && (is_blank(line[1]) || is_line_end(line[1]));
    case 'b':
    case 'B':
      return (line[1] | 0x20) == 'e' && starts_ignoring_case(line, "begin");
    case 'e':
    case 'E':
      return (line[1] | 0x20) == 'n' && starts_ignoring_case(line, "end");
    default:
      return false;
  }
}

// `text` begins with a line end: the length of the lines behind it that are known to be plain, and
// whether they are all that is there.
std::size_t length_of_plain_lines(std::string_view text, const std::string* boundary, bool& all) {
  const LineScan& scan = fastest_line_scan();
  std::size_t from = 0;
  for (;;) {
    const std::size_t found = scan.find_special_line(text.substr(from));
    all = found == std::string_view::npos;
    if (all) return text.rfind('\n') + 1;
    from += found;
    if (text.size() - from < 6 || is_special(text.substr(from), boundary)) return from;
  }
}

// The type keywords, each with the major type behind whose "/" the grammar knows it.
constexpr struct {
  int keyword;
  int major;
} kTypeKeywords[] = {
    {Token::tok_mixed, Token::tok_Multipart},
    {Token::tok_parallel, Token::tok_Multipart},
    {Token::tok_digest, Token::tok_Multipart},
    {Token::tok_alternative, Token::tok_Multipart},
    {Token::tok_Text, Token::tok_Text},
    {Token::tok_Plain, Token::tok_Text},
    {Token::tok_Html, Token::tok_Text},
    {Token::tok_Image, Token::tok_Image},
    {Token::tok_Gif, Token::tok_Image},
    {Token::tok_Jpeg, Token::tok_Image},
    {Token::tok_Application, Token::tok_Application},
    {Token::tok_OctetStream, Token::tok_Application},
    {Token::tok_Postscript, Token::tok_Application},
    {Token::tok_Audio, Token::tok_Audio},
    {Token::tok_Basic, Token::tok_Audio},
    {Token::tok_Video, Token::tok_Video},
    {Token::tok_mpeg, Token::tok_Video},
    {Token::tok_Message, Token::tok_Message},
    {Token::tok_rfc822, Token::tok_Message},
    {Token::tok_partial, Token::tok_Message},
    {Token::tok_external_body, Token::tok_Message},
    {Token::tok_Multipart, 0},
    {Token::tok_Read, 0},
    {Token::tok_ReadWrite, 0},
};

bool is_major(int token) {
  return token == Token::tok_Multipart ||
         std::any_of(std::begin(kTypeKeywords), std::end(kTypeKeywords),
                     [token](const auto& known) { return known.major == token; });
}

bool is_keyword_of_another(int token, int major) {
  return std::any_of(
      std::begin(kTypeKeywords), std::end(kTypeKeywords),
      [&](const auto& known) { return known.keyword == token && known.major != major; });
}

}  // namespace

// --- buffer --------------------------------------------------------------------------------------

Scanner::Scanner() = default;

Scanner::~Scanner() { std::free(buffer_); }

void Scanner::start(ParseRun& run) {
  run_ = &run;
  bytes_read_ = 0;
  if (buffer_ == nullptr) {
    buffer_ = static_cast<char*>(std::malloc(kInitialBuffer + 1));
    capacity_ = kInitialBuffer;
    if (buffer_ == nullptr) throw CDecoderException("out of dynamic memory in yy_create_buffer()");
  }
  token_ = cursor_ = marker_ = limit_ = counted_ = buffer_;
  *buffer_ = '\0';
  condition_ = kHeader;
  conditions_.clear();
  boundaries_.clear();
  pending_body_token_ = -1;
  comment_depth_ = 0;
  at_line_start_ = true;
  before_blank_line_ = false;
  in_part_ = false;
  type_value_ = TypeValue::kNone;
  type_place_ = TypePlace::kNone;
  line_ = 1;
  usual_.clear();
  takes_usual_ =
      run.full_load && run.defer_mime && run.target == nullptr && !run.only_grammar;
  is_settled_ = true;
}

void Scanner::release_large_buffer() {
  if (capacity_ <= 16 * kInitialBuffer) return;
  std::free(std::exchange(buffer_, nullptr));
  capacity_ = 0;
}

// Reads on behind `limit_`. What is being matched moves to the front of the buffer, or into a
// buffer of twice the size, when there is no room. The input never ends (its reader goes on giving
// the end-of-data line), so this always succeeds.
bool Scanner::refill() {
  const auto kept = static_cast<std::size_t>(limit_ - token_);
  const auto cursor = static_cast<std::size_t>(cursor_ - token_);
  const auto marker = marker_ < token_ ? 0 : static_cast<std::size_t>(marker_ - token_);
  if (capacity_ - kept < kChunk) {
    if (capacity_ > std::numeric_limits<std::uint32_t>::max()) {
      throw CDecoderException("fatal error - scanner input buffer overflow");
    }
    count_lines();
    std::memmove(buffer_, token_, kept);
    auto* larger = static_cast<char*>(std::realloc(buffer_, capacity_ * 2 + 1));
    if (larger == nullptr) {
      throw CDecoderException("fatal error - scanner input buffer overflow");
    }
    buffer_ = larger;
    capacity_ *= 2;
    token_ = counted_ = buffer_;
  } else if (static_cast<std::size_t>(buffer_ + capacity_ - limit_) < kChunk) {
    count_lines();
    std::memmove(buffer_, token_, kept);
    token_ = counted_ = buffer_;
  }
  char* free_room = buffer_ + (token_ - buffer_) + kept;
  const std::size_t got = ReadScannerInput(*run_, free_room, kChunk);
  free_room[got] = '\0';
  bytes_read_ += got;
  cursor_ = token_ + cursor;
  marker_ = token_ + marker;
  limit_ = free_room + got;
  return true;
}

// Makes sure that the byte `offset` behind the start of the token is in the buffer.
bool Scanner::have(std::size_t offset) {
  while (static_cast<std::size_t>(limit_ - token_) <= offset) {
    if (!refill()) return false;
  }
  return true;
}

// Lines are asked for by nobody but an error: they are counted when consumed bytes go.
void Scanner::count_lines() {
  if (run_->counts_lines) line_ += count_line_ends(counted_, token_);
  counted_ = token_;
}

long Scanner::line() const {
  return line_ + count_line_ends(counted_, token_) + (type_value_ == TypeValue::kEnding ? 1 : 0);
}

// Closes the account of what was consumed: whether the scanner is at line start. Bytes that were
// pushed back are not consumed.
void Scanner::settle() {
  if (std::exchange(before_blank_line_, false)) {
    at_line_start_ = true;
  } else if (cursor_ != token_) {
    at_line_start_ = cursor_[-1] == '\n';
  }
  token_ = cursor_;
}

// --- conditions ----------------------------------------------------------------------------------

void Scanner::push(int condition) {
  conditions_.push_back(static_cast<std::uint8_t>(condition_));
  condition_ = condition;
}

void Scanner::pop() {
  if (conditions_.empty()) return;
  condition_ = conditions_.back();
  conditions_.pop_back();
}

bool Scanner::under_received() const {
  return !conditions_.empty() && conditions_.back() == yycRECEIVED;
}

// After a name or "=" that took the folding behind it: a fold that leads to a line of nothing but
// white space is no fold but the end of the header section, so it is given back.
void Scanner::keep_blank_line() {
  for (const char* p = token_; p < cursor_; ++p) {
    if (*p != '\n') continue;
    const char* next = p + 1;
    while (next < cursor_ && is_blank(*next)) ++next;
    if (!is_line_end(*next)) continue;
    while (p > token_ && p[-1] == '\r') --p;
    cursor_ = p;
    return;
  }
}

// Gives back the line end of the blank line that the matched text ends with: it ends the header
// section, and is to be found at line start.
void Scanner::back_to_line_end() {
  --cursor_;
  while (cursor_ > token_ && cursor_[-1] == '\r') --cursor_;
  before_blank_line_ = true;
}

// --- header fields -------------------------------------------------------------------------------

int Scanner::enter(int token, int condition) {
  keep_blank_line();
  push(condition);
  return token;
}

int Scanner::enter_field(int token, int condition, bool deferred) {
  return enter(token, deferred ? kRawField : condition);
}

int Scanner::enter_type(int token, bool multipart) {
  const bool deferred = !multipart && run_->defer_mime;
  if (multipart) back(std::strlen("multipart"));
  if (token == Token::tok_ContentType && !deferred) open_type_value();
  return enter_field(token, yycMIMETYPE, deferred);
}

void Scanner::open_type_value() {
  type_value_ = TypeValue::kOpen;
  type_place_ = TypePlace::kMajor;
  boundary_noted_ = false;
}

// A keyword of another type behind "/" of a known major type is a word like any other
// ("audio/mpeg").
int Scanner::type_token(int token, HeaderValue& value) {
  switch (std::exchange(type_place_, TypePlace::kNone)) {
    case TypePlace::kMajor:
      major_token_ = token;
      if (is_major(token)) type_place_ = TypePlace::kSlash;
      break;
    case TypePlace::kSlash:
      if (token == '/') type_place_ = TypePlace::kSubtype;
      break;
    case TypePlace::kSubtype:
      if (!is_keyword_of_another(token, major_token_)) break;
      if (token == Token::tok_partial) pop();
      return word(value, Token::tok_TOKEN);
    case TypePlace::kNone:
      break;
  }
  return token;
}

// A pseudo-header is one only where a single value is parsed; in a message it is a field like any.
int Scanner::single_value(HeaderValue& value, int token, int condition) {
  if (run_->target == nullptr) return extension_field(value);
  if (token == Token::tok_InternalCTTYPE) open_type_value();
  return enter(token, condition);
}

int Scanner::extension_field(HeaderValue& value) {
  std::string_view name = matched();
  const std::size_t last = name.find_last_not_of("\t \n\r:");
  name = name.substr(0, last == std::string_view::npos ? 0 : last + 1);
  value = HeaderValue::text(name);
  push(kRawField);
  return Token::tok_ExtField;
}

// Takes in the usual fields that are in the buffer; -1 when there is none. The token that stands for
// them is an extension field's without a value, which no other field gives: its value is the list
// of their entries.
int Scanner::usual_fields(HeaderValue& value) {
  if (token_ == limit_ && !refill()) return -1;
  for (;;) {
    const std::string_view text(token_, static_cast<std::size_t>(limit_ - token_));
    const std::size_t length = usual_.take(text, in_part_);
    if (length == 0) break;
    token_ += length;
  }
  cursor_ = token_;
  if (usual_.empty()) return -1;
  if (!usual_.boundary().empty()) {
    pending_body_token_ = Token::tok_BEGIN_MULTIPART_BODY;
    push_boundary(usual_.boundary());
  }
  value = usual_.store(*run_->store);
  return Token::tok_ExtField;
}

int Scanner::take_body_token() {
  const int token = pending_body_token_ != -1 ? pending_body_token_ : Token::tok_BEGIN_TEXT_BODY;
  pending_body_token_ = -1;
  return token;
}

int Scanner::header_end() {
  push(kBody);
  return take_body_token();
}

// A delimiter that comes before the header section's empty line ends the section and is read again
// as body. Returns 0 for any other line, which is skipped.
int Scanner::header_delimiter() {
  if (recognise(matched().substr(2)) == Match::kMismatch) return 0;
  back_all();
  return header_end();
}

// The end of the data inside a part's header ends the section; the body then closes what is open.
int Scanner::header_end_of_data() {
  if (boundaries_.empty()) return 0;
  back_all();
  return header_end();
}

// --- multiparts ----------------------------------------------------------------------------------

// Compares a line, from behind its "--", with the innermost boundary (RFC 2046 section 5.1.1).
// White space may follow the boundary, or its closing "--".
Scanner::Match Scanner::recognise(std::string_view line) {
  if (boundaries_.empty()) return Match::kMismatch;
  const std::string& boundary = boundaries_.back().text;
  if (!line.starts_with(boundary)) return Match::kMismatch;
  const auto skip_blanks = [&line] {
    while (!line.empty() && is_blank(line[0])) line.remove_prefix(1);
  };
  line.remove_prefix(boundary.size());
  skip_blanks();
  if (!line.empty() && is_line_end(line[0])) return Match::kDelimiter;
  if (!line.starts_with("--")) return Match::kMismatch;
  line.remove_prefix(2);
  skip_blanks();
  return line.empty() || is_line_end(line[0]) ? Match::kClose : Match::kMismatch;
}

int Scanner::body_delimiter(HeaderValue& value) {
  switch (recognise(matched().substr(2))) {
    case Match::kDelimiter:
      boundaries_.back().seen = true;
      pop();
      in_part_ = true;
      return Token::tok_Delimiter;
    case Match::kClose:
      boundaries_.pop_back();
      return Token::tok_CloseDelimiter;
    case Match::kMismatch:
      break;
  }
  value = HeaderValue::borrowed_text(matched());
  return Token::tok_TEXT;
}

// Closes every open multipart, one at each call, before the input ends.
int Scanner::body_end_of_data() {
  if (boundaries_.empty()) {
    pop();
    return 0;
  }
  boundaries_.pop_back();
  back_all();
  return Token::tok_CloseDelimiter;
}

std::string usable_boundary(std::string_view value) {
  std::string_view inside = value;
  if (value.size() > 2 && value.starts_with('"') && value.ends_with('"')) {
    inside = value.substr(1, value.size() - 2);
  }
  // Nearly all boundaries have a quote at each end and nothing else to take out.
  const bool plain = inside.find('"') == inside.npos && inside.find('\\') == inside.npos &&
                     inside.find("=?") == inside.npos;
  std::string boundary = plain ? std::string(inside) : remove_quotes_and_words(value);
  if (boundary.find_first_not_of(" \t\r\n") == std::string::npos) boundary.clear();
  return boundary;
}

void Scanner::note_boundary(std::string_view value) {
  if (type_value_ == TypeValue::kNone || boundary_noted_) return;
  noted_boundary_ = usable_boundary(value);
  boundary_noted_ = true;
}

// A boundary that comes before the current multipart's first delimiter is ignored.
void Scanner::push_boundary(std::string_view value) {
  if (!boundaries_.empty() && !boundaries_.back().seen) return;
  boundaries_.push_back({std::string(value), false});
}

// The end of a Content-Type value. Before the next line is looked at, a multipart's boundary must
// be known: an empty parameter (";") makes the parser reduce the one before it, and when the parser
// asks again, the boundary is pushed; without one the body is text.
int Scanner::end_type_value() {
  if (type_value_ == TypeValue::kMultipartType) {
    type_value_ = TypeValue::kEnding;
    back_all();
    return ';';
  }
  if (type_value_ == TypeValue::kEnding) {
    if (boundary_noted_ && !noted_boundary_.empty() && run_->target == nullptr) {
      push_boundary(noted_boundary_);
    } else {
      pending_body_token_ = -1;
    }
  }
  type_value_ = TypeValue::kNone;
  return 0;
}

// --- text that is not tokenised ------------------------------------------------------------------

// A run of plain body lines, as many as the buffer holds; a piece of a line when the line is long.
// -1 when the next line wants the rules.
int Scanner::plain_body(HeaderValue& value) {
  if (!have(5)) return -1;
  const std::string* const boundary = boundaries_.empty() ? nullptr : &boundaries_.back().text;
  if (at_line_start_ && is_special({token_, static_cast<std::size_t>(limit_ - token_)}, boundary)) {
    return -1;
  }
  std::size_t seen = 0;  // how far the first line was searched
  for (;;) {
    const std::string_view text(token_, static_cast<std::size_t>(limit_ - token_));
    const auto* const line_end =
        static_cast<const char*>(std::memchr(token_ + seen, '\n', text.size() - seen));
    if (line_end != nullptr) {
      const auto first_line = static_cast<std::size_t>(line_end - token_);
      cursor_ = line_end + length_of_plain_lines(text.substr(first_line), boundary, body_goes_on_);
      break;
    }
    if (text.size() >= kPiece) {
      cursor_ = token_ + text.size();
      body_goes_on_ = true;
      break;
    }
    seen = text.size();
    if (!refill()) return -1;
  }
  value = HeaderValue::borrowed_text(matched());
  return Token::tok_TEXT;
}

// A piece of a line of unstructured text that is long; -1 when the line wants the rules. The piece
// ends before a byte that is not white space, as white space before a line end belongs to the fold.
int Scanner::long_line(HeaderValue& value) {
  std::size_t seen = 0;
  for (;;) {
    const std::string_view text(token_, static_cast<std::size_t>(limit_ - token_));
    if (text.find('\n', seen) != text.npos) return -1;
    if (text.size() >= kPiece) {
      const std::size_t piece = std::min(text.find_last_not_of(" \t"), text.find('\r'));
      if (piece == 0 || piece == text.npos) return -1;
      cursor_ = token_ + piece;
      return word(value, Token::tok_TEXT);
    }
    seen = text.size();
    if (!refill()) return -1;
  }
}

// The text of an unparsed field up to its end, folding included. The line end that ends the field
// is consumed; one before a blank line, which ends the header section, is not.
int Scanner::raw_field(HeaderValue& value) {
  value = HeaderValue::raw();
  std::size_t seen = 0;
  std::size_t content_end = 0;
  std::size_t walked = 0;  // bytes known to be white space from the start of the token on
  while (!find_raw_end(content_end, seen)) {
    if (seen < kPiece) continue;
    std::size_t piece = seen;
    while (piece > walked && (is_blank(token_[piece - 1]) || is_line_end(token_[piece - 1]))) {
      --piece;
    }
    if (piece == walked) piece = 0;
    value.AppendText({token_, piece});
    token_ += piece;
    seen -= piece;
    walked = seen;
    cursor_ = token_;
  }
  value.AppendText({token_, content_end});
  pop();
  return Token::tok_FIELDCONTENT;
}

// Looks for the end of an unparsed field from offset `seen` on. When found, `content_end` is the
// length of its text and the cursor stands where scanning goes on.
bool Scanner::find_raw_end(std::size_t& content_end, std::size_t& seen) {
  const auto buffered = static_cast<std::size_t>(limit_ - token_);
  if (buffered > seen) seen += skip_plain_folds({token_ + seen, buffered - seen});
  const void* found =
      buffered > seen ? std::memchr(token_ + seen, '\n', buffered - seen) : nullptr;
  if (found == nullptr) {
    seen = buffered;
    if (seen < kPiece && !refill()) return true;
    if (seen >= kPiece) (void)have(seen);
    return false;
  }
  const auto line_end = static_cast<std::size_t>(static_cast<const char*>(found) - token_);
  std::size_t next = line_end + 1;
  while (have(next) && is_blank(token_[next])) ++next;
  std::size_t blank_end = next;
  while (have(blank_end) && token_[blank_end] == '\r') ++blank_end;
  const bool folded = next > line_end + 1;
  const bool blank_line = folded && token_[blank_end] == '\n';
  if (folded && !blank_line) {
    seen = next;
    return false;
  }
  content_end = line_end;
  while (content_end > 0 && token_[content_end - 1] == '\r') --content_end;
  while (blank_line && content_end > 0 && is_blank(token_[content_end - 1])) --content_end;
  cursor_ = token_ + (blank_line ? next : line_end + 1);
  before_blank_line_ = blank_line;
  return true;
}

// --- words ---------------------------------------------------------------------------------------

int Scanner::line(HeaderValue& value, int token) {
  value = HeaderValue::borrowed_text(matched());
  return token;
}

int Scanner::word(HeaderValue& value, int token) {
  value = HeaderValue::text(matched());
  return token;
}

// An atom that begins with the frame of an encoded word (RFC 2047 section 2) gives way to it.
int Scanner::atom(HeaderValue& value) {
  const std::string_view text = matched();
  const std::size_t charset_end = text.starts_with("=?") ? text.find('?', 2) : std::string_view::npos;
  const bool framed = charset_end != std::string_view::npos && charset_end > 2 &&
                      charset_end + 2 < text.size() && text[charset_end + 2] == '?';
  if (!framed) return word(value, Token::tok_ATOM);
  cursor_ = token_ + charset_end + 3;
  begin_text(value, yycEWORD);
  return -1;
}

void Scanner::begin_text(HeaderValue& value, int condition) {
  value = HeaderValue::text(matched());
  push(condition);
}

int Scanner::end_text(int token) {
  pop();
  return token;
}

int Scanner::number(HeaderValue& value, int token, std::int32_t number) {
  value = HeaderValue::integer(number);
  return token;
}

int Scanner::digits(HeaderValue& value) {
  std::int64_t number = 0;
  for (const char digit : matched()) {
    number = std::min<std::int64_t>(number * 10 + (digit - '0'),
                                    std::numeric_limits<std::int32_t>::max());
  }
  value = HeaderValue::integer(static_cast<std::int32_t>(number));
  return Token::tok_INTEGER;
}

int Scanner::zone(HeaderValue& value, std::string_view offset) {
  value = HeaderValue::text(offset);
  return end_text(Token::tok_Date_Zone);
}

// A comment that is not closed ends with its field.
void Scanner::abandon_comment() {
  comment_depth_ = 0;
  back_all();
  pop();
}

int Scanner::next(HeaderValue& value) {
  settle();
  value.Reset();
  int token = scan(value);
  const bool begins_type =
      token == Token::tok_ContentType || token == Token::tok_InternalCTTYPE;
  if (type_place_ != TypePlace::kNone && !begins_type) token = type_token(token, value);
  settle();
  if (type_value_ == TypeValue::kOpen && !begins_type) {
    type_value_ =
        token == Token::tok_Multipart ? TypeValue::kMultipartType : TypeValue::kNone;
    if (token == Token::tok_Multipart) pending_body_token_ = Token::tok_BEGIN_MULTIPART_BODY;
  }
  // Behind these the parser reduces without a look at what comes next.
  is_settled_ = token == Token::tok_FIELDCONTENT || token == Token::tok_Delimiter;
  return token;
}

int Scanner::scan(HeaderValue& value) {
  for (;; settle()) {
    int rules = condition_;
    if (condition_ == kBody) {
      const int token = plain_body(value);
      if (token != -1) return token;
      rules = at_line_start_ ? yycBODY_BOL : yycBODY;
    } else if (condition_ == kHeader) {
      if (takes_usual_ && is_settled_ && at_line_start_) {
        if (const int token = usual_fields(value); token != -1) return token;
      }
      rules = !at_line_start_ ? yycHEADER : in_part_ ? yycPART_BOL : yycHEADER_BOL;
    } else if (condition_ == kRawField) {
      return raw_field(value);
    } else if (condition_ == yycUNSTRUCT) {
      const int token = long_line(value);
      if (token != -1) return token;
    }
    unsigned char yych;
/*!re2c
    re2c:define:YYCTYPE = "unsigned char";
    re2c:yych:conversion = 1;
    re2c:yych:emit = 0;
    re2c:define:YYCURSOR = "cursor_";
    re2c:define:YYMARKER = "marker_";
    re2c:define:YYLIMIT = "limit_";
    re2c:define:YYFILL = "refill()";
    re2c:define:YYFILL:naked = 1;
    re2c:define:YYGETCONDITION = "rules";
    re2c:define:YYGETCONDITION:naked = 1;
    re2c:eof = 0;

    wsp = [ \t];
    eol = "\r"* "\n";
    fold = wsp* eol wsp+;
    space = (wsp | eol wsp+)*;
    more = eol [^ \t];
    any = [^];
    atext = [a-zA-Z0-9!#$%&'*+\-/=?^_`{|}~\x7f];
    tchar = [a-zA-Z0-9!#$%&'*+\-.^_`{|}~\x7f-\xff];
    bchar = [a-zA-Z0-9'()+,\-./:=?_];
    nchar = [^\r\n(.:];
    is = wsp* "=" space;
    eword = "=?" [^?\r\n]+ "?" [^\r\n] "?";

    <HEADER_BOL, PART_BOL, HEADER, COMMENT, BODY, BODY_BOL, ADDRESS, ROUTE, DOMLIT, DATE, QSTRING> $ { return 0; }
    <RECEIVED, UNSTRUCT, EWORD, VERSION, MIMETYPE, MECHANISM, BOUNDVAL, ATYPE, CHARSETVAL> $ { return 0; }
    <PARTIALPARAMS, KOMMALIST, LISTWORD, RECVID> $ { return 0; }

    // ---- header fields --------------------------------------------------------------------------

    <HEADER_BOL> 'return-path' wsp* ":" space { return enter_field(Token::tok_ReturnPath, yycROUTE, run_->full_load); }
    <HEADER_BOL> 'received' wsp* ":" space { return enter_field(Token::tok_Received, yycRECEIVED, run_->full_load); }
    <HEADER_BOL> 'reply-to' wsp* ":" space { return enter_field(Token::tok_ReplyTo, yycADDRESS, run_->full_load); }
    <HEADER_BOL> 'from' wsp* ":" space { return enter_field(Token::tok_From, yycADDRESS, run_->full_load); }
    <HEADER_BOL> 'sender' wsp* ":" space { return enter_field(Token::tok_Sender, yycADDRESS, run_->full_load); }
    <HEADER_BOL> 'resent-reply-to' wsp* ":" space { return enter_field(Token::tok_ResentReplyTo, yycADDRESS, run_->full_load); }
    <HEADER_BOL> 'resent-from' wsp* ":" space { return enter_field(Token::tok_ResentFrom, yycADDRESS, run_->full_load); }
    <HEADER_BOL> 'resent-sender' wsp* ":" space { return enter_field(Token::tok_ResentSender, yycADDRESS, run_->full_load); }
    <HEADER_BOL> 'date' wsp* ":" space { return enter_field(Token::tok_Date, yycDATE, run_->full_load); }
    <HEADER_BOL> 'resent-date' wsp* ":" space { return enter_field(Token::tok_ResentDate, yycDATE, run_->full_load); }
    <HEADER_BOL> 'to' wsp* ":" space { return enter_field(Token::tok_To, yycADDRESS, run_->full_load); }
    <HEADER_BOL> 'resent-to' wsp* ":" space { return enter_field(Token::tok_ResentTo, yycADDRESS, run_->full_load); }
    <HEADER_BOL> 'cc' wsp* ":" space { return enter_field(Token::tok_cc, yycADDRESS, run_->full_load); }
    <HEADER_BOL> 'resent-cc' wsp* ":" space { return enter_field(Token::tok_Resentcc, yycADDRESS, run_->full_load); }
    <HEADER_BOL> 'bcc' wsp* ":" space { return enter_field(Token::tok_bcc, yycADDRESS, run_->full_load); }
    <HEADER_BOL> 'resent-bcc' wsp* ":" space { return enter_field(Token::tok_Resentbcc, yycADDRESS, run_->full_load); }
    <HEADER_BOL> 'return-receipt-to' wsp* ":" space { return enter_field(Token::tok_ReturnReceiptTo, yycADDRESS, run_->full_load); }
    <HEADER_BOL> 'subject' wsp* ":" space { return enter(Token::tok_Subject, yycUNSTRUCT); }
    <HEADER_BOL> 'message-id' wsp* ":" space { return enter(Token::tok_MessageID, yycUNSTRUCT); }
    <HEADER_BOL> 'mime-version' wsp* ":" space { return enter(Token::tok_Version, yycVERSION); }
    <HEADER_BOL, PART_BOL> "--" [^\n]* "\n" { if (const int token = header_delimiter()) return token; continue; }
    <HEADER_BOL> '__$$InternalKommaSep$$__' nchar* ":" wsp* { return single_value(value, Token::tok_InternalKommaSep, yycKOMMALIST); }
    <HEADER_BOL> '__$$InternalAddress$$__' wsp* ":" wsp* { return single_value(value, Token::tok_InternalAddress, yycADDRESS); }
    <HEADER_BOL> '__$$InternalCTTYPE$$__' wsp* ":" wsp* { return single_value(value, Token::tok_InternalCTTYPE, yycMIMETYPE); }
    <HEADER_BOL> '__$$InternalDisposition$$__' wsp* ":" wsp* { return single_value(value, Token::tok_InternalDisposition, yycMIMETYPE); }
    <HEADER_BOL> '__$$InternalUUEncode$$__' eol { if (run_->target == nullptr) continue; push(kBody); return Token::tok_InternalUUEnc; }

    <HEADER_BOL, PART_BOL, HEADER> 'content-type' wsp* ":" space 'multipart' { return enter_type(Token::tok_ContentType, true); }
    <HEADER_BOL, PART_BOL, HEADER> 'content-type' wsp* ":" space { return enter_type(Token::tok_ContentType, false); }
    <HEADER_BOL, PART_BOL, HEADER> 'content-description' wsp* ":" space { return enter(Token::tok_ContentDescription, yycUNSTRUCT); }
    <HEADER_BOL, PART_BOL, HEADER> 'content-transfer-encoding' wsp* ":" space { return enter(Token::tok_ContentTransferEncoding, yycMECHANISM); }
    <HEADER_BOL, PART_BOL, HEADER> 'content-id' wsp* ":" space { return enter(Token::tok_ContentID, yycUNSTRUCT); }
    <HEADER_BOL, PART_BOL, HEADER> 'content-disposition' wsp* ":" space { return enter_type(Token::tok_ContentDisposition, false); }

    <HEADER_BOL, PART_BOL> nchar+ ":" wsp* { return extension_field(value); }
    <HEADER_BOL, PART_BOL> "." wsp* eol { return header_end_of_data(); }
    <HEADER_BOL, PART_BOL> wsp* eol { return header_end(); }
    <HEADER_BOL, PART_BOL, HEADER> "(" { comment_depth_ = 1; push(yycCOMMENT); continue; }
    <HEADER> eol { continue; }
    <HEADER_BOL, PART_BOL, HEADER> "\r"+ | any { continue; }

    // ---- comments -------------------------------------------------------------------------------

    <COMMENT> "(" { ++comment_depth_; continue; }
    <COMMENT> [^()\\\r\n]+ { continue; }
    <COMMENT> "\\" [^\r\n] { continue; }
    <COMMENT> ")" { if (--comment_depth_ == 0) pop(); continue; }
    <COMMENT> eol wsp+ eol { abandon_comment(); continue; }
    <COMMENT> eol wsp+ { continue; }
    <COMMENT> eol { abandon_comment(); continue; }
    <COMMENT> "\r"+ | any { continue; }

    // ---- body text ------------------------------------------------------------------------------

    <BODY_BOL> "--" [^\n]* "\n" { return body_delimiter(value); }
    <BODY_BOL> "." wsp* eol { return body_end_of_data(); }
    <BODY_BOL> 'begin' wsp+ [0-9]+ wsp+ [^\n]* "\n" { return line(value, Token::tok_UUENCODE_BEGIN); }
    <BODY_BOL> 'begin' wsp+ [0-9]+ wsp* eol { return line(value, Token::tok_UUENCODE_BEGIN); }
    <BODY_BOL> 'end' [^\n]* "\n" { return line(value, Token::tok_UUENCODE_END); }
    <BODY_BOL> [^\n]* "\n" { return line(value, Token::tok_TEXT); }
    <BODY, BODY_BOL> any { return line(value, Token::tok_TEXT); }

    // ---- addresses ------------------------------------------------------------------------------

    <ADDRESS> [.:;<>@,] { return *token_; }
    <ROUTE> [.:<@] { return *token_; }
    <ROUTE> ">" { return end_text('>'); }
    <ROUTE> ";" { if (under_received()) { back_all(); pop(); } continue; }
    <ADDRESS, ROUTE> wsp+ | fold { continue; }
    <ADDRESS, ROUTE, RECEIVED> "\"" { begin_text(value, yycQSTRING); continue; }
    <ADDRESS, ROUTE, RECEIVED> eword { begin_text(value, yycEWORD); continue; }
    <ADDRESS, ROUTE> atext+ { if (const int token = atom(value); token != -1) return token; continue; }
    <ADDRESS, ROUTE, RECEIVED> "[" { begin_text(value, yycDOMLIT); continue; }
    <ADDRESS, ROUTE, RECEIVED> "(" { comment_depth_ = 1; push(yycCOMMENT); continue; }
    <ADDRESS, ROUTE, DATE, RECEIVED, UNSTRUCT, VERSION, MECHANISM, KOMMALIST> more { back(1); pop(); continue; }
    <ADDRESS, ROUTE, DATE, RECEIVED, UNSTRUCT, VERSION, MECHANISM, KOMMALIST> fold eol { back_to_line_end(); pop(); continue; }
    <ADDRESS, ROUTE> "\r"+ | any { continue; }

    <DOMLIT> [^\\\]\r\n]+ { value.AppendText(matched()); continue; }
    <DOMLIT> "\\" [^\r\n] { value.AppendText(matched()); continue; }
    <DOMLIT> "]" { value.AppendChar(']'); return end_text(Token::tok_DOMAIN_LITERAL); }
    <DOMLIT> eol wsp+ eol | eol { back_all(); return end_text(Token::tok_DOMAIN_LITERAL); }
    <DOMLIT> eol wsp+ { continue; }
    <DOMLIT> "\r"+ | any { continue; }

    <QSTRING> [^\\"\r\n]+ { value.AppendText(matched()); continue; }
    <QSTRING> "\\" [^\r\n] { value.AppendText(matched()); continue; }
    <QSTRING> "\\" { value.AppendText(matched()); continue; }
    <QSTRING> "\"" { value.AppendChar('"'); return end_text(Token::tok_QUOTED_STRING); }
    <QSTRING> eol wsp+ eol | eol { back_all(); return end_text(Token::tok_QUOTED_STRING); }
    <QSTRING> eol wsp+ { continue; }
    <QSTRING> "\r"+ | any { continue; }

    <EWORD> [^?\r\n]+ { value.AppendText(matched()); continue; }
    <EWORD> "?=" { value.AppendText("?="); return end_text(Token::tok_QUOTED_STRING); }
    <EWORD> "?" { value.AppendChar('?'); continue; }
    <EWORD> any { back_all(); return end_text(Token::tok_QUOTED_STRING); }

    // ---- dates ----------------------------------------------------------------------------------

    <DATE> wsp+ | fold { continue; }
    <DATE> 'ut' | 'gmt' { return zone(value, "-0000"); }
    <DATE> 'mez' { return zone(value, "+0100"); }
    <DATE> 'mesz' { return zone(value, "+0200"); }
    <DATE> 'est' | 'cdt' { return zone(value, "-0500"); }
    <DATE> 'edt' { return zone(value, "-0400"); }
    <DATE> 'cst' | 'mdt' { return zone(value, "-0600"); }
    <DATE> 'mst' | 'pdt' { return zone(value, "-0700"); }
    <DATE> 'pst' { return zone(value, "-0800"); }
    <DATE> [+\-] [0-9]{4} { return zone(value, matched()); }
    <DATE> [0-9]+ { return digits(value); }
    <DATE> 'jan' { return number(value, Token::tok_Date_Month, 1); }
    <DATE> 'feb' { return number(value, Token::tok_Date_Month, 2); }
    <DATE> 'mar' { return number(value, Token::tok_Date_Month, 3); }
    <DATE> 'apr' { return number(value, Token::tok_Date_Month, 4); }
    <DATE> 'may' | 'mai' { return number(value, Token::tok_Date_Month, 5); }
    <DATE> 'jun' { return number(value, Token::tok_Date_Month, 6); }
    <DATE> 'jul' { return number(value, Token::tok_Date_Month, 7); }
    <DATE> 'aug' { return number(value, Token::tok_Date_Month, 8); }
    <DATE> 'sep' { return number(value, Token::tok_Date_Month, 9); }
    <DATE> 'oct' | 'okt' { return number(value, Token::tok_Date_Month, 10); }
    <DATE> 'nov' { return number(value, Token::tok_Date_Month, 11); }
    <DATE> 'dec' | 'dez' { return number(value, Token::tok_Date_Month, 12); }
    <DATE> 'mon' | 'mo' { return number(value, Token::tok_Date_WeekDay, 0); }
    <DATE> 'tue' | 'di' { return number(value, Token::tok_Date_WeekDay, 1); }
    <DATE> 'wed' | 'mi' { return number(value, Token::tok_Date_WeekDay, 2); }
    <DATE> 'thu' | 'do' { return number(value, Token::tok_Date_WeekDay, 3); }
    <DATE> 'fri' | 'fr' { return number(value, Token::tok_Date_WeekDay, 4); }
    <DATE> 'sat' | 'sa' { return number(value, Token::tok_Date_WeekDay, 5); }
    <DATE> 'sun' | 'so' { return number(value, Token::tok_Date_WeekDay, 6); }
    <DATE> [a-zA-Z] { return zone(value, matched()); }
    <DATE> [,:] { return *token_; }
    <DATE> "(" { comment_depth_ = 1; push(yycCOMMENT); continue; }
    <DATE> "\r"+ | any { continue; }

    // ---- trace fields ---------------------------------------------------------------------------

    <RECEIVED> wsp+ | fold { continue; }
    <RECEIVED> 'from' (wsp | eol wsp+)+ { keep_blank_line(); return Token::tok_Received_from; }
    <RECEIVED> 'by' (wsp | eol wsp+)+ { keep_blank_line(); return Token::tok_Received_by; }
    <RECEIVED> 'via' (wsp | eol wsp+)+ { keep_blank_line(); return Token::tok_Received_via; }
    <RECEIVED> 'with' (wsp | eol wsp+)+ { keep_blank_line(); return Token::tok_Received_with; }
    <RECEIVED> 'id' (wsp | eol wsp+)+ { return enter(Token::tok_Received_id, yycRECVID); }
    <RECEIVED> 'for' (wsp | eol wsp+)+ { return enter(Token::tok_Received_for, yycROUTE); }
    <RECEIVED> ";" | 'at' { pop(); push(yycDATE); return ';'; }
    <RECEIVED> atext+ { if (const int token = atom(value); token != -1) return token; continue; }
    <RECEIVED> [:<>] { return *token_; }
    <RECEIVED> "\r"+ | any { continue; }

    <RECVID> "<" ([^<>\r\n] | eol wsp+)* ">" { return word(value, Token::tok_MSGID); }
    <RECVID> [^ \t\r\n(;]+ { return word(value, Token::tok_MSGID); }
    <RECVID> any { back_all(); pop(); continue; }

    // ---- unstructured text and versions ---------------------------------------------------------

    <UNSTRUCT> [^\r\n]+ { return word(value, Token::tok_TEXT); }
    <UNSTRUCT> fold { continue; }
    <UNSTRUCT> "\r"+ | any { return word(value, Token::tok_TEXT); }

    <VERSION> wsp+ | fold { continue; }
    <VERSION> [0-9]+ { return digits(value); }
    <VERSION> "." { return '.'; }
    <VERSION> "(" { comment_depth_ = 1; push(yycCOMMENT); continue; }
    <VERSION> "\r"+ | any { continue; }

    // ---- content types, dispositions, parameters ------------------------------------------------

    <MIMETYPE> "(" { comment_depth_ = 1; push(yycCOMMENT); continue; }
    <MIMETYPE> wsp+ | fold { return ';'; }
    <MIMETYPE> 'application' { return Token::tok_Application; }
    <MIMETYPE> 'audio' { return Token::tok_Audio; }
    <MIMETYPE> 'image' { return Token::tok_Image; }
    <MIMETYPE> 'message' { return Token::tok_Message; }
    <MIMETYPE> 'text' { return Token::tok_Text; }
    <MIMETYPE> 'video' { return Token::tok_Video; }
    <MIMETYPE> 'multipart' { return Token::tok_Multipart; }
    <MIMETYPE> 'mixed' { return Token::tok_mixed; }
    <MIMETYPE> 'parallel' { return Token::tok_parallel; }
    <MIMETYPE> 'digest' { return Token::tok_digest; }
    <MIMETYPE> 'alternative' { return Token::tok_alternative; }
    <MIMETYPE> 'plain' { return Token::tok_Plain; }
    <MIMETYPE> 'html' { return Token::tok_Html; }
    <MIMETYPE> 'gif' { return Token::tok_Gif; }
    <MIMETYPE> 'jpeg' { return Token::tok_Jpeg; }
    <MIMETYPE> 'mpeg' { return Token::tok_mpeg; }
    <MIMETYPE> 'basic' { return Token::tok_Basic; }
    <MIMETYPE> 'octet-stream' { return Token::tok_OctetStream; }
    <MIMETYPE> 'postscript' { return Token::tok_Postscript; }
    <MIMETYPE> 'rfc822' { return Token::tok_rfc822; }
    <MIMETYPE> 'external-body' { return Token::tok_external_body; }
    <MIMETYPE> 'partial' { push(yycPARTIALPARAMS); return Token::tok_partial; }
    <MIMETYPE> 'read' { return number(value, Token::tok_Read, 0); }
    <MIMETYPE> 'read-write' { return number(value, Token::tok_ReadWrite, 1); }
    <MIMETYPE> 'boundary' is { return enter(Token::tok_Boundary, yycBOUNDVAL); }
    <MIMETYPE> 'charset' is { return enter(Token::tok_Charset, yycCHARSETVAL); }
    <MIMETYPE> 'access-type' is { return enter(Token::tok_AccessType, yycATYPE); }
    <MIMETYPE> 'expiration' is { keep_blank_line(); return Token::tok_Expiration; }
    <MIMETYPE> 'size' is { keep_blank_line(); return Token::tok_Size; }
    <MIMETYPE> 'permission' is { keep_blank_line(); return Token::tok_Permission; }
    <MIMETYPE> 'name' is { keep_blank_line(); return Token::tok_Name; }
    <MIMETYPE> 'site' is { keep_blank_line(); return Token::tok_Site; }
    <MIMETYPE> 'dir' is { keep_blank_line(); return Token::tok_Dir; }
    <MIMETYPE> 'mode' is { keep_blank_line(); return Token::tok_Mode; }
    <MIMETYPE> 'server' is { keep_blank_line(); return Token::tok_Server; }
    <MIMETYPE> 'subject' is { keep_blank_line(); return Token::tok_SubjectParam; }
    <MIMETYPE> 'type' is { keep_blank_line(); return Token::tok_Type; }
    <MIMETYPE> 'padding' is { keep_blank_line(); return Token::tok_Padding; }
    <MIMETYPE> "/" { return '/'; }
    <MIMETYPE> ";" wsp* { return ';'; }
    <MIMETYPE> "=" space { keep_blank_line(); return '='; }
    <MIMETYPE> ":" { return '='; }
    <MIMETYPE> 'x-' tchar* { return word(value, Token::tok_XTOKEN); }
    <MIMETYPE> tchar+ { return word(value, Token::tok_TOKEN); }
    <MIMETYPE> "\"" { begin_text(value, yycQSTRING); continue; }
    <MIMETYPE> eword { begin_text(value, yycEWORD); continue; }
    <MIMETYPE> more { if (const int token = end_type_value()) return token; back(1); pop(); continue; }
    <MIMETYPE> fold eol { if (const int token = end_type_value()) return token; back_to_line_end(); pop(); continue; }
    <MIMETYPE> "\r"+ | any { return word(value, Token::tok_Invalid); }

    <MECHANISM> "(" { comment_depth_ = 1; push(yycCOMMENT); continue; }
    <MECHANISM> wsp+ | fold { continue; }
    <MECHANISM> '7bit' { return Token::tok_7bit; }
    <MECHANISM> 'quoted-printable' { return Token::tok_quoted_printable; }
    <MECHANISM> 'base64' { return Token::tok_base64; }
    <MECHANISM> '8bit' { return Token::tok_8bit; }
    <MECHANISM> 'binary' { return Token::tok_binary; }
    <MECHANISM> tchar+ { return word(value, Token::tok_TOKEN); }
    <MECHANISM> "\"" { begin_text(value, yycQSTRING); continue; }
    <MECHANISM> "\r"+ | any { continue; }

    <BOUNDVAL> bchar ((bchar | " ")* bchar)? { return word(value, Token::tok_BoundValue); }
    <ATYPE> 'ftp' { return Token::tok_ftp; }
    <ATYPE> 'anon-ftp' { return Token::tok_anon_ftp; }
    <ATYPE> 'tftp' { return Token::tok_tftp; }
    <ATYPE> 'local-file' { return Token::tok_local_file; }
    <ATYPE> 'afs' { return Token::tok_afs; }
    <ATYPE> 'mail-server' { return Token::tok_mail_server; }
    <ATYPE, CHARSETVAL, PARTIALPARAMS> 'x-' tchar* { return word(value, Token::tok_XTOKEN); }
    <PARTIALPARAMS> 'id' is { keep_blank_line(); return Token::tok_Id; }
    <PARTIALPARAMS> 'number' is { keep_blank_line(); return Token::tok_Number; }
    <PARTIALPARAMS> 'total' is { keep_blank_line(); return Token::tok_Total; }
    <PARTIALPARAMS> 'name' is { keep_blank_line(); return Token::tok_Name; }
    <PARTIALPARAMS> [;=] { return *token_; }
    <PARTIALPARAMS> "(" { comment_depth_ = 1; push(yycCOMMENT); continue; }
    <PARTIALPARAMS> fold eol { back_all(); pop(); continue; }
    <PARTIALPARAMS> wsp+ | fold { continue; }
    <PARTIALPARAMS> eword { begin_text(value, yycEWORD); continue; }
    <ATYPE, CHARSETVAL, PARTIALPARAMS> tchar+ { return word(value, Token::tok_TOKEN); }
    <BOUNDVAL, ATYPE, CHARSETVAL, PARTIALPARAMS> "\"" { begin_text(value, yycQSTRING); continue; }
    <BOUNDVAL, ATYPE, CHARSETVAL, PARTIALPARAMS> any { back_all(); pop(); continue; }

    // ---- lenient comma lists --------------------------------------------------------------------

    <KOMMALIST> wsp* "," wsp* { return ','; }
    <KOMMALIST> "\"" { begin_text(value, yycQSTRING); continue; }
    <KOMMALIST> eword { begin_text(value, yycEWORD); continue; }
    <KOMMALIST> [^\t\n\r ",] { begin_text(value, yycLISTWORD); continue; }
    <KOMMALIST> wsp+ | fold { continue; }
    <KOMMALIST> "\r"+ | any { continue; }

    <LISTWORD> [^\t\n\r ,]+ { value.AppendText(matched()); return end_text(Token::tok_KommaSepWord); }
    <LISTWORD> any { back_all(); return end_text(Token::tok_KommaSepWord); }
*/
  }
}

}  // namespace tallowbrook
