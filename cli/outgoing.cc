#include "cli/outgoing.h"

#include <strings.h>

#include <algorithm>
#include <utility>

namespace tallowbrook::cli {
namespace {

constexpr std::size_t kBlock = 65536;

bool is_mailbox_line(std::string_view line) { return line.starts_with("From "); }

}  // namespace

bool is_field(std::string_view line, std::string_view name) {
  std::string_view own = line.substr(0, line.find(':'));
  if (own.size() == line.size()) return false;
  own = own.substr(0, own.find_last_not_of(" \t") + 1);
  return own.size() == name.size() && ::strncasecmp(own.data(), name.data(), name.size()) == 0;
}

// ---- lines --------------------------------------------------------------------------------------

HRESULT MessageLines::Write(const void* pv, ULONG cb, ULONG* written) {
  if (written != nullptr) *written = 0;
  const std::string_view bytes(static_cast<const char*>(pv), cb);
  const auto find = [bytes](char c, std::size_t from) {
    return std::min(bytes.find(c, from), bytes.size());
  };
  std::size_t lf = find('\n', 0);
  std::size_t cr = find('\r', 0);
  for (std::size_t at = 0; at < bytes.size();) {
    if (at > lf) lf = find('\n', at);
    if (at > cr) cr = find('\r', at);
    if (at == cr) {
      ++crs_;
      ++at;
      continue;
    }
    if (crs_ > 0) end_crs(at == lf);
    if (at == lf) {
      end_line();
      ++at;
    } else {
      const std::size_t end = std::min(lf, cr);
      piece(bytes.substr(at, end - at));
      at = end;
    }
    after_lf_ = at == lf + 1;
  }
  if (!goes_on(cb)) return E_FAIL;
  if (written != nullptr) *written = cb;
  return S_OK;
}

// Behind an LF, CRs alone are nothing.
void MessageLines::end_crs(bool before_lf) {
  if (before_lf) {
    if (crs_ > 1) piece(std::string(crs_ - 1, '\r'));
  } else if (!after_lf_) {
    for (std::size_t i = 0; i < crs_; ++i) end_line();
  }
  crs_ = 0;
}

void MessageLines::finish() { end_crs(false); }

// ---- the probe ----------------------------------------------------------------------------------

void TextProbe::piece(std::string_view text) {
  line_ = line_ == Line::kEmpty && text == "." ? Line::kDot : Line::kOther;
  behind_dot_line_ = false;
  if (in_header_) header_ += text;
}

void TextProbe::end_line() {
  behind_dot_line_ = line_ == Line::kDot;
  if (behind_dot_line_) ++dot_lines_;
  if (line_ == Line::kEmpty) in_header_ = false;
  if (in_header_) header_ += "\r\n";
  line_ = Line::kEmpty;
}

bool TextProbe::goes_on(std::size_t count) {
  size_ += count;
  return true;
}

// ---- the way out --------------------------------------------------------------------------------

OutgoingText::OutgoingText(platform::ComPtr<ISequentialStream> target, bool plain,
                           std::function<void(std::size_t)> watch)
    : target_(std::move(target)), watch_(std::move(watch)), plain_(plain) {
  block_.reserve(kBlock);
}

void OutgoingText::piece(std::string_view text) {
  if (in_header_) {
    held_ += text;
    return;
  }
  if (at_line_start_ && plain_ && text[0] == '.') put(".");
  put(text);
  at_line_start_ = false;
}

void OutgoingText::end_line() {
  if (in_header_) pass_field_line();
  if (!dropping_) put("\r\n");
  at_line_start_ = true;
}

// The present line of the header, without its end. The last one is empty.
void OutgoingText::pass_field_line() {
  const bool goes_on = !held_.empty() && (held_[0] == ' ' || held_[0] == '\t');
  if (!goes_on) {
    dropping_ = is_field(held_, "bcc") || is_field(held_, "resent-bcc") ||
                (std::exchange(first_, false) && is_mailbox_line(held_));
  }
  in_header_ = false;
  const std::string line = std::exchange(held_, {});
  if (!line.empty() && !dropping_) piece(line);
  in_header_ = !line.empty();
}

bool OutgoingText::goes_on(std::size_t count) {
  if (watch_) watch_(count);
  return !failed_;
}

void OutgoingText::put(std::string_view bytes) {
  if (block_.size() + bytes.size() > kBlock) flush();
  block_.append(bytes);
}

void OutgoingText::flush() {
  sent_ += block_.size();
  for (std::string_view left = block_; target_ && !failed_ && !left.empty();) {
    ULONG taken = 0;
    failed_ =
        FAILED(target_->Write(left.data(), static_cast<ULONG>(left.size()), &taken)) || taken == 0;
    left.remove_prefix(std::min<std::size_t>(taken, left.size()));
  }
  block_.clear();
}

bool OutgoingText::pass_end() {
  finish();
  if (in_header_ && !held_.empty()) pass_field_line();
  if (plain_) put(at_line_start_ ? ".\r\n" : "\r\n.\r\n");
  flush();
  return !failed_;
}

}  // namespace tallowbrook::cli
