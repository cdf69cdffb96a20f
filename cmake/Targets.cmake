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
  target_link_options(pastille_options INTERFACE -fsanitize=address,undefined)
endif()

# One static library per folder. A folder links only what it may include.
function(pastille_library name)
  cmake_parse_arguments(arg "" "" "SOURCES;USES" ${ARGN})
  add_library(pastille_${name} STATIC ${arg_SOURCES})
  target_link_libraries(pastille_${name} PRIVATE pastille_options)
  foreach(used ${arg_USES})
    target_link_libraries(pastille_${name} PUBLIC ${used})
  endforeach()
endfunction()
