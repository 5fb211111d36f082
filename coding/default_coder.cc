#include "coding/default_coder.h"

#include <algorithm>
#include <cstring>

#include "coding/block_io.h"
#include "core/line_scan.h"

namespace tallowbrook {

namespace {

constexpr std::size_t kMaxLine = 4096;
constexpr std::size_t kWrapColumn = 75;

// --- decoding ------------------------------------------------------------------------------------

// Cuts blocks into lines and passes runs of lines that stay as they are on whole. Only a line that
// straddles two blocks is copied.
class LineDecoder {
 public:
  LineDecoder(IStream& output, ULONGLONG length) : writer_(output), length_(length) {}

  void take(std::string_view block) {
    std::size_t run = 0;
    std::size_t at = 0;
    while (at < block.size()) {
      const std::string_view part = line_part(block.substr(at));
      const bool whole = part.back() == '\n' || carry_.size() + part.size() == kMaxLine;
      if (carry_.empty() && whole && stays(part)) {
        at += part.size();
        read_ += part.size();
        continue;
      }
      writer_.put(block.substr(run, at - run));
      at += part.size();
      run = at;
      carry_.append(part);
      if (whole) end_line();
    }
    writer_.put(block.substr(run));
  }

  void finish() {
    if (!carry_.empty()) end_line();
    writer_.flush();
  }

 private:
  // The bytes of `rest` that belong to the line begun in `carry_`.
  [[nodiscard]] std::string_view line_part(std::string_view rest) const {
    rest = rest.substr(0, kMaxLine - carry_.size());
    const std::size_t lf = rest.find('\n');
    return lf == rest.npos ? rest : rest.substr(0, lf + 1);
  }

  [[nodiscard]] bool stays(std::string_view line) const {
    return read_ + line.size() != length_ && line != "..\r\n" && line.find('\0') == line.npos;
  }

  void end_line() {
    read_ += carry_.size();
    std::string_view line = carry_;
    line = line.substr(0, line.find('\0'));
    if (line == "..\r\n") line.remove_prefix(1);
    if (read_ == length_) {
      if (line.ends_with('\n')) line.remove_suffix(1);
      if (line.ends_with('\r')) line.remove_suffix(1);
    }
    writer_.put(line);
    carry_.clear();
  }

  BlockWriter writer_;
  std::string carry_;
  ULONGLONG read_ = 0;
  ULONGLONG length_;
};

// --- encoding ------------------------------------------------------------------------------------

// Bytes wait in `pending_` while a CR may still turn out to open a line end.
class DotStuffer {
 public:
  DotStuffer(IStream& output, bool wrap) : writer_(output), wrap_(wrap) {}

  void take(std::string_view block) {
    std::size_t zero = block.find('\0');
    std::size_t at = 0;
    while (at < block.size()) {
      if (state_ == State::kInside && !wrap_) {
        if (zero != block.npos && zero < at) zero = block.find('\0', at);
        const std::size_t end = std::min({block.find('\r', at), zero, block.size()});
        write(block.substr(at, end - at));
        at = end;
        if (at == block.size()) return;
      }
      step(block[at++]);
    }
  }

  void finish() {
    write(pending_);
    if (last_ != '\n' && wrote_) writer_.put("\r\n");
    writer_.flush();
  }

 private:
  enum class State { kInside, kAfterCr, kLineStart };

  void step(char byte) {
    if (pending_.size() > 40) write_some(20);
    if (byte != '\0') pending_ += byte;
    if (state_ == State::kAfterCr && byte == '\n') {
      state_ = State::kLineStart;
      return;
    }
    if (state_ == State::kLineStart && byte == '.') {
      pending_ += '.';
    } else if (byte == '\r') {
      state_ = State::kAfterCr;
      return;
    }
    if (!pending_.empty()) {
      write_some(pending_.size());
      state_ = State::kInside;
    }
  }

  // Writes the first `count` pending bytes; a line end anywhere in the pending text means that the
  // column starts anew.
  void write_some(std::size_t count) {
    column_ = pending_.find('\n') == pending_.npos ? column_ + count : 0;
    if (wrap_ && column_ > kWrapColumn) {
      writer_.put("\r\n");
      column_ = 0;
    }
    write(std::string_view(pending_).substr(0, count));
    pending_.erase(0, count);
  }

  void write(std::string_view text) {
    if (text.empty()) return;
    writer_.put(text);
    last_ = text.back();
    wrote_ = true;
  }

  BlockWriter writer_;
  std::string pending_;
  std::size_t column_ = 0;
  State state_ = State::kLineStart;
  char last_ = '\0';
  bool wrote_ = false;
  bool wrap_;
};

}  // namespace

// The end of a line of several pieces is left to the decoder.
std::optional<std::string_view> CDefaultCoder::decoded_in_place(std::string_view content) {
  if (fastest_line_scan().find_nul_or_dots(content) != content.npos) return std::nullopt;
  const std::size_t before = content.find_last_of('\n', content.size() - 2);
  const std::size_t last = content.size() < 2 || before == content.npos ? 0 : before + 1;
  if (content.size() - last > kMaxLine) return std::nullopt;
  if (content.ends_with('\n')) content.remove_suffix(1);
  if (content.size() > last && content.ends_with('\r')) content.remove_suffix(1);
  return content;
}

void CDefaultCoder::Decode(IStream& input, IStream& output) {
  const ULONGLONG length = remaining_length(input);
  BlockReader reader(input);
  std::string_view block = reader.next();
  if (const auto unchanged = reader.lends() ? decoded_in_place(block) : std::nullopt) {
    write_block(output, *unchanged);
    return;
  }
  LineDecoder decoder(output, length);
  for (; !block.empty(); block = reader.next()) decoder.take(block);
  decoder.finish();
}

void CDefaultCoder::Encode(IStream& input, IStream& output) {
  DotStuffer stuffer(output, wrap_);
  BlockReader reader(input);
  for (auto block = reader.next(); !block.empty(); block = reader.next()) stuffer.take(block);
  stuffer.finish();
}

}  // namespace tallowbrook
