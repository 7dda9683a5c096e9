# Compiles every file of the module once more with clang in the mode of Microsoft's compiler, as far as a machine without
# Windows can: the language, the calling and naming rules and the width of types are MSVC's, the headers are those of
# mingw-w64 and of GCC's library. It finds what doesn't exist on Windows and what MSVC's rules refuse. It doesn't find what
# only MSVC's own library or the compiler itself would refuse. Nothing is linked.

find_program(CORVENDA_CLANG clang++ REQUIRED)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=include/c++
                OUTPUT_VARIABLE library_headers OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CORVENDA_CLANG} -print-resource-dir
                OUTPUT_VARIABLE clang_headers OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

# The headers ask which compiler it is, and don't know this one: they are told an old GCC without extensions. The sources
# take what stands there for Microsoft's compiler, because clang doesn't give its name. Its intrin.h and the setjmp.h of
# mingw-w64 contradict each other; nothing here jumps.
set(msvc_mode --target=x86_64-pc-windows-msvc -fms-extensions -fgnuc-version=4.2.1 -D__STRICT_ANSI__ -D_UCRT -nostdinc
    -U__clang__ -D_INC_SETJMP "-Djmp_buf=int*"
    -isystem ${library_headers} -isystem ${library_headers}/x86_64-w64-mingw32 -isystem ${library_headers}/backward
    -isystem ${clang_headers}/include -isystem /usr/share/mingw-w64/include
    -std=c++20 -Wall -Wextra -Wpedantic -Wshadow -Werror -fno-exceptions)

# corvenda_check_in_msvc_mode(TARGET): a custom target TARGET_in_msvc_mode, a part of all.
function(corvenda_check_in_msvc_mode target)
  set(includes $<TARGET_PROPERTY:${target},INCLUDE_DIRECTORIES>)
  set(own "^${CMAKE_SOURCE_DIR}/src|^${CMAKE_BINARY_DIR}/generated")
  set(definitions $<TARGET_PROPERTY:${target},COMPILE_DEFINITIONS>)
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources INCLUDE REGEX "\\.cpp$")
  set(stamps "")
  foreach(source IN LISTS sources)
    get_filename_component(source ${source} ABSOLUTE BASE_DIR ${CMAKE_SOURCE_DIR})
    file(RELATIVE_PATH name ${CMAKE_SOURCE_DIR} ${source})
    string(REPLACE "/" "_" name ${name})
    set(stamp ${CMAKE_BINARY_DIR}/msvc_mode/${name}.o)
    add_custom_command(OUTPUT ${stamp}
      COMMAND ${CORVENDA_CLANG} ${msvc_mode} "-D$<JOIN:${definitions},;-D>"
              "-I$<JOIN:$<FILTER:${includes},INCLUDE,${own}>,;-I>"
              "-isystem$<JOIN:$<FILTER:${includes},EXCLUDE,${own}>,;-isystem>"
              -MD -MF ${stamp}.d -c ${source} -o ${stamp}
      DEPENDS ${source} DEPFILE ${stamp}.d COMMAND_EXPAND_LISTS VERBATIM)
    list(APPEND stamps ${stamp})
  endforeach()
  add_custom_target(${target}_in_msvc_mode ALL DEPENDS ${stamps})
endfunction()
