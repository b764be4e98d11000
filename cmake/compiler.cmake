# Warnings and sanitizers, for all targets alike.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion)
# GCC 12 reports copies that cannot happen in `"text" + std::string` (its bug 105651), and on 32 bits
# calls some of them too long.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  add_compile_options(-Wno-restrict)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    add_compile_options(-Wno-stringop-overflow)
  endif()
endif()
if(GPON_WERROR)
  add_compile_options(-Werror)
endif()
if(GPON_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
