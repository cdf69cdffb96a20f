# What every target of the project is built with: warnings are errors, includes start at the root.

add_library(pastille_options INTERFACE)
target_compile_options(pastille_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # This compiler sees both, wrongly, in the standard strings that it inlines when it optimises.
  target_compile_options(pastille_options INTERFACE -Wno-restrict -Wno-maybe-uninitialized)
endif()
target_include_directories(pastille_options INTERFACE ${PROJECT_SOURCE_DIR})
if(PASTILLE_SANITIZE)
  target_compile_options(pastille_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  # A third of the time that tests take to compile goes into these checks of every access to a member; what they
  # find in a test would stop it anyway.
  target_compile_options(pastille_options INTERFACE
    $<$<BOOL:$<TARGET_PROPERTY:PASTILLE_TEST_CODE>>:-fno-sanitize=null,alignment,vptr,object-size,pointer-overflow>)
  target_link_options(pastille_options INTERFACE -fsanitize=address,undefined)
endif()

if(PASTILLE_FUZZ)
  # The default linker takes half a minute longer over the many programs.
  target_link_options(pastille_options INTERFACE -fuse-ld=lld)
endif()

# Most of the time that a small file takes to compile goes into these headers. Only for builds that are made from
# nothing again and again: a header that a file forgets to include does not show in them. Flags must be the same.
function(pastille_precompile target first)
  if(target STREQUAL first)
    target_precompile_headers(${target} PRIVATE <algorithm> <array> <cstdint> <filesystem> <functional> <map> <memory>
      <optional> <span> <string> <string_view> <unordered_map> <vector>)
  else()
    target_precompile_headers(${target} REUSE_FROM ${first})
  endif()
endfunction()

# The same for code with windows, whose flags differ from target to target.
function(pastille_precompile_windows target)
  if(PASTILLE_PRECOMPILE)
    target_precompile_headers(${target} PRIVATE <algorithm> <filesystem> <functional> <map> <memory> <optional> <string>
      <vector> <QtWidgets>)
  endif()
endfunction()

# One static library per folder. A folder links only what it may include.
function(pastille_library name)
  cmake_parse_arguments(arg "WINDOWS" "" "SOURCES;USES;HEAVY_HEADERS" ${ARGN})
  add_library(pastille_${name} STATIC ${arg_SOURCES})
  target_link_libraries(pastille_${name} PRIVATE pastille_options)
  foreach(used ${arg_USES})
    target_link_libraries(pastille_${name} PUBLIC ${used})
  endforeach()
  if(PASTILLE_FUZZ)
    # Everything that reads file bytes is watched by the fuzzer, not the targets alone.
    target_compile_options(pastille_${name} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
  if(arg_WINDOWS)
    pastille_precompile_windows(pastille_${name})
  elseif(PASTILLE_PRECOMPILE AND arg_HEAVY_HEADERS)
    target_precompile_headers(pastille_${name} PRIVATE ${arg_HEAVY_HEADERS})
  elseif(PASTILLE_PRECOMPILE)
    pastille_precompile(pastille_${name} pastille_platform)
  endif()
endfunction()
