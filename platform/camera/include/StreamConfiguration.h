// SPDX-License-Identifier: Apache-2.0
#pragma once

// The camera framework's stream configuration, as far as the controller and
// customisation libraries read it.

#include <cstdint>
#include <vector>

#include "IMetadata.h"

namespace qcam {

enum class StreamType : int32_t {
    OUTPUT = 0,
    INPUT = 1,
};

// Android graphics BufferUsage bits that matter for stream classification.
enum : uint64_t {
    BUFFER_USAGE_GPU_TEXTURE = 0x100,
    BUFFER_USAGE_COMPOSER_OVERLAY = 0x800,
    BUFFER_USAGE_VIDEO_ENCODER = 0x10000,
};

// Tag of the auto-exposure target frame-rate range (min, max) in session parameters.
constexpr uint32_t TAG_CONTROL_AE_TARGET_FPS_RANGE = 0x10005;

struct Stream {
    int32_t id = 0;
    int32_t streamType = 0;  // 0 = output
    uint32_t width = 0;
    uint32_t height = 0;
    int32_t format = 0;
    uint64_t usage = 0;
};

struct StreamConfiguration {
    std::vector<Stream> streams;
    uint32_t operationMode = 0;
    NSCam::IMetadata sessionParams;
};

}  // namespace qcam
