// The numbers that stand for media types and transfer encodings. A name outside these tables
// travels as a string in the same properties.
#pragma once

#include "platform/com/types.h"

namespace tallowbrook {

// The major media types (RFC 2046), as MajorContentType has them.
enum class MajorMimeTypes : LONG {
  Multipart = 0,
  Text = 1,
  Image = 2,
  Application = 3,
  Audio = 4,
  Video = 5,
  Message = 6,
};

// The minor types of each major one, as MinorContentType has them.
enum class MultipartTypes : LONG { Mixed = 0, Parallel = 1, Digest = 2, Alternative = 3 };
enum class TextTypes : LONG { Plain = 0, Html = 1 };
enum class ImageTypes : LONG { Gif = 0, Jpg = 1 };
enum class ApplicationTypes : LONG { OctetStream = 0, Postscript = 1 };
enum class AudioTypes : LONG { Basic = 0 };
enum class VideoTypes : LONG { Mpeg = 0 };
enum class MessageTypes : LONG { Rfc822 = 0, Partial = 1, ExternalBody = 2 };

// Content-Transfer-Encoding (RFC 2045 section 6), as Encoding has it.
enum class EncoderTypes : LONG {
  SevenBit = 0,
  QuotedPrintable = 1,
  Base64 = 2,
  EightBit = 3,
  Binary = 4,
};

}  // namespace tallowbrook
