# cJSON, which prints and parses label list files: the target r5lqz_cjson, included as <cjson/cJSON.h>.
#
# Compiled here where its sources are at hand. The DLL may bring no other DLL along, so that it is linked statically;
# and the sanitizers and the fuzzer follow hostile input only into code that was compiled for them.
set(R5LQZ_CJSON ${CMAKE_SOURCE_DIR}/build/third-party CACHE PATH
  "Folder that holds cJSON's sources as cjson/cJSON.c and cjson/cJSON.h")

if(EXISTS ${R5LQZ_CJSON}/cjson/cJSON.c AND EXISTS ${R5LQZ_CJSON}/cjson/cJSON.h)
  add_library(r5lqz_cjson STATIC ${R5LQZ_CJSON}/cjson/cJSON.c)
  target_include_directories(r5lqz_cjson SYSTEM PUBLIC ${R5LQZ_CJSON})
  # Without the first its functions would be exported from the module. The second keeps the decimal point what it is
  # in files when the host's locale has a comma. The third: a label file has three levels, and each that the parser goes
  # down takes of the host's stack.
  target_compile_definitions(r5lqz_cjson PUBLIC CJSON_HIDE_SYMBOLS PRIVATE ENABLE_LOCALES CJSON_NESTING_LIMIT=32)
  target_link_libraries(r5lqz_cjson PRIVATE r5lqz_hardening)
  target_compile_options(r5lqz_cjson
    PRIVATE -w $<$<BOOL:${R5LQZ_FUZZABLE}>:-fsanitize=fuzzer-no-link;-fno-sanitize-coverage=stack-depth>)
  return()
endif()

# On Windows vcpkg.json names it; the limit of nested levels is then the one that it was built with (1000 as a rule),
# which nobody here can set. A library that was built elsewhere has no place in the checked build.
if(NOT WIN32)
  message(FATAL_ERROR "cJSON is missing: run scripts/setup")
endif()
find_package(cJSON CONFIG QUIET)
find_path(R5LQZ_CJSON_HEADERS cjson/cJSON.h)
if(NOT TARGET cjson OR NOT R5LQZ_CJSON_HEADERS)
  message(FATAL_ERROR "cJSON is missing: run scripts/setup (Debian) or use vcpkg")
endif()
get_target_property(cjson_type cjson TYPE)
if(cjson_type STREQUAL "SHARED_LIBRARY")
  message(FATAL_ERROR "cJSON is a DLL here: use a static triplet of vcpkg's")
endif()
add_library(r5lqz_cjson INTERFACE)
target_include_directories(r5lqz_cjson SYSTEM INTERFACE ${R5LQZ_CJSON_HEADERS})
target_compile_definitions(r5lqz_cjson INTERFACE CJSON_HIDE_SYMBOLS)
target_link_libraries(r5lqz_cjson INTERFACE cjson)
