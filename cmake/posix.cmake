# What is particular to systems with ELF and OpenSSL.

set(CORVENDA_OTHER_PLATFORMS "_(win|cng)\\.cpp$")

# Both static: the host process has an OpenSSL of its own, and the binary must run where neither is installed.
set(OPENSSL_USE_STATIC_LIBS ON)
find_package(OpenSSL 3 REQUIRED COMPONENTS Crypto)
set(CORVENDA_SODIUM_SOURCE "" CACHE PATH "Sources of libsodium to compile; otherwise an installed one is taken")
if(CORVENDA_SODIUM_SOURCE)
  include(cmake/sodium_source.cmake)
else()
  find_package(Sodium REQUIRED)
endif()
add_library(corvenda_providers INTERFACE)
target_link_libraries(corvenda_providers INTERFACE OpenSSL::Crypto Sodium::sodium)

# The module exports two symbols and nothing else: libcrypto and libsodium are linked in and hidden, because the host
# process exports an OpenSSL of its own that would be taken in their place. It stays loaded (nodelete), because the cache
# has to outlive the environment that happened to load the module first. What it needs of Node-API is found in the host
# when it is loaded.
function(corvenda_bind_to_host target)
  set_target_properties(${target} PROPERTIES LINK_DEPENDS ${CMAKE_SOURCE_DIR}/cmake/exports.map)
  target_link_options(${target} PRIVATE
    -Wl,--exclude-libs,ALL -Wl,--version-script=${CMAKE_SOURCE_DIR}/cmake/exports.map
    -Wl,-z,nodelete -Wl,-z,relro -Wl,-z,now -Wl,--gc-sections)
endfunction()
