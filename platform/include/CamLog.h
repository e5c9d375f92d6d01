// SPDX-License-Identifier: Apache-2.0
#pragma once

// The one gated logging macro. Each file defines LOG_TAG before including this.
//
//   debug (5): detail level >= 5 and the normal-details mask has all of 0x1001000
//   warning (2): detail level >= 2
//   error (1): always
//
// The mode word chooses the sinks: bit 0 the Android log, bits 0x2/0x8 the unified
// logger. Each sink evaluates the arguments itself (callers pass dlerror()).
// Error lines carry " (function){#line:file}" in the Android log only.

#include <cstdio>

#include "ULogger.h"
#include "qvncam/platform/AndroidLog.h"

#define CAM_ULOG_MODULE_PERFCTRL 0x1001015
#define CAM_ULOG_DETAILS_PERFCTRL 0x1001000u

#define CAM_LOG_LEVEL_ERROR 1
#define CAM_LOG_LEVEL_WARN 2
#define CAM_LOG_LEVEL_DEBUG 5

#define CAM_LOG_GATE(level)                                                                   \
    ((level) <= CAM_LOG_LEVEL_ERROR ||                                                        \
     (::NSCam::Utils::ULog::ULogger::getDetailLogLevel() >= (level) &&                        \
      ((level) < CAM_LOG_LEVEL_DEBUG ||                                                       \
       (::NSCam::Utils::ULog::ULogger::getNormalDetailsMask() & CAM_ULOG_DETAILS_PERFCTRL) == \
           CAM_ULOG_DETAILS_PERFCTRL)))

#define CAM_LOG_SUFFIX_ERROR " (%s){#%d:%s}"

#define CAM_ULOG(level, prio, androidFmt, androidSuffixArgs, fmt, ...)                           \
    do {                                                                                         \
        if (CAM_LOG_GATE(level)) {                                                               \
            const unsigned camLogMode_ = ::NSCam::Utils::ULog::ULogger::getModeWord();           \
            if (camLogMode_ & ::NSCam::Utils::ULog::ULogger::MODE_ANDROID_LOG) {                 \
                ::qvncam::platform::android_log_print(prio, LOG_TAG, androidFmt,                 \
                                                      ##__VA_ARGS__ androidSuffixArgs);          \
            }                                                                                    \
            if (camLogMode_ & ::NSCam::Utils::ULog::ULogger::MODE_ULOG_MASK) {                   \
                char camLogBuf_[1024];                                                           \
                if (::snprintf(camLogBuf_, sizeof(camLogBuf_), fmt, ##__VA_ARGS__) >= 0) {       \
                    camLogBuf_[sizeof(camLogBuf_) - 1] = '\0';                                   \
                    ::NSCam::Utils::ULog::ULogger::log(CAM_ULOG_MODULE_PERFCTRL, LOG_TAG, level, \
                                                       camLogBuf_);                              \
                }                                                                                \
            }                                                                                    \
        }                                                                                        \
    } while (0)

#define CAM_LOG_NO_SUFFIX
#define CAM_LOG_ERROR_SUFFIX_ARGS , __FUNCTION__, __LINE__, __FILE__

#define CAM_LOGD(fmt, ...)                                                                         \
    CAM_ULOG(CAM_LOG_LEVEL_DEBUG, ::qvncam::platform::LOG_PRIO_DEBUG, fmt, CAM_LOG_NO_SUFFIX, fmt, \
             ##__VA_ARGS__)
#define CAM_LOGW(fmt, ...)                                                                       \
    CAM_ULOG(CAM_LOG_LEVEL_WARN, ::qvncam::platform::LOG_PRIO_WARN, fmt, CAM_LOG_NO_SUFFIX, fmt, \
             ##__VA_ARGS__)
#define CAM_LOGE(fmt, ...)                                                                      \
    CAM_ULOG(CAM_LOG_LEVEL_ERROR, ::qvncam::platform::LOG_PRIO_ERROR, fmt CAM_LOG_SUFFIX_ERROR, \
             CAM_LOG_ERROR_SUFFIX_ARGS, fmt, ##__VA_ARGS__)
