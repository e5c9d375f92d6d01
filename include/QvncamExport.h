#pragma once

// Symbols of libqvncam_perfctrl are hidden by default; only what is marked here is exported.
#if defined(_WIN32)
#define QVNCAM_EXPORT
#else
#define QVNCAM_EXPORT __attribute__((visibility("default")))
#endif
