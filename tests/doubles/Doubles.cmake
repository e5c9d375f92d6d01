# SPDX-License-Identifier: Apache-2.0
# Where the test doubles land and which targets build them. Included by
# tests/doubles/CMakeLists.txt and by any test folder that uses the doubles; the
# paths depend only on CMAKE_BINARY_DIR, so the order of add_subdirectory does not
# matter (add_dependencies accepts targets defined later).
#
#   QVNCAM_DOUBLE_DIR_POWER_RECORDING  recording libqvnperf_client_vendor.so
#   QVNCAM_DOUBLE_DIR_POWER_NOREL      libqvnperf_client_vendor.so without perf_lock_rel
#   QVNCAM_DOUBLE_DIR_POWER_NOACQ      libqvnperf_client_vendor.so without perf_lock_acq
#   QVNCAM_DOUBLE_DIR_CUSTOM_FULL      libcameracustom.so with all four entries
#   QVNCAM_DOUBLE_DIR_CUSTOM_QUERYONLY libcameracustom.so with queryAppropriateCPU only
#   QVNCAM_DOUBLE_DIR_CUSTOM_NORUNTIME libcameracustom.so without customizeRuntimeCPUCtrl
#   QVNCAM_DOUBLE_DIR_EMPTY            an empty directory (no library found)
#   QVNCAM_DOUBLE_TARGETS              every double's target, for DEPENDS
#
# Safe to include from any number of folders. Example:
#   include(${PROJECT_SOURCE_DIR}/tests/doubles/Doubles.cmake)
#   qvncam_add_gtest(my_test SOURCES my_test.cpp
#     LIBDIRS ${QVNCAM_DOUBLE_DIR_POWER_RECORDING} ${QVNCAM_DOUBLE_DIR_CUSTOM_FULL}
#     DEPENDS ${QVNCAM_DOUBLE_TARGETS})

set(_qvncam_doubles_root ${CMAKE_BINARY_DIR}/tests/doubles)
set(QVNCAM_DOUBLE_DIR_POWER_RECORDING ${_qvncam_doubles_root}/power_recording)
set(QVNCAM_DOUBLE_DIR_POWER_NOREL ${_qvncam_doubles_root}/power_norel)
set(QVNCAM_DOUBLE_DIR_POWER_NOACQ ${_qvncam_doubles_root}/power_noacq)
set(QVNCAM_DOUBLE_DIR_CUSTOM_FULL ${_qvncam_doubles_root}/custom_full)
set(QVNCAM_DOUBLE_DIR_CUSTOM_QUERYONLY ${_qvncam_doubles_root}/custom_queryonly)
set(QVNCAM_DOUBLE_DIR_CUSTOM_NORUNTIME ${_qvncam_doubles_root}/custom_noruntime)
set(QVNCAM_DOUBLE_DIR_EMPTY ${_qvncam_doubles_root}/empty)

set(QVNCAM_DOUBLE_TARGET_POWER_RECORDING qvncam_double_power_recording)
set(QVNCAM_DOUBLE_TARGET_POWER_NOREL qvncam_double_power_norel)
set(QVNCAM_DOUBLE_TARGET_POWER_NOACQ qvncam_double_power_noacq)
set(QVNCAM_DOUBLE_TARGET_CUSTOM_FULL qvncam_double_custom_full)
set(QVNCAM_DOUBLE_TARGET_CUSTOM_QUERYONLY qvncam_double_custom_queryonly)
set(QVNCAM_DOUBLE_TARGET_CUSTOM_NORUNTIME qvncam_double_custom_noruntime)
set(QVNCAM_DOUBLE_TARGETS
  ${QVNCAM_DOUBLE_TARGET_POWER_RECORDING}
  ${QVNCAM_DOUBLE_TARGET_POWER_NOREL}
  ${QVNCAM_DOUBLE_TARGET_POWER_NOACQ}
  ${QVNCAM_DOUBLE_TARGET_CUSTOM_FULL}
  ${QVNCAM_DOUBLE_TARGET_CUSTOM_QUERYONLY}
  ${QVNCAM_DOUBLE_TARGET_CUSTOM_NORUNTIME})

# The headers that reach the doubles' scripting API (RecordingPowerClient.h, CustomDouble.h).
set(QVNCAM_DOUBLE_INCLUDE_DIR ${CMAKE_CURRENT_LIST_DIR})

file(MAKE_DIRECTORY ${QVNCAM_DOUBLE_DIR_EMPTY})
