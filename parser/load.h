// The load pipeline: a stream goes through one of ten pooled parser instances into a message store.
//
// At most ten parses run at once. A thread that finds all ten busy lowers itself to the lowest
// priority, keeps trying, and pumps its window messages meanwhile. A load that a host's stream
// starts from inside its own Read gets a spare instance.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "model/message_store.h"
#include "platform/com/types.h"
#include "platform/storage/stream.h"
#include "streams/memory_stream.h"

namespace tallowbrook {

// A block that was read from the input: its bytes in the stream, those that the scanner got, and
// whether the read filled its request.
struct InputBlock {
  std::size_t raw = 0;
  std::size_t kept = 0;
  bool full = false;
};

// One run of a parser instance: where its input comes from and where its results go.
struct ParseRun {
  MessageStore* store = nullptr;  // receives the fields and the root body
  HeaderValue* target = nullptr;  // when set, every store operation puts its value here instead
  ISequentialStream* input = nullptr;
  CISSHelper* raw_copy = nullptr;  // receives the input bytes as read, or null
  // An ordinary load: address, date and trace fields stay unparsed, the root body is stored, and
  // errors are reported.
  bool full_load = true;
  // Content-Type (other than multipart) and Content-Disposition stay unparsed.
  bool defer_mime = true;
  bool only_grammar = false;   // without the quick ways that usual fields take
  bool counts_lines = true;    // false where nobody is told in which line an error is
  bool failed = false;         // set by the error report
  HRESULT read_status = S_OK;  // the first failure of the input's Read
  InputBlock last_block = {};
  InputBlock block_before = {};
  std::size_t unread = 0;    // of what the scanner got; known when the run is over
  std::size_t supplied = 0;  // of what the scanner got: behind the end of the input
};

// Runs the parser over `stream`. E_INVALIDARG for a null stream, E_ABORT when the input has a
// syntax error or could not be read to its end, S_OK otherwise. After an error of a full load the
// thread's error object says
// "<text> in Line <n>" and the raw copy holds the whole input. What was reduced before the error
// stays in the store.
[[nodiscard]] HRESULT DispatchParse(ParseRun& run, ISequentialStream* stream);

// What the end of the input stands for: an empty line and the line that ends a message.
inline constexpr std::string_view kEndOfData = "\r\n.\r\n";

// True when the message of a run that is over ended with a line of the input, not with its end.
[[nodiscard]] inline bool ended_by_line(const ParseRun& run) { return run.unread >= run.supplied; }

// Moves `stream`, the input of a run that is over, back to right behind the line that ended the
// message: where its next reader expects to stand. A stream that cannot seek stays where it is.
void give_back_unread(const ParseRun& run, IStream& stream);

// Parses the one header line "<name>: <text>" and gives its value: the value of the pseudo-headers
// below, or of any header field. E_ABORT, with `value` untouched, when the text does not parse.
// Reports nothing and changes no message.
[[nodiscard]] HRESULT parse_field(std::string_view name, std::string_view text, HeaderValue& value);

// The same for a value of a usual form, which takes no parser and no wait; false, with `value`
// untouched, for any other.
[[nodiscard]] bool parse_usual_field(std::string_view name, std::string_view text,
                                     HeaderValue& value);

// The same without the quick ways that usual values take: what those are held to.
[[nodiscard]] HRESULT parse_field_by_grammar(std::string_view name, std::string_view text,
                                             HeaderValue& value);

// Parses the text of one Received field into its clauses and its date.
[[nodiscard]] HRESULT parse_received(std::string_view text, HeaderValue& parameters,
                                     HeaderValue& date);

// Names that no message has, by which single values are parsed.
inline constexpr std::string_view kPseudoCommaList = "__$$InternalKommaSep$$__";
inline constexpr std::string_view kPseudoAddress = "__$$InternalAddress$$__";
inline constexpr std::string_view kPseudoContentType = "__$$InternalCTTYPE$$__";
inline constexpr std::string_view kPseudoDisposition = "__$$InternalDisposition$$__";
inline constexpr std::string_view kPseudoUuencode = "__$$InternalUUEncode$$__";

// WaitOrPump: waits for a handle, dispatching the thread's window messages meanwhile when `pump` is
// set. True when the handle is signalled (an abandoned mutex counts as acquired), false for a null
// handle, a time-out or a failing wait. `milliseconds` may be INFINITE.
[[nodiscard]] bool WaitOrPump(HANDLE handle, DWORD milliseconds, bool pump);

}  // namespace tallowbrook
