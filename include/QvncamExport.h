// SPDX-License-Identifier: Apache-2.0
#pragma once

// Symbols of libqvncam_perfctrl are hidden by default; only what is marked here is exported.
#if defined(_WIN32)
#define QVNCAM_EXPORT
#define QVNCAM_HIDDEN
#else
#define QVNCAM_EXPORT __attribute__((visibility("default")))
// Members of an exported class that stay inside the library.
#define QVNCAM_HIDDEN __attribute__((visibility("hidden")))
#endif
