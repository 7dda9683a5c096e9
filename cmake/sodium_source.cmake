# libsodium from its sources, as the target Sodium::sodium. They hold no build files for CMake, and what the configure
# script would find out is what stands here: without it, portable code is chosen everywhere.

enable_language(C)
set(sodium "${CORVENDA_SODIUM_SOURCE}/src/libsodium")
file(GLOB_RECURSE sodium_sources "${sodium}/*.c")
if(NOT sodium_sources)
  message(FATAL_ERROR "no sources of libsodium in ${CORVENDA_SODIUM_SOURCE}")
endif()
# The one header that the configure script makes; the copy for builds without it expects to lie beside the others.
file(READ "${CORVENDA_SODIUM_SOURCE}/builds/msvc/version.h" version)
string(REPLACE "\"export.h\"" "\"sodium/export.h\"" version "${version}")
file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/sodium/sodium/version.h" CONTENT "${version}" @ONLY)

add_library(sodium STATIC EXCLUDE_FROM_ALL ${sodium_sources})
add_library(Sodium::sodium ALIAS sodium)
target_compile_options(sodium PRIVATE -w)
target_compile_definitions(sodium PUBLIC SODIUM_STATIC=1 PRIVATE CONFIGURED=1 NATIVE_LITTLE_ENDIAN=1 HAVE_TI_MODE=1)
target_include_directories(sodium SYSTEM PUBLIC "${sodium}/include" "${CMAKE_BINARY_DIR}/sodium"
                           PRIVATE "${sodium}/include/sodium" "${CMAKE_BINARY_DIR}/sodium/sodium")
if(WIN32)
  target_link_libraries(sodium PUBLIC advapi32)
endif()
