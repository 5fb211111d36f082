// CMIMECode: a coder of content or header text between its stored form and its wire form.
//
// Coders take what is left of the input from its current position (RFC 2045 names the encodings)
// and write blocks. They ignore what Read, Write and Seek answer: an input that fails or gives no
// byte ends the conversion, with the output written so far. One coder serves any number of
// conversions in turn, one at a time. Memory that cannot be had throws std::bad_alloc.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/storage/stream.h"

namespace tallowbrook {

class CMIMECode {
 public:
  CMIMECode() = default;
  CMIMECode(const CMIMECode&) = delete;
  CMIMECode& operator=(const CMIMECode&) = delete;
  virtual ~CMIMECode() = default;

  // Wire form to stored form.
  virtual void Decode(IStream& input, IStream& output) = 0;

  // Decodes `length` bytes of `source` (a zero-ended text when -1) into `destination`, which must
  // have room for them (null: only the length is wanted) and gets no closing zero. Returns the
  // decoded length in bytes.
  virtual std::int32_t DecodeBuffer(const char* source, char* destination, std::int32_t length);

  // Stored form to wire form.
  virtual void Encode(IStream& input, IStream& output) = 0;

  // Encodes `length` bytes of `source` (a zero-ended text when -1); `text` gets the whole result.
  virtual void EncodeToString(const char* source, std::int32_t length, std::string& text);

  // True when `Decode` yields UTF-16 text (character-set coders).
  [[nodiscard]] virtual bool ProducesWideText() const { return false; }
};

}  // namespace tallowbrook
