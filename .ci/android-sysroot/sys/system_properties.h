// SPDX-License-Identifier: Apache-2.0
#pragma once

// Debian's android-libcutils-dev includes this bionic header but no package ships it;
// cutils/properties.h needs only the value size from it (bionic's public NDK value).
#define PROP_VALUE_MAX 92
