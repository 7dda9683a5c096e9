# From Debian to Linux with musl as the C library, with what npm run test:musl puts below the build folder. The standard
# library of C++ is linked statically: a system with musl has another one, or none.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(musl "${CMAKE_CURRENT_LIST_DIR}/../../build/tools/linux-musl")
foreach(language C CXX)
  set(CMAKE_${language}_COMPILER_TARGET x86_64-linux-musl)
endforeach()
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
# Programs can't be linked with the compiler's own idea of where things are.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_C_FLAGS_INIT "-nostdlibinc -isystem ${musl}/include")
set(CMAKE_CXX_FLAGS_INIT "-nostdlibinc -nostdinc++ -isystem ${musl}/include/c++/v1 -isystem ${musl}/include")
execute_process(COMMAND gcc -print-libgcc-file-name OUTPUT_VARIABLE libgcc OUTPUT_STRIP_TRAILING_WHITESPACE)
set(CMAKE_CXX_STANDARD_LIBRARIES "-L${musl}/lib -lc++ -lc++abi -lc ${libgcc}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-Wno-unused-command-line-argument -nostdlib -fuse-ld=lld")
set(CMAKE_EXE_LINKER_FLAGS_INIT
    "-Wno-unused-command-line-argument -nostdlib -fuse-ld=lld -Wl,--dynamic-linker=/lib/ld-musl-x86_64.so.1 ${musl}/lib/Scrt1.o ${musl}/lib/crti.o ${musl}/lib/crtn.o")

set(OPENSSL_ROOT_DIR ${musl})
set(OPENSSL_CRYPTO_LIBRARY ${musl}/lib/libcrypto.a)
set(OPENSSL_INCLUDE_DIR ${musl}/include)
