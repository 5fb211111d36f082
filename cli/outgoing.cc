#include "cli/outgoing.h"

#include <strings.h>

#include <algorithm>
#include <utility>

namespace tallowbrook::cli {
namespace {

constexpr std::size_t kBlock = 65536;
constexpr std::size_t kNone = std::string_view::npos;

// The place behind the empty line that ends a header, looked for from `from` on; npos for none.
std::size_t end_of_header(std::string_view text, std::size_t from) {
  if (text.substr(0, 1) == "\n") return 1;
  if (text.substr(0, 2) == "\r\n") return 2;
  for (std::size_t lf = text.find('\n', from); lf != kNone; lf = text.find('\n', lf + 1)) {
    const std::string_view rest = text.substr(lf + 1);
    if (rest.substr(0, 1) == "\n") return lf + 2;
    if (rest.substr(0, 2) == "\r\n") return lf + 3;
  }
  return kNone;
}

bool is_secret(std::string_view line) {
  std::string_view name = line.substr(0, line.find(':'));
  if (name.size() == line.size()) return false;
  name = name.substr(0, name.find_last_not_of(" \t") + 1);
  const auto is = [name](std::string_view other) {
    return name.size() == other.size() &&
           ::strncasecmp(name.data(), other.data(), name.size()) == 0;
  };
  return is("bcc") || is("resent-bcc");
}

}  // namespace

HRESULT TextProbe::Write(const void* pv, ULONG cb, ULONG* written) {
  held_.append(static_cast<const char*>(pv), cb);
  size_ += cb;
  const std::uint64_t start = size_ - held_.size();  // wraps around in front of the first byte
  std::size_t done = 0;
  for (std::size_t at = held_.find("\n."); at != kNone; at = held_.find("\n.", at + 1)) {
    const std::size_t end = held_.compare(at + 2, 1, "\n") == 0     ? at + 3
                            : held_.compare(at + 2, 2, "\r\n") == 0 ? at + 4
                                                                    : 0;
    if (end == 0) continue;
    ++dot_lines_;
    last_end_ = start + end;
    done = end - 1;  // its line end may begin the next
  }
  constexpr std::size_t kPartial = 3;  // "\n.\r"
  held_.erase(0, std::max(done, held_.size() - std::min(held_.size(), kPartial)));
  if (written != nullptr) *written = cb;
  return S_OK;
}

OutgoingText::OutgoingText(platform::ComPtr<ISequentialStream> target, bool plain,
                           std::function<void(std::size_t)> watch)
    : target_(std::move(target)), watch_(std::move(watch)), plain_(plain) {
  block_.reserve(kBlock);
}

HRESULT OutgoingText::Write(const void* pv, ULONG cb, ULONG* written) {
  if (written != nullptr) *written = 0;
  const std::string_view bytes(static_cast<const char*>(pv), cb);
  if (in_header_) {
    take_header(bytes);
  } else {
    pass_text(bytes);
  }
  if (failed_) return E_FAIL;
  if (watch_) watch_(cb);
  if (written != nullptr) *written = cb;
  return S_OK;
}

void OutgoingText::take_header(std::string_view bytes) {
  const std::size_t from = header_.size() - std::min<std::size_t>(header_.size(), 2);
  header_ += bytes;
  const std::size_t end = end_of_header(header_, from);
  if (end == kNone) return;
  const std::string rest = header_.substr(end);
  header_.resize(end);
  pass_header();
  pass_text(rest);
}

void OutgoingText::pass_header() {
  in_header_ = false;
  bool dropping = false;
  for (std::string_view left = header_; !left.empty();) {
    const std::string_view line = left.substr(0, std::min(left.find('\n'), left.size() - 1) + 1);
    left.remove_prefix(line.size());
    const bool goes_on = line[0] == ' ' || line[0] == '\t';
    dropping = goes_on ? dropping : is_secret(line);
    if (!dropping) pass_text(line);
  }
  header_ = {};
}

// What stands between line starts goes out in runs.
void OutgoingText::pass_text(std::string_view text) {
  while (!text.empty()) {
    if (at_line_start_ && plain_ && text[0] == '.') put(".");
    const std::size_t lf = text.find('\n');
    const std::string_view run = text.substr(0, lf);
    put(run);
    if (!run.empty()) after_cr_ = run.back() == '\r';
    at_line_start_ = lf != kNone;
    if (lf == kNone) return;
    put(after_cr_ ? "\n" : "\r\n");
    after_cr_ = false;
    text.remove_prefix(lf + 1);
  }
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

bool OutgoingText::finish() {
  if (in_header_) pass_header();
  flush();
  return !failed_;
}

}  // namespace tallowbrook::cli
