# Warnings are errors in our own code.
function(qvncam_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
endfunction()

if(QVNCAM_SANITIZE STREQUAL "address")
  set(_san -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    list(APPEND _san -fsanitize=float-cast-overflow,integer -fno-sanitize=unsigned-integer-overflow,unsigned-shift-base)
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

# RUNPATH, never RPATH: LD_LIBRARY_PATH must win when the controller dlopens its
# power-service client or customisation library.
add_link_options(-Wl,--enable-new-dtags)
