// Every full load begins by forgetting the previous message; every change of the model passes
// through NotifyChanged, which walks from a message to those that enclose it.
#include "model/mime_decoder.h"

#include <string>
#include <utility>

#include "core/creators.h"
#include "core/error_text.h"
#include "core/guard.h"
#include "core/text.h"
#include "model/uuencode_parts.h"
#include "parser/load.h"
#include "streams/file_stream.h"
#include "tallowbrook/class_ids.h"
#include "tallowbrook/events.h"

namespace tallowbrook {

using platform::ComPtr;

namespace {

// How the raw copy of a loaded message grows: doubling from this many bytes on.
constexpr ULONG kRawCopyStep = 500000;
constexpr ULONG kRawCopyFactor = 1;

constexpr IID kEventSources[] = {_IMimeDecoderEvents::kIid, _IAccessorEvents::kIid};

VARIANT_BOOL as_boolean(bool value) { return value ? VARIANT_TRUE : VARIANT_FALSE; }

// Releases a message's link to the one around it. Embedded messages may each be the last to hold
// the next: such a chain ends link by link, not by recursion.
void release_link(MessageRef link) {
  thread_local MessageRef* waiting = nullptr;
  if (waiting != nullptr && *waiting == nullptr) {
    *waiting = std::move(link);
    return;
  }
  MessageRef next;
  MessageRef* const outer = std::exchange(waiting, &next);
  while (link != nullptr) {
    link.reset();
    link = std::move(next);
    next.reset();
  }
  waiting = outer;
}

}  // namespace

// --- life ----------------------------------------------------------------------------------------

CMimeDecoder::CMimeDecoder() : CMimeDecoder(nullptr, EmbeddedPlace()) {}

CMimeDecoder::CMimeDecoder(MessageRef enclosing, EmbeddedPlace place)
    : link_(std::make_shared<MessageLink>(MessageLink{this})),
      enclosing_(std::move(enclosing)),
      place_(std::move(place)),
      points_(*this, kEventSources, {&Module::lock, &Module::unlock}) {}

CMimeDecoder::~CMimeDecoder() {
  ending_ = true;
  node_.reset();  // while all else is there for the host's code that this may run
  place_.forget(*this);
  link_->owner = nullptr;
  release_link(std::move(enclosing_));
}

MessageRef CMimeDecoder::link() {
  if (!place_.exists()) return link_;
  return {std::make_shared<ComPtr<CMimeDecoder>>(this), link_.get()};
}

HRESULT CMimeDecoder::GetClassID(CLSID* clsid) {
  if (clsid == nullptr) return E_POINTER;
  *clsid = CLSID_MimeDecoder;
  return S_OK;
}

HRESULT CMimeDecoder::InterfaceSupportsErrorInfo(REFIID iid) {
  return iid == IMimeDecoder::kIid ? S_OK : S_FALSE;
}

HRESULT CMimeDecoder::EnumConnectionPoints(IEnumConnectionPoints** all) {
  return points_.enumerate(all);
}

HRESULT CMimeDecoder::FindConnectionPoint(REFIID iid, IConnectionPoint** point) {
  return points_.find(iid, point);
}

namespace {

// CRs at the end of the text are line ends of their own, as the reader takes them there: LFs, which
// are not taken together with what follows.
void end_lines(std::string& text) {
  std::size_t crs = 0;
  for (; text.ends_with('\r') || text.ends_with('\0'); text.pop_back()) crs += text.back() == '\r';
  if (!text.ends_with('\n')) text.append(crs, '\n');
}

}  // namespace

// A raw copy goes as it is, but only up to where the message ended, and what the end of its stream
// stood for is written out. One that could not be parsed would not be parsed again.
HRESULT CMimeDecoder::save_item(IStream* stream) {
  if (stream == nullptr) return E_INVALIDARG;
  return guarded([&] {
    const auto held = self();
    const ComPtr<CISSHelper> raw_copy = raw_copy_;
    if (!raw_copy || store_.load_error_flag) return write_message(store_, link_, stream, {}).status;
    std::string text(raw_copy->bytes().substr(0, raw_end_));
    if (!raw_has_end_line_) {
      end_lines(text);
      text += kEndOfData;
    }
    return write_exactly(*stream, text.data(), static_cast<ULONG>(text.size()));
  });
}

HRESULT CMimeDecoder::InitNew() {
  return guarded([&] {
    store_.reset_header();
    store_.load_error_flag = false;
    raw_copy_.reset();
    set_dirty(false);
    return S_OK;
  });
}

// --- loading -------------------------------------------------------------------------------------

void CMimeDecoder::forget_everything() {
  store_.reset_header();
  store_.root.Reset();
  store_.load_error_flag = false;
  raw_copy_.reset();
  set_dirty(false);
}

void CMimeDecoder::extract_uuencoded_blocks() {
  extract_uuencoded_parts(store_.root, store_.charset, link_);
}

HRESULT CMimeDecoder::load(IStream& stream, Behind behind) {
  const auto held = self();
  const ComPtr<IStream> input(&stream);
  forget_everything();
  ComPtr<CISSHelper> raw_copy;
  if (store_.collect_raw_stream) raw_copy = CISSHelper::create(kRawCopyStep, kRawCopyFactor);
  raw_copy_ = raw_copy;  // what changes the model while the stream is read drops it
  ParseRun run;
  run.store = &store_;
  run.raw_copy = raw_copy.get();
  run.counts_lines = behind != Behind::kIsOurs;
  const HRESULT status = DispatchParse(run, &stream);
  if (SUCCEEDED(status) && raw_copy) {
    raw_copy->Seek({0}, STREAM_SEEK_END, nullptr);
    give_back_unread(run, *raw_copy);
    raw_end_ = raw_copy->size() - raw_copy->unread().size();
    raw_has_end_line_ = ended_by_line(run);
    raw_copy->rewind();
  } else if (SUCCEEDED(status) && behind == Behind::kGivesBack) {
    give_back_unread(run, stream);
  }
  store_.load_error_flag = FAILED(status);
  if (SUCCEEDED(status)) {
    extract_uuencoded_blocks();
    set_dirty(false);
    plugin_.on_loaded(this);
  }
  return status;
}

HRESULT CMimeDecoder::Load(IStream* stream) {
  if (stream == nullptr) return E_INVALIDARG;
  return guarded([&] { return load(*stream, Behind::kGivesBack); });
}

HRESULT CMimeDecoder::load_from_part(IStream& content) {
  return guarded([&] { return load(content, Behind::kIsOurs); });
}

HRESULT CMimeDecoder::LoadFromFile(BSTR path, VARIANT_BOOL* done) {
  if (done == nullptr) return E_POINTER;
  *done = VARIANT_FALSE;
  return guarded([&] {
    forget_everything();
    const auto file = CFileSystemStream::open_for_reading(path);
    if (!file) {
      set_file_error(kFileNotFound, path);
      return E_FAIL;
    }
    const HRESULT status = load(*file);
    *done = as_boolean(SUCCEEDED(status));
    return status;
  });
}

HRESULT CMimeDecoder::Load(IDispatch* stream_object, VARIANT_BOOL* done) {
  if (done == nullptr) return E_POINTER;
  *done = VARIANT_FALSE;
  return guarded([&] {
    const auto held = self();
    const auto stream = platform::query<IStream>(stream_object);
    if (stream) *done = as_boolean(SUCCEEDED(load(*stream)));
    return S_OK;
  });
}

// --- saving --------------------------------------------------------------------------------------

WriteOutcome CMimeDecoder::write(IStream& target, bool header_only) {
  const auto held = self();
  const ComPtr<CISSHelper> raw_copy = raw_copy_;
  WriteOptions options;
  options.header_only = header_only;
  options.enclosed = enclosing_ != nullptr;
  options.raw_copy = raw_copy.get();
  return write_message(store_, link_, &target, options);
}

HRESULT CMimeDecoder::Save(IStream* stream, BOOL clear_dirty) {
  if (stream == nullptr) return E_INVALIDARG;
  return guarded([&] {
    const auto held = self();
    const WriteOutcome outcome = write(*stream, false);
    const bool written = SUCCEEDED(outcome.status) && outcome.complete;
    if (written && clear_dirty != FALSE) set_dirty(false);
    return outcome.status;
  });
}

HRESULT CMimeDecoder::SaveToFile(BSTR path, VARIANT_BOOL* done) {
  if (done == nullptr) return E_POINTER;
  *done = VARIANT_FALSE;
  return guarded([&] {
    const auto held = self();
    const auto file = CFileSystemStream::open_for_writing(path);
    if (file) {
      const WriteOutcome outcome = write(*file, false);
      const bool written = SUCCEEDED(outcome.status) && outcome.complete;
      *done = as_boolean(SUCCEEDED(file->flush()) && SUCCEEDED(file->write_status()) && written);
    }
    if (*done == VARIANT_FALSE) {
      set_file_error(kFileNotWritten, path);
    } else {
      set_dirty(false);
    }
    return S_OK;
  });
}

HRESULT CMimeDecoder::Save(IDispatch* stream_object, VARIANT_BOOL* done) {
  if (done == nullptr) return E_POINTER;
  *done = VARIANT_FALSE;
  return guarded([&] {
    const auto held = self();
    const auto stream = platform::query<IStream>(stream_object);
    if (!stream) return S_OK;
    const WriteOutcome outcome = write(*stream, false);
    *done = as_boolean(SUCCEEDED(outcome.status) && outcome.complete);
    if (*done != VARIANT_FALSE) set_dirty(false);
    return S_OK;
  });
}

// --- changes and single fields -------------------------------------------------------------------

// The message is written whole before the part changes: what cannot be written leaves the part as
// it was.
bool CMimeDecoder::write_through() {
  if (!place_.exists()) return true;
  if (!place_.holds(*this)) return false;
  CISSHelper bytes;
  const WriteOutcome outcome = write(bytes, false);
  // A host's stream, read for the writing, may have run code that changed the part.
  if (!place_.holds(*this)) return false;
  if (SUCCEEDED(outcome.status) && outcome.complete) place_.rewrite(bytes);
  return true;
}

void CMimeDecoder::NotifyChanged() {
  ComPtr<CMimeDecoder> message(this);
  while (message) {
    message->drop_raw_copy();
    if (message->store_.load_error_flag) return;
    message->set_dirty(true);
    if (!message->write_through()) return;
    const MessageRef enclosing = message->enclosing_;
    MessageOwner* const owner = enclosing == nullptr ? nullptr : enclosing->owner;
    auto* const next = dynamic_cast<CMimeDecoder*>(owner);
    if (owner != nullptr && next == nullptr) owner->NotifyChanged();
    message = ComPtr<CMimeDecoder>(next);
  }
}

HRESULT CMimeDecoder::ParseHeaderInto(std::string_view name, std::string_view text,
                                      HeaderValue& target) {
  HeaderValue value;
  if (parse_usual_field(name, text, value)) {  // which nobody has to wait for
    target = std::move(value);
    return S_OK;
  }
  const auto held = self();
  HRESULT status = S_OK;
  {
    const ViewMutex::Hold hold(mutex_, *held);
    status = parse_field_by_grammar(name, text, value);
  }
  if (SUCCEEDED(status)) target = std::move(value);
  return status;
}

HRESULT create_mime_decoder(REFIID iid, void** object) {
  return create_instance<CMimeDecoder>(iid, object);
}

}  // namespace tallowbrook
