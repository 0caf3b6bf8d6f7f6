# SPDX-License-Identifier: MIT

# Warnings, sanitizers and the include path: the same for all our targets.
function(tolvane_target name)
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_compile_options(${name} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                         -Woverloaded-virtual -Wimplicit-fallthrough -Werror)
  target_compile_definitions(${name} PRIVATE TOLVANE_VERSION="${PROJECT_VERSION}")
  if(TOLVANE_FUZZ)
    target_compile_options(${name} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
  if(TOLVANE_SANITIZE)
    target_compile_options(${name} PUBLIC -fsanitize=${TOLVANE_SANITIZE} -fno-omit-frame-pointer
                                          -fno-sanitize-recover=all)
    # With sanitizers, GCC 12 gives false warnings about overruns of short strings. The other builds
    # keep these warnings.
    target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds
                                           -Wno-maybe-uninitialized -Wno-restrict
                                           -Wno-stringop-overflow>)
    target_link_options(${name} PUBLIC -fsanitize=${TOLVANE_SANITIZE})
    if(TOLVANE_SANITIZE MATCHES "thread")
      # GCC warns that ThreadSanitizer ignores the fences in Asio's headers. Asio holds a lock there
      # anyway.
      target_compile_options(${name} PRIVATE -Wno-tsan)
    endif()
  endif()
endfunction()

# One folder of the product, with its subfolders, is one library of all its sources, except the
# main.cpp of a program.
function(tolvane_library name)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS *.cpp *.h)
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  add_library(tolvane_${name} STATIC ${sources})
  tolvane_target(tolvane_${name})
endfunction()
