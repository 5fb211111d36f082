// The process's multi-language service, as the charset coders use it.
#pragma once

#include "platform/automation/multi_language.h"

namespace tallowbrook {

// Created on first use and kept; borrowed. Null when it cannot be created: everything that uses it
// has another way.
[[nodiscard]] IMultiLanguage* multi_language_service();

}  // namespace tallowbrook
