#include "parser/input_reader.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "parser/report.h"

namespace tallowbrook {
namespace {

constexpr std::string_view kEndOfData = "\r\n.\r\n";

// True when the block holds a NUL, or a CR that no LF follows. Written for the compiler to turn
// into vector code: almost every block of almost every message is clean.
bool needs_work(const char* bytes, std::size_t length) {
  constexpr std::size_t kBlock = 64;
  std::size_t i = 0;
  for (; i + kBlock < length; i += kBlock) {
    unsigned char found = 0;
    for (std::size_t k = 0; k < kBlock; ++k) {
      const char here = bytes[i + k];
      const char next = bytes[i + k + 1];
      found =
          static_cast<unsigned char>(found | (here == '\0') | ((here == '\r') & (next != '\n')));
    }
    if (found != 0) return true;
  }
  for (; i < length; ++i) {
    if (bytes[i] == '\0') return true;
    if (bytes[i] == '\r' && (i + 1 == length || bytes[i + 1] != '\n')) return true;
  }
  return false;
}

}  // namespace

std::size_t normalise(char* bytes, std::size_t length, bool full) {
  if (!needs_work(bytes, length)) return length;
  std::size_t out = 0;
  for (std::size_t i = 0; i < length;) {
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
  return out;
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
      return kEndOfData.size();
    }
    if (run.full_load && run.raw_copy != nullptr) run.raw_copy->write({buffer, filled});
    const std::size_t left = normalise(buffer, filled, filled == wanted);
    if (left > 0) return left;  // a block of nothing but NULs gives nothing: read on
  }
}

}  // namespace tallowbrook
