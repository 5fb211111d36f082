#include "writer/part_writer.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/text.h"
#include "model/body_part.h"
#include "writer/content_writer.h"
#include "writer/part_fields.h"
#include "writer/shared_stream.h"

namespace tallowbrook {
namespace {

constexpr std::string_view kPreamble =
    "This message is in MIME format. Since your mail reader does not understand\r\n"
    "this format, some or all of this message may not be legible.\r\n\r\n";

// A part that is being written. A multipart stays on the stack while its children are.
struct Frame {
  HeaderValue record;    // shared by reference
  HeaderValue children;  // of a multipart, shared by reference
  std::size_t next = 0;
  std::string boundary;
  bool digest = false;
};

class PartWriter {
 public:
  PartWriter(MessageOutput& out, const MessageRef& message, bool header_only)
      : out_(out), message_(message), header_only_(header_only) {}

  WriteOutcome write(HeaderValue root) {
    WriteOutcome outcome;
    outcome.status = begin(std::move(root), nullptr);
    outcome.complete = SUCCEEDED(outcome.status);
    while (!stack_.empty()) {
      if (FAILED(step())) outcome.complete = false;
    }
    return outcome;
  }

 private:
  // Writes a part as far as its children, which are left to the steps. No parent: the root.
  HRESULT begin(HeaderValue record, const Frame* parent) {
    if (!record.is(ValueKind::List)) return E_FAIL;
    record.pin();
    PartFields fields;
    const HRESULT status = write_part_fields(out_, record, message_, fields);
    if (FAILED(status) || header_only_) return status;
    const HeaderValue body = record[kPartBody];
    if (!fields.multipart && !body.is_set()) {
      // A root may end with its header; a delimiter line there would be a header line to a reader.
      if (parent != nullptr) out_.text("\r\n");
      return S_OK;
    }
    out_.text("\r\n");
    if (fields.multipart) return begin_multipart(std::move(record), fields);
    if (!body.is(ValueKind::Raw)) return E_FAIL;
    if (parent != nullptr && parent->digest && is_message_by_default(record)) {
      fields.message = true;
    }
    write_content(out_, record, fields);
    return S_OK;
  }

  // Of a digest's child.
  static bool is_message_by_default(const HeaderValue& record) {
    return !field_value(record, EntryName::ContentType).is_set() &&
           is_line_encoding(encoding_number(record));
  }

  HRESULT begin_multipart(HeaderValue record, const PartFields& fields) {
    // Content of another shape is no part, but without any the multipart would not load again.
    const bool other = record[kPartBody].is_set() && !record[kPartBody].is(ValueKind::List);
    HeaderValue children;
    if (record[kPartBody].is(ValueKind::List)) children = share_list(record.element(kPartBody));
    out_.text(kPreamble);
    if (children.size() == 0) {  // a multipart has at least one part
      write_delimiter(fields.boundary);
      out_.text("\r\n");
    }
    stack_.push_back({std::move(record), std::move(children), 0, fields.boundary, fields.digest});
    return other ? E_FAIL : S_OK;
  }

  void write_delimiter(const std::string& boundary) {
    out_.close_line();
    out_.text("--");
    out_.text(boundary);
    out_.text("\r\n");
  }

  HRESULT step() {
    Frame& frame = stack_.back();
    if (frame.next >= frame.children.size()) {
      out_.close_line();
      out_.text("--");
      out_.text(frame.boundary);
      out_.text("--\r\n\r\n");
      stack_.pop_back();
      return S_OK;
    }
    write_delimiter(frame.boundary);
    HeaderValue& slot = frame.children.element(frame.next++);
    if (!slot.is(ValueKind::List)) {
      out_.text("\r\n");
      return slot.is_set() ? E_FAIL : S_OK;
    }
    const HRESULT status = begin(share_list(slot), &frame);  // may move the frames
    if (FAILED(status)) out_.close_line();
    return status;
  }

  MessageOutput& out_;
  const MessageRef& message_;
  bool header_only_;
  std::vector<Frame> stack_;
};

}  // namespace

WriteOutcome write_part(MessageOutput& out, HeaderValue record, const MessageRef& message,
                        bool header_only) {
  return PartWriter(out, message, header_only).write(std::move(record));
}

WriteOutcome save_part(ISequentialStream* target, HeaderValue record, const MessageRef& message,
                       bool header_only) {
  if (target == nullptr) return {E_INVALIDARG, false};
  if (!header_only && reads_from(record, *target)) {
    return write_buffered(
        *target, [&](IStream& buffer) { return save_part(&buffer, record, message, header_only); });
  }
  MessageOutput out(*target);
  WriteOutcome outcome = write_part(out, std::move(record), message, header_only);
  if (!out.flush()) outcome.complete = false;
  return outcome;
}

}  // namespace tallowbrook
