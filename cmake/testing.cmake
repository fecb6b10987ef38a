# How test programs and fuzz targets are declared: r5lqz_add_test and r5lqz_add_fuzz_target.
include(GoogleTest)

option(BUILD_TESTING "Build the test programs" ON)

if(CMAKE_CROSSCOMPILING)
  # Debian has GoogleTest for this target as sources only.
  set(R5LQZ_GOOGLETEST /usr/src/googletest CACHE PATH "GoogleTest's sources for the cross-built test programs")
  if(BUILD_TESTING)
    set(INSTALL_GTEST OFF)
    set(BUILD_GMOCK OFF)
    add_subdirectory(${R5LQZ_GOOGLETEST} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
    if(NOT TARGET GTest::gtest_main)
      add_library(GTest::gtest_main ALIAS gtest_main)
    endif()
  endif()
elseif(BUILD_TESTING)
  find_package(GTest REQUIRED)
endif()

# What test code is compiled with beyond the product's own options.
add_library(r5lqz_test_options INTERFACE)
target_link_libraries(r5lqz_test_options INTERFACE r5lqz_platform)
if(MSVC)
  target_compile_options(r5lqz_test_options INTERFACE /W4 /utf-8)
else()
  target_compile_options(r5lqz_test_options INTERFACE -Wall -Wextra -Wno-missing-field-initializers
    -fstack-protector-strong)
  # The module's objects bring what a broken guard calls; programs without them have it from the compiler's library.
  target_link_libraries(r5lqz_test_options INTERFACE r5lqz_hardening)
  target_compile_definitions(r5lqz_test_options INTERFACE _GLIBCXX_ASSERTIONS)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # Tests look at records that are shorter than the platform's structure through that structure; the module does not.
  target_compile_options(r5lqz_test_options INTERFACE -fno-sanitize=object-size)
endif()
if(MINGW)
  # There is no sanitizer runtime for this target: undefined behaviour ends the program on the spot. -static, so that
  # the programs start under Wine without the compiler's DLLs.
  target_compile_options(r5lqz_test_options INTERFACE -fsanitize=undefined -fsanitize-undefined-trap-on-error)
  target_link_options(r5lqz_test_options INTERFACE -static -fstack-protector-strong)
endif()

# Sanitizer reports name functions and lines when they find the symbolizer.
set(R5LQZ_TEST_ENVIRONMENT)
if(NOT WIN32)
  # Two properties of one variable each: a list would fall apart on its way through gtest_discover_tests.
  set(R5LQZ_TEST_ENVIRONMENT ENVIRONMENT UBSAN_OPTIONS=print_stacktrace=1)
  find_program(R5LQZ_SYMBOLIZER NAMES llvm-symbolizer-19 llvm-symbolizer)
  if(R5LQZ_SYMBOLIZER)
    list(APPEND R5LQZ_TEST_ENVIRONMENT ENVIRONMENT_MODIFICATION ASAN_SYMBOLIZER_PATH=set:${R5LQZ_SYMBOLIZER})
  endif()
endif()

# r5lqz_add_test(NAME source... [PARALLEL] [RING ring] [TIMEOUT seconds] [LIBRARIES library...])
# Declares the test program NAME with GoogleTest's main. Its tests are called RING.suite.case; the ring is "checked"
# in the native build and "windows" in the other unless it is given. A test that takes longer than TIMEOUT (60 s) is
# ended and has failed. Under Wine the tests share one spooler, registry and c:\temp, so they run one after the other;
# PARALLEL declares that these touch none of them.
function(r5lqz_add_test name)
  cmake_parse_arguments(arg "PARALLEL" "RING;TIMEOUT" "LIBRARIES" ${ARGN})
  if(NOT BUILD_TESTING)
    return()
  endif()
  if(NOT arg_RING)
    if(WIN32)
      set(arg_RING windows)
    else()
      set(arg_RING checked)
    endif()
  endif()
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 60)
  endif()
  set(lock)
  if(WIN32 AND NOT arg_PARALLEL)
    set(lock RESOURCE_LOCK windows)
  endif()
  add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE r5lqz_test_options ${arg_LIBRARIES} GTest::gtest_main)
  # Listed when the tests are run, so that a build never starts Wine.
  gtest_discover_tests(${name}
    TEST_PREFIX ${arg_RING}.
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 120
    NO_PRETTY_VALUES
    PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS ${arg_RING} ${lock} ${R5LQZ_TEST_ENVIRONMENT})
endfunction()

# r5lqz_add_fuzz_target(NAME source... RUNS runs [LIBRARIES library...])
# Declares the libFuzzer program fuzz_NAME and a brief run of it, so many inputs that grow from its committed seeds
# (corpus/NAME beside the caller), as the test checked.fuzz.NAME with the label "fuzz": every such run of one build is
# the same. Builds without clang's sanitizers have no fuzz targets.
function(r5lqz_add_fuzz_target name)
  cmake_parse_arguments(arg "" "RUNS" "LIBRARIES" ${ARGN})
  if(NOT R5LQZ_FUZZABLE)
    return()
  endif()
  add_executable(fuzz_${name} ${arg_UNPARSED_ARGUMENTS})
  # The target itself is not compiled for the fuzzer: it is to follow the module, not the comparisons of the checks.
  target_compile_options(fuzz_${name} PRIVATE -Wall -Wextra)
  target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
  target_link_libraries(fuzz_${name} PRIVATE r5lqz_platform ${arg_LIBRARIES})
  # A list of files instead of their folder: into a folder the run would write what it finds. Without the values that
  # comparisons saw, addresses among them, which differ from run to run.
  file(GLOB seeds CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name}/*)
  list(JOIN seeds "," seeds)
  file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/seeds_${name} "${seeds}")
  add_test(NAME checked.fuzz.${name}
    COMMAND fuzz_${name} -seed=1 -use_cmp=0 -runs=${arg_RUNS} -timeout=10 -rss_limit_mb=2048
      -artifact_prefix=${CMAKE_CURRENT_BINARY_DIR}/${name}- -seed_inputs=@${CMAKE_CURRENT_BINARY_DIR}/seeds_${name})
  set_tests_properties(checked.fuzz.${name} PROPERTIES TIMEOUT 90 LABELS fuzz ${R5LQZ_TEST_ENVIRONMENT})
endfunction()
