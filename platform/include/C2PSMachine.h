// SPDX-License-Identifier: Apache-2.0
#pragma once

// The platform C2PS controller's initialisation record and entry point.

#include "C2PSInitParams.h"

class C2PSMachine {
  public:
    static int init(const C2PSInitParams& params);
};
