# Warnings, and the rules of floating point and exceptions, in each compiler's words.
#
# Scores are sums whose last bit is part of the contract: no fused multiply-add, whatever the target can do.
if(MSVC)
  set(CORVENDA_COMPILE_OPTIONS /W4 /permissive- /utf-8 /Zc:__cplusplus /fp:precise)
  set(CORVENDA_NO_RTTI /GR-)
  add_compile_definitions(_HAS_EXCEPTIONS=0)
  string(REGEX REPLACE "/(EHsc|GR)" "" CMAKE_CXX_FLAGS "${CMAKE_CXX_FLAGS}")
  # No DLL of the compiler's: the host need not have it.
  set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
else()
  set(CORVENDA_COMPILE_OPTIONS -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
      -ffp-contract=off -fno-exceptions)
  set(CORVENDA_NO_RTTI -fno-rtti)
endif()
add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:${CORVENDA_COMPILE_OPTIONS}>")
