#pragma once
// Reads the locale record from the process locale (LANG, LC_*), once at start.
// The C and POSIX locales read as US English.

#include "engine/Locale.h"

namespace engine {

Locale ReadProcessLocale();

} // namespace engine
