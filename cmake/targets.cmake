# Settings that all targets share.

# The year that texts show with {{*CopyYear*}}: the year in which the build is configured,
# or the year of SOURCE_DATE_EPOCH, for reproducible builds.
string(TIMESTAMP u_build_year "%Y" UTC)

function(u_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
  # Clang's -Wconversion includes what GCC's does not in C++. All builds warn of the same.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:Clang>:-Wno-sign-conversion>)
  target_link_options(${target} PRIVATE -Werror) # link-time optimisation warns, too
endfunction()

# Matches the paths, below a folder of ours, of other systems: the folders native/, and files
# whose name ends in _native, are for 64-bit Windows; the folders portable/ and posix/, and files
# whose name ends in _posix, are for the others.
if(WIN32)
  set(u_other_systems "(^|/)(portable|posix)/|_posix\\.(h|cpp)$")
else()
  set(u_other_systems "(^|/)native/|_native\\.(h|cpp)$")
endif()

# All sources below the folders, apart from those of other systems.
function(u_sources variable)
  set(all)
  foreach(folder ${ARGN})
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS RELATIVE ${folder} ${folder}/*.cpp)
    list(FILTER sources EXCLUDE REGEX ${u_other_systems})
    list(TRANSFORM sources PREPEND ${folder}/)
    list(APPEND all ${sources})
  endforeach()
  set(${variable} ${all} PARENT_SCOPE)
endfunction()

#   u_shared_library(<target> <folder>... [EXCEPT <expression>])
#
# A shared library of all sources below the folders, apart from those whose path matches
# the expression. Only the symbols that its version script names leave the library; on Windows,
# those that the sources export.
function(u_shared_library target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "EXCEPT" "")
  u_sources(sources ${arg_UNPARSED_ARGUMENTS})
  if(arg_EXCEPT)
    list(FILTER sources EXCLUDE REGEX ${arg_EXCEPT})
  endif()
  if(WIN32)
    list(APPEND sources ${CMAKE_SOURCE_DIR}/platform/base/pinned_native.cpp)
    list(REMOVE_DUPLICATES sources)
  endif()
  add_library(${target} SHARED ${sources})
  u_warnings(${target})
  if(WIN32)
    return()
  endif()
  # Calls between the libraries go straight to their target, and calls inside a library may
  # be inlined: no module replaces functions of ours.
  target_compile_options(${target} PRIVATE -fno-plt -fno-semantic-interposition)
  set(script ${CMAKE_SOURCE_DIR}/cmake/${target}.map)
  # Threads that end call into the library, so it is never unloaded.
  target_link_options(${target} PRIVATE -Wl,--version-script=${script} -Wl,-z,nodelete)
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    LINK_DEPENDS ${script})
endfunction()

# A test program of all tests below the folders, against one library. On Windows,
# scripts/native_tests runs the program.
function(u_test_program target library)
  u_sources(sources ${ARGN})
  add_executable(${target} ${sources})
  u_warnings(${target})
  target_include_directories(${target} PRIVATE ${CMAKE_SOURCE_DIR})
  target_link_libraries(${target} PRIVATE ${library} GTest::gmock GTest::gtest_main)
  if(NOT WIN32)
    gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
      PROPERTIES TIMEOUT 300)
  endif()
endfunction()

# Compiles each header below a folder alone, apart from those of other systems and those whose
# path there matches an expression that may follow.
function(u_header_check target folder library)
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${folder} ${folder}/*.h)
  list(FILTER headers EXCLUDE REGEX ${u_other_systems})
  if(ARGN)
    list(FILTER headers EXCLUDE REGEX ${ARGN})
  endif()
  set(sources)
  foreach(header ${headers})
    string(REPLACE "/" "_" name ${header})
    set(source ${CMAKE_CURRENT_BINARY_DIR}/headers/${target}/${name}.cpp)
    file(CONFIGURE OUTPUT ${source} CONTENT "#include \"${header}\"\n")
    list(APPEND sources ${source})
  endforeach()
  add_library(${target} OBJECT EXCLUDE_FROM_ALL ${sources})
  target_include_directories(${target} PRIVATE ${folder} ${CMAKE_SOURCE_DIR})
  target_link_libraries(${target} PRIVATE ${library})
  u_warnings(${target})
  add_dependencies(header_check ${target})
endfunction()
