# Compiler and linker options shared by every target in the project.

add_compile_options(-Wall -Wextra -Werror)

# The host and the plug-in are shared libraries; static pieces linked into them need PIC.
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

option(KEL_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
if(KEL_SANITIZE)
  set(kel_sanitizer_flags -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_compile_options(${kel_sanitizer_flags})
  add_link_options(${kel_sanitizer_flags})
  unset(kel_sanitizer_flags)
endif()
