# SPDX-License-Identifier: Apache-2.0
# Warnings are errors in our own code. With clang, so is every access to data that its
# lock's annotations (QVNCAM_GUARDED_BY and kin) say must be locked.
function(qvncam_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror
    $<$<COMPILE_LANG_AND_ID:CXX,Clang,AppleClang>:-Wthread-safety>
    $<$<COMPILE_LANG_AND_ID:C,Clang,AppleClang>:-Wthread-safety>)
endfunction()

if(QVNCAM_SANITIZE STREQUAL "address")
  set(_san -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    list(APPEND _san -fsanitize=float-cast-overflow,integer -fno-sanitize=unsigned-integer-overflow,unsigned-shift-base
         -fsanitize-ignorelist=${CMAKE_CURRENT_LIST_DIR}/sanitizer-ignorelist.txt)
    # A C program linked against the C++ library needs UBSan's C++ part (vptr checks) too,
    # and that part needs the C++ runtime.
    add_link_options("$<$<LINK_LANGUAGE:C>:-fsanitize-link-c++-runtime;-lstdc++>")
  else()
    list(APPEND _san -fsanitize=float-cast-overflow)
  endif()
  add_compile_options(${_san})
  add_link_options(${_san})
elseif(QVNCAM_SANITIZE STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
elseif(NOT QVNCAM_SANITIZE STREQUAL "")
  message(FATAL_ERROR "QVNCAM_SANITIZE must be address, thread or empty")
endif()

# With clang, ASan's runtime as a shared library: tests that wrap dlopen/dlsym (-Wl,--wrap)
# must not catch the runtime's own calls, made before anything of theirs is initialised.
# (TSan's shared runtime does not start before libstdc++ on this toolchain: it stays static.)
if(QVNCAM_SANITIZE STREQUAL "address" AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-runtime-dir
                  OUTPUT_VARIABLE _san_rt_dir OUTPUT_STRIP_TRAILING_WHITESPACE)
  add_link_options(-shared-libsan -Wl,-rpath,${_san_rt_dir})
endif()

# Fuzzing: coverage feedback from every object of the build, not only the fuzz targets.
if(QVNCAM_BUILD_FUZZ AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  add_compile_options(-fsanitize=fuzzer-no-link)
  add_link_options(-fsanitize=fuzzer-no-link)
endif()

# A sanitizer's runtime lives in the executable, so shared libraries are left with undefined
# references to it: lift --no-undefined (it comes earlier on the link line) in such builds.
if(NOT QVNCAM_SANITIZE STREQUAL "" OR QVNCAM_BUILD_FUZZ)
  add_link_options(-Wl,-z,undefs)
endif()

# RUNPATH, never RPATH: LD_LIBRARY_PATH must win when the controller dlopens its
# power-service client or customisation library.
add_link_options(-Wl,--enable-new-dtags)
