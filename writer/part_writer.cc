#include "writer/part_writer.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "coding/coder_factory.h"
#include "core/text.h"
#include "model/body_part.h"
#include "writer/content_stream.h"
#include "writer/part_fields.h"

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
};

class PartWriter {
 public:
  PartWriter(MessageOutput& out, const MessageRef& message, bool header_only)
      : out_(out), message_(message), header_only_(header_only) {}

  WriteOutcome write(HeaderValue root) {
    WriteOutcome outcome;
    outcome.status = begin(std::move(root), true);
    outcome.complete = SUCCEEDED(outcome.status);
    while (!stack_.empty()) {
      if (FAILED(step())) outcome.complete = false;
    }
    return outcome;
  }

 private:
  // Writes a part as far as its children, which are left to the steps.
  HRESULT begin(HeaderValue record, bool is_root) {
    if (!record.is(ValueKind::List)) return E_FAIL;
    record.pin();
    PartFields fields;
    const HRESULT status = write_part_fields(out_, record, message_, fields);
    if (FAILED(status) || header_only_) return status;
    const HeaderValue body = record[kPartBody];
    if (!fields.multipart && !body.is_set()) {
      // A root may end with its header; a delimiter line there would be a header line to a reader.
      if (!is_root) out_.text("\r\n");
      return S_OK;
    }
    out_.text("\r\n");
    if (fields.multipart) return begin_multipart(std::move(record), std::move(fields.boundary));
    if (!body.is(ValueKind::Raw)) return E_FAIL;
    write_content(record, body, fields.encoding);
    return S_OK;
  }

  HRESULT begin_multipart(HeaderValue record, std::string boundary) {
    HeaderValue children;
    if (record[kPartBody].is_set()) {
      if (!record[kPartBody].is(ValueKind::List)) return E_FAIL;
      children = share_list(record.element(kPartBody));
    }
    out_.text(kPreamble);
    if (children.size() == 0) {  // a multipart has at least one part
      write_delimiter(boundary);
      out_.text("\r\n");
    }
    stack_.push_back({std::move(record), std::move(children), 0, std::move(boundary)});
    return S_OK;
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
    const HRESULT status = begin(share_list(slot), false);  // may move the frames
    if (FAILED(status)) out_.close_line();
    return status;
  }

  // Wire content goes out as it is held; decoded content is encoded.
  void write_content(const HeaderValue& record, const HeaderValue& body, std::int32_t encoding) {
    if (!is_decoded(record)) {
      out_.raw(body);
      return;
    }
    const platform::ComPtr<IStream> content = body.stream();
    const auto coder = make_coder(encoding == kNoEncoding ? kEightBit : encoding);
    if (body.raw_in_memory()) {
      content->Seek({0}, STREAM_SEEK_SET, nullptr);
      coder->Encode(*content, out_);
      return;
    }
    ContentStream watched(*content);
    if (!watched.failed()) coder->Encode(watched, out_);
    if (watched.failed()) out_.miss_content();
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
  MessageOutput out(*target);
  WriteOutcome outcome = write_part(out, std::move(record), message, header_only);
  if (!out.flush()) outcome.complete = false;
  return outcome;
}

}  // namespace tallowbrook
