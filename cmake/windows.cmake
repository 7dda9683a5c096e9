# What is particular to Windows: CNG in place of OpenSSL, and Node-API imported with a delay under the name node.exe.

set(CORVENDA_OTHER_PLATFORMS "_(posix|openssl)\\.cpp$")

add_compile_definitions(WIN32_LEAN_AND_MEAN NOMINMAX UNICODE _UNICODE _WIN32_WINNT=0x0A00)

set(CORVENDA_SODIUM_SOURCE "" CACHE PATH "Sources of libsodium to compile; otherwise an installed one is taken")
if(CORVENDA_SODIUM_SOURCE)
  include(cmake/sodium_source.cmake)
else()
  find_package(Sodium REQUIRED)
endif()
add_library(corvenda_providers INTERFACE)
target_link_libraries(corvenda_providers INTERFACE Sodium::sodium bcrypt)

if(MINGW)
  find_program(CORVENDA_CLANG clang++ REQUIRED)
  find_program(CORVENDA_DLLTOOL llvm-dlltool REQUIRED)
  # The GNU tools of today get the delayed import wrong: dlltool's thunk doesn't keep the registers in which doubles are
  # passed, so that the first call of napi_create_double can get garbage. lld's does, with an import library by
  # llvm-dlltool. GCC's driver can't be told to run lld, so clang's does, with GCC's libraries.
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libstdc++.a OUTPUT_VARIABLE standard_library
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  get_filename_component(CORVENDA_GCC_LIBRARIES "${standard_library}" DIRECTORY)
  string(JOIN " " CMAKE_CXX_CREATE_SHARED_MODULE
    ${CORVENDA_CLANG} --target=x86_64-w64-mingw32 -fuse-ld=lld -shared -static -s -Wl,--no-insert-timestamp
    -Wl,--gc-sections -L${CORVENDA_GCC_LIBRARIES} "<LINK_FLAGS> -o <TARGET> <OBJECTS> <LINK_LIBRARIES> -lpthread")
endif()

# The import library of node.exe, from the lists of names that come with the Node-API headers.
function(corvenda_import_library out)
  list(TRANSFORM CORVENDA_NODE_API_INCLUDES APPEND "/../def/*.def" OUTPUT_VARIABLE places)
  file(GLOB lists ${places})
  set(names "")
  foreach(list IN LISTS lists)
    file(STRINGS "${list}" listed REGEX "^(napi|node_api)_")
    list(APPEND names ${listed})
  endforeach()
  if(NOT names)
    message(FATAL_ERROR "no names of Node-API functions in ${places}")
  endif()
  list(JOIN names "\n" names)
  set(definition "${CMAKE_BINARY_DIR}/node.def")
  file(CONFIGURE OUTPUT "${definition}" CONTENT "LIBRARY node.exe\nEXPORTS\n${names}\n" @ONLY)
  if(MINGW)
    set(library "${CMAKE_BINARY_DIR}/libnode.a")
    set(command ${CORVENDA_DLLTOOL} -m i386:x86-64 -D node.exe -d "${definition}" -l "${library}")
  else()
    set(library "${CMAKE_BINARY_DIR}/node.lib")
    set(command ${CMAKE_AR} /nologo /machine:x64 "/def:${definition}" "/out:${library}")
  endif()
  add_custom_command(OUTPUT "${library}" COMMAND ${command} DEPENDS "${definition}" VERBATIM)
  add_custom_target(node_import_library DEPENDS "${library}")
  set(${out} "${library}" PARENT_SCOPE)
endfunction()

# The module exports the two functions that are marked so and nothing else.
function(corvenda_bind_to_host target)
  if(NOT TARGET node_import_library)
    corvenda_import_library(library)
    set(CORVENDA_NODE_IMPORT_LIBRARY "${library}" CACHE INTERNAL "")
  endif()
  add_dependencies(${target} node_import_library)
  target_link_libraries(${target} PRIVATE "${CORVENDA_NODE_IMPORT_LIBRARY}")
  if(MINGW)
    target_link_options(${target} PRIVATE -Wl,-Xlink=-delayload:node.exe)
  else()
    target_link_options(${target} PRIVATE /DELAYLOAD:node.exe)
    target_link_libraries(${target} PRIVATE delayimp)
  endif()
endfunction()
