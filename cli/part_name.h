// The names that senders give to parts.
#pragma once

#include <string>

#include "cli/host.h"
#include "cli/words.h"

namespace tallowbrook::cli {

// The part's disposition; empty when it has none (asking for it would make one).
[[nodiscard]] Object disposition_of(const Object& body);

// The file name that the part's header gives it, decoded, UTF-8; empty when it gives none. A name
// in the extended notation (RFC 2231: filename*=utf-8''..., filename*0=...) goes before a plain
// one, and the disposition's before the content type's.
[[nodiscard]] std::string sent_name(const Object& body, const Object& disposition,
                                    const Words& words);

}  // namespace tallowbrook::cli
