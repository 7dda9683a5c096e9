# Turns the trust file into trust_table.h: the pieces of both pack keys and the manifest pins.
#
# No key may stand in one piece, neither in the header nor in the binary. The pieces are therefore members of one
# record whose order is not the order in which they are joined, and whose storage is volatile, so that the compiler
# can't join or combine them at build time.

set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${CORVENDA_TRUST_FILE}")
file(READ "${CORVENDA_TRUST_FILE}" trust_json)

# trust_bytes(OUT BYTES PATH...): the hex text at PATH as a C initialiser list; its length must be BYTES.
function(trust_bytes out bytes)
  string(JSON hex GET "${trust_json}" ${ARGN})
  string(LENGTH "${hex}" length)
  math(EXPR digits "2 * ${bytes}")
  if(NOT length EQUAL digits OR NOT hex MATCHES "^[0-9a-f]+$")
    list(JOIN ARGN " " path)
    message(FATAL_ERROR "${CORVENDA_TRUST_FILE}: ${path}: ${digits} lower-case hexadecimal digits expected")
  endif()
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1, " list "${hex}")
  set(${out} "${list}" PARENT_SCOPE)
endfunction()

trust_bytes(TRUST_TEST_BLOCK 16 packKeys test-v1 block)
trust_bytes(TRUST_TEST_VALUE_0 8 packKeys test-v1 values 0)
trust_bytes(TRUST_TEST_VALUE_1 8 packKeys test-v1 values 1)
trust_bytes(TRUST_RELEASE_TABLE_0 32 packKeys release-v1 tables 0)
trust_bytes(TRUST_RELEASE_TABLE_1 32 packKeys release-v1 tables 1)
string(JSON TRUST_PUBLIC_KEY_SHA256 GET "${trust_json}" manifest publicKeySha256)
string(JSON TRUST_PUBLIC_KEY_DER_BASE64 GET "${trust_json}" manifest publicKeyDerBase64)
string(LENGTH "${TRUST_PUBLIC_KEY_SHA256}" sha256_length)
if(NOT sha256_length EQUAL 64 OR NOT TRUST_PUBLIC_KEY_SHA256 MATCHES "^[0-9a-f]+$")
  message(FATAL_ERROR "${CORVENDA_TRUST_FILE}: manifest publicKeySha256: 64 lower-case hexadecimal digits expected")
endif()
# An Ed25519 key in DER form (RFC 8410) has 44 bytes, the first 12 of which are always the same.
string(LENGTH "${TRUST_PUBLIC_KEY_DER_BASE64}" der_length)
if(NOT der_length EQUAL 60 OR NOT TRUST_PUBLIC_KEY_DER_BASE64 MATCHES "^MCowBQYDK2VwAyEA[A-Za-z0-9+/]+=$")
  message(FATAL_ERROR "${CORVENDA_TRUST_FILE}: manifest publicKeyDerBase64: an Ed25519 public key expected, "
                      "60 characters of base64 that begin with MCowBQYDK2VwAyEA")
endif()

string(JSON trust_name GET "${trust_json}" name)
if(trust_name STREQUAL "development")
  message(NOTICE "*** trust: DEVELOPMENT keys and pins, published in this repository. Not for a release: "
                 "pass -DCORVENDA_TRUST_FILE=… ***")
endif()

set(CORVENDA_GENERATED_DIR "${CMAKE_BINARY_DIR}/generated")
set(CORVENDA_TRUST_HEADER "${CORVENDA_GENERATED_DIR}/trust_table.h")
configure_file("${CMAKE_CURRENT_LIST_DIR}/trust_table.h.in" "${CORVENDA_TRUST_HEADER}" @ONLY)
