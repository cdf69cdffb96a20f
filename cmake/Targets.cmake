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

if(PASTILLE_HARDENED)
  include(CheckCXXCompilerFlag)
  check_cxx_compiler_flag(-fcf-protection PASTILLE_HAS_CF_PROTECTION)  # not on every processor
  target_compile_options(pastille_options INTERFACE -fPIE -fstack-protector-strong -D_FORTIFY_SOURCE=2
    $<$<BOOL:${PASTILLE_HAS_CF_PROTECTION}>:-fcf-protection>)
  target_link_options(pastille_options INTERFACE -pie -Wl,-z,relro,-z,now,--as-needed)
endif()

if(PASTILLE_FUZZ)
  # The default linker takes half a minute longer over the many programs.
  target_link_options(pastille_options INTERFACE -fuse-ld=lld)
endif()

# One static library per folder. A folder links only what it may include. HOT: runs long over the bytes of files.
function(pastille_library name)
  cmake_parse_arguments(arg "HOT" "" "SOURCES;USES" ${ARGN})
  add_library(pastille_${name} STATIC ${arg_SOURCES})
  target_link_libraries(pastille_${name} PRIVATE pastille_options)
  foreach(used ${arg_USES})
    target_link_libraries(pastille_${name} PUBLIC ${used})
  endforeach()
  if(PASTILLE_SANITIZE AND arg_HOT)
    # The sanitizers make these so slow that the tests gain more by optimising them than the build loses.
    target_compile_options(pastille_${name} PRIVATE $<$<CONFIG:Debug>:-O1>)
  endif()
  if(PASTILLE_FUZZ)
    # Everything that reads file bytes is watched by the fuzzer, not the targets alone.
    target_compile_options(pastille_${name} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
endfunction()
