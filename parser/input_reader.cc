#include "parser/input_reader.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "core/line_scan.h"
#include "parser/report.h"

namespace tallowbrook {
namespace {

struct Normalised {
  std::size_t in = 0;
  std::size_t out = 0;
};

// Ends when at least `most` bytes came out.
Normalised normalise_up_to(char* bytes, std::size_t length, bool full, std::size_t most) {
  std::size_t out = 0;
  std::size_t i = 0;
  while (i < length && out < most) {
    if (bytes[i] == '\0') {
      ++i;
    } else if (bytes[i] != '\r') {
      bytes[out++] = bytes[i++];
    } else {
      std::size_t crs = 0;
      while (i < length && (bytes[i] == '\r' || bytes[i] == '\0')) crs += bytes[i++] == '\r';
      const bool before_lf = i < length ? bytes[i] == '\n' : full;
      if (before_lf) {
        std::memset(bytes + out, '\r', crs);
        out += crs;
      } else if (out == 0 || bytes[out - 1] != '\n') {
        std::memset(bytes + out, '\n', crs);
        out += crs;
      }
    }
  }
  return {i, out};
}

// A block that gave nothing counts with the one behind it.
void note_block(ParseRun& run, const InputBlock& block) {
  if (run.last_block.kept == 0) {
    run.last_block = {run.last_block.raw + block.raw, block.kept, block.full};
  } else {
    run.block_before = run.last_block;
    run.last_block = block;
  }
}

}  // namespace

std::size_t normalise(char* bytes, std::size_t length, bool full) {
  std::string_view text(bytes, length);
  while (full && text.ends_with('\r')) text.remove_suffix(1);  // these stay
  if (!fastest_line_scan().needs_normalising(text)) return length;
  return normalise_up_to(bytes, length, full, length).out;
}

std::size_t length_before_normalising(char* bytes, std::size_t length, bool full,
                                      std::size_t kept) {
  const Normalised done = normalise_up_to(bytes, length, full, kept);
  // The last step may have given several line ends, one for each CR.
  return done.in - (done.out - std::min(kept, done.out));
}

std::size_t ReadScannerInput(ParseRun& run, char* buffer, std::size_t maximum) {
  if (run.input == nullptr) {
    throw CDecoderException("fatal error - scanner input buffer overflow");
  }
  const auto wanted = static_cast<ULONG>(std::min(maximum, kChunk));
  for (;;) {
    ULONG filled = 0;
    while (filled < wanted && SUCCEEDED(run.read_status)) {
      ULONG got = 0;
      const HRESULT status = run.input->Read(buffer + filled, wanted - filled, &got);
      if (FAILED(status)) run.read_status = status;
      got = std::min(got, wanted - filled);
      filled += got;
      if (got == 0) break;
    }
    if (filled == 0) {
      std::memcpy(buffer, kEndOfData.data(), kEndOfData.size());
      note_block(run, {0, kEndOfData.size(), true});
      run.supplied += kEndOfData.size();
      return kEndOfData.size();
    }
    if (run.full_load && run.raw_copy != nullptr) run.raw_copy->write({buffer, filled});
    const std::size_t left = normalise(buffer, filled, filled == wanted);
    note_block(run, {filled, left, filled == wanted});
    if (left > 0) return left;  // a block of nothing but NULs gives nothing: read on
  }
}

}  // namespace tallowbrook
