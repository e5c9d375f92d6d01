#pragma once

// Counts the dlopen/dlsym/dlclose calls made from this test executable (linked with
// -Wl,--wrap for those three), so a test can tell whether a loader retried or cached.

#include <string>

namespace dlcount {

void reset();
// dlopen calls whose file name is `file`.
int opens(const std::string& file);
// dlsym calls for `symbol`.
int lookups(const std::string& symbol);
int closes();

}  // namespace dlcount
