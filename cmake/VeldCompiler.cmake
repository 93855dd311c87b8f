# Compiler settings that every target of the project shares.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(veld_compiler INTERFACE)
if(MSVC)
  target_compile_options(veld_compiler INTERFACE /W4 /permissive- /utf-8)
  target_compile_definitions(veld_compiler INTERFACE _CRT_SECURE_NO_WARNINGS NOMINMAX)
  if(VELD_WARNINGS_AS_ERRORS)
    target_compile_options(veld_compiler INTERFACE /WX)
  endif()
else()
  target_compile_options(veld_compiler INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
    # One rounding per operation, so that every machine computes the same bytes.
    -ffp-contract=off
    # Log lines carry the path of the source: from the project's root, wherever it was built.
    "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # OpenMesh grows its arrays by copies of vectors that Eigen leaves uninitialised.
    target_compile_options(veld_compiler INTERFACE -Wno-maybe-uninitialized)
    if(CMAKE_UNITY_BUILD)
      # It takes sources that are joined for headers, which should have no unnamed namespace.
      target_compile_options(veld_compiler INTERFACE -Wno-subobject-linkage)
    endif()
  endif()
  if(VELD_WARNINGS_AS_ERRORS)
    target_compile_options(veld_compiler INTERFACE -Werror)
  endif()
endif()

if(VELD_SANITIZE)
  add_compile_options("-fsanitize=${VELD_SANITIZE}" -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options("-fsanitize=${VELD_SANITIZE}")
  add_compile_options("SHELL:-include \"${PROJECT_SOURCE_DIR}/cmake/QuickProperties.h\"")
endif()
if(VELD_BUILD_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang" OR NOT VELD_BUILD_WORKFLOW)
    message(FATAL_ERROR "VELD_BUILD_FUZZERS needs clang and VELD_BUILD_WORKFLOW")
  endif()
  # What libFuzzer steers by: which branches an input took, and what was compared there.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# What nearly every source includes. Headers of the system only: the compiler's cache hands a
# precompiled header on to other checkouts, where headers of the project are other files.
set(VELD_PRECOMPILED_HEADERS
  <OpenMesh/Core/IO/MeshIO.hh> <OpenMesh/Core/Mesh/TriMesh_ArrayKernelT.hh>
  <OpenMesh/Core/Geometry/EigenVectorT.hh> <string> <vector>)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER AND NOT MSVC)
  # Precompiled headers are cached too; that is what the setting is for.
  set(ccache_settings
    CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime)
  if(CMAKE_GENERATOR MATCHES "Ninja" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU"
      AND CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT DEFINED ENV{CCACHE_BASEDIR})
    # Builds with the same flags share what they compile, in whichever folder they are: ccache makes
    # paths relative to the folder in which all of it is compiled. Debug information would name the
    # folder that was first, and clang's precompiled headers hold paths.
    list(APPEND ccache_settings "CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}" CCACHE_NOHASHDIR=1)
    set(VELD_RELATIVE_PATHS ON)
  endif()
  set(CMAKE_CXX_COMPILER_LAUNCHER
    ${CMAKE_COMMAND} -E env ${ccache_settings} ${CCACHE_PROGRAM})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(veld_compiler INTERFACE -fpch-preprocess)
  else()
    target_compile_options(veld_compiler INTERFACE "SHELL:-Xclang -fno-pch-timestamp")
  endif()
endif()
