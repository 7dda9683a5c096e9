# The static library of libsodium, as the target Sodium::sodium. CMake has no module of its own for it, and pkg-config
# names the shared library.
find_path(Sodium_INCLUDE_DIR sodium.h)
find_library(Sodium_LIBRARY NAMES ${CMAKE_STATIC_LIBRARY_PREFIX}sodium${CMAKE_STATIC_LIBRARY_SUFFIX}
                                   libsodium${CMAKE_STATIC_LIBRARY_SUFFIX}) # of vcpkg
mark_as_advanced(Sodium_INCLUDE_DIR Sodium_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Sodium REQUIRED_VARS Sodium_LIBRARY Sodium_INCLUDE_DIR)

if(Sodium_FOUND AND NOT TARGET Sodium::sodium)
  add_library(Sodium::sodium STATIC IMPORTED)
  set_target_properties(Sodium::sodium PROPERTIES
                        IMPORTED_LOCATION "${Sodium_LIBRARY}"
                        INTERFACE_INCLUDE_DIRECTORIES "${Sodium_INCLUDE_DIR}"
                        INTERFACE_COMPILE_DEFINITIONS SODIUM_STATIC)
endif()
