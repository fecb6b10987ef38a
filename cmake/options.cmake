# What every target of a build is compiled and linked with.

# No folder of this machine's in what ships. The last that fits a path counts.
if(MINGW)
  add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}=. -ffile-prefix-map=${CMAKE_BINARY_DIR}=.)
endif()

# The platform's headers and texts as wide ones (compstui.h's structures follow UNICODE), for Windows Vista
# and later, where the print queries and document filters that the module answers first appeared.
add_library(r5lqz_platform INTERFACE)
target_compile_definitions(r5lqz_platform INTERFACE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX
  _WIN32_WINNT=0x0600 WINVER=0x0600)

# The module's own code: nothing in it may throw or need RTTI; the hosts own their exceptions.
add_library(r5lqz_module_options INTERFACE)
target_link_libraries(r5lqz_module_options INTERFACE r5lqz_platform)

if(MSVC)
  target_compile_options(r5lqz_module_options INTERFACE /W4 /utf-8 /GR-)
else()
  # Small rather than fast: it is loaded into every program that prints, and what takes its time are the spooler's calls.
  target_compile_options(r5lqz_module_options INTERFACE -Os
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-missing-field-initializers
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
endif()

# What ends the host at once instead of letting somebody take it over, for the module and for what is linked into it.
add_library(r5lqz_hardening INTERFACE)
if(MINGW)
  # The guard beside a return address is the address of the process's environment block, which every thread finds in its
  # own block (gs:60h) on this platform: nothing has to be set up at load and nothing in the image tells it, it differs
  # from process to process, and its lowest byte is a zero, which ends a text that runs over. base/fast_fail.cpp is
  # what a broken guard calls; the compiler's own library would import a cryptographic DLL into every program that
  # prints. The flow of control is not guarded: this compiler does not have Control Flow Guard (clang and MSVC do).
  target_compile_options(r5lqz_hardening INTERFACE -fstack-protector-strong -mstack-protector-guard=tls
    -mstack-protector-guard-reg=gs -mstack-protector-guard-offset=96 -ftrivial-auto-var-init=zero)
  target_compile_definitions(r5lqz_hardening INTERFACE _FORTIFY_SOURCE=2)
elseif(MSVC)
  target_compile_options(r5lqz_hardening INTERFACE /GS /sdl /guard:cf)
endif()
target_link_libraries(r5lqz_module_options INTERFACE r5lqz_hardening)

# What the module imports: DLLs that every program which prints has already. Others it loads when they are needed
# (driver/interface/base/late.h).
if(WIN32)
  add_library(r5lqz_imports INTERFACE)
  target_link_libraries(r5lqz_imports INTERFACE winspool user32 comctl32 gdi32 advapi32 ntdll)
endif()

if(NOT WIN32)
  # UTF-16 wide characters over Wine's SDK headers give the layouts of Windows; the headers are found where
  # libwine-dev puts windows.h.
  find_path(R5LQZ_WINE_HEADERS windows.h PATHS /usr/include/wine/wine/windows /usr/include/wine/windows
    NO_DEFAULT_PATH REQUIRED)
  target_include_directories(r5lqz_platform SYSTEM INTERFACE ${R5LQZ_WINE_HEADERS})
  target_compile_definitions(r5lqz_platform INTERFACE WINE_UNICODE_NATIVE)
  target_compile_options(r5lqz_platform INTERFACE -fshort-wchar)
  set(R5LQZ_SANITIZE "address,undefined" CACHE STRING "Sanitizers of the native build (such as thread), or OFF")
  if(R5LQZ_SANITIZE)
    add_compile_options(-fsanitize=${R5LQZ_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${R5LQZ_SANITIZE})
  endif()
  # The fuzzer follows only code that was compiled for it; the hooks cost the other programs nothing but time. Not by
  # the depth of the stack, which is not the same in every run.
  set(R5LQZ_FUZZABLE OFF)
  if(R5LQZ_SANITIZE MATCHES "address" AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    set(R5LQZ_FUZZABLE ON)
    target_compile_options(r5lqz_module_options INTERFACE -fsanitize=fuzzer-no-link -fno-sanitize-coverage=stack-depth)
  endif()
endif()
