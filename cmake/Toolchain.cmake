# Language level, warnings, sanitizers, ccache and linker: one place for the whole tree.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

set(LANTERNFLY_SANITIZE "" CACHE STRING "Sanitizers to build with: address;undefined or thread")
option(LANTERNFLY_COVERAGE "Instrument for coverage" OFF)
option(LANTERNFLY_WERROR "Warnings are errors" ON)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()
find_program(MOLD_PROGRAM mold)
find_program(LLD_PROGRAM NAMES ld.lld ld.lld-19)
if(MOLD_PROGRAM)
  add_link_options(-fuse-ld=mold)
elseif(LLD_PROGRAM)
  add_link_options(-fuse-ld=lld)
endif()

# The frame's arithmetic must give the same bits on every run and in every build type.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
                    -Wcast-align -Wunused -Wimplicit-fallthrough
                    -ffp-contract=off)
if(LANTERNFLY_WERROR)
  add_compile_options(-Werror)
endif()
if(LANTERNFLY_SANITIZE)
  string(REPLACE ";" "," _sanitizers "${LANTERNFLY_SANITIZE}")
  add_compile_options(-fsanitize=${_sanitizers} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  # Instrumented code hides from GCC 12 what these two warnings need to see.
  add_compile_options(-Wno-maybe-uninitialized -Wno-mismatched-new-delete)
  add_link_options(-fsanitize=${_sanitizers})
endif()
if(LANTERNFLY_COVERAGE)
  add_compile_options(--coverage)
  add_link_options(--coverage)
endif()

