# Warnings, hardening and sanitizers, for all targets alike.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)

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

# Hardening: executables are position-independent, relocations are resolved at load time and read-only
# from then on, and the stack is guarded. Not every architecture has all of it.
if(NOT GPON_SANITIZE)
  check_pie_supported()
endif()
add_link_options(-Wl,-z,relro -Wl,-z,now)
set(GPON_HARDENING_OPTIONS "")
foreach(option -fstack-protector-strong -fstack-clash-protection -fcf-protection)
  string(MAKE_C_IDENTIFIER "GPON_HAS${option}" has_option)
  check_cxx_compiler_flag(${option} ${has_option})
  if(${has_option})
    list(APPEND GPON_HARDENING_OPTIONS ${option})
  endif()
endforeach()
# The checked C functions need an optimizing build, and would hide calls from the sanitizers.
if(NOT GPON_SANITIZE AND NOT GPON_TSAN AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  list(APPEND GPON_HARDENING_OPTIONS -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()
add_compile_options(${GPON_HARDENING_OPTIONS})

# What is built does not depend on the folder that it is built in, also where a compiler cache has turned
# paths into such relative to the build folder. (Not where lines are counted: their counts are looked up by
# the real name.)
set(GPON_MAP_OPTION -ffile-prefix-map)
if(GPON_COVERAGE)
  set(GPON_MAP_OPTION -fmacro-prefix-map)
endif()
file(RELATIVE_PATH from_build ${CMAKE_BINARY_DIR} ${PROJECT_SOURCE_DIR})
string(REGEX REPLACE "/$" "" from_build ${from_build})
add_compile_options(${GPON_MAP_OPTION}=${from_build}=. ${GPON_MAP_OPTION}=${PROJECT_SOURCE_DIR}=.
                    ${GPON_MAP_OPTION}=${CMAKE_BINARY_DIR}=build)

if(GPON_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  # Each program starts thousands of times, and has megabytes of descriptions of what is checked: their
  # addresses are put in when it is linked.
  add_link_options(-fsanitize=address,undefined $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-no-pie>)
endif()
if(GPON_TSAN)
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
endif()
if(GPON_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "GPON_FUZZ wants clang: the fuzzers run on its libFuzzer")
  endif()
  # All code tells libFuzzer where it has been; only the fuzzers bring libFuzzer's own main.
  add_compile_options(-fsanitize=fuzzer-no-link)
  add_link_options(-fsanitize=fuzzer-no-link)
endif()
if(GPON_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()
