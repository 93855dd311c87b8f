# Builds a host of the library from nothing and runs it.
#
# KIND        find_package, pkg_config or sub_project
# COMPILER    C++ compiler of the host, STANDARD its version of the language, BUILD_TYPE how it builds
# PREFIX      where the library is installed, SOURCE where its sources are
# WORK        folder for the host's build, made anew

file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}")
set(programs link_check fill_holes)
set(link_check_source "${CMAKE_CURRENT_LIST_DIR}/link_check.cpp")
set(link_check_arguments "")
set(fill_holes_source "${SOURCE}/examples/fill_holes.cpp")
set(fill_holes_arguments "${SOURCE}/examples/marked_plate.ply" filled.ply)
if(NOT KIND STREQUAL sub_project)
  # A host that takes the project in gets the library alone unless it asks for more.
  list(APPEND programs merge_frames)
  set(merge_frames_source "${SOURCE}/examples/merge_frames.cpp")
  set(merge_frames_arguments "${SOURCE}/examples/plate_frames/frames.json" merged.ply)
  set(merge_frames_package algorithmVeldWorkflow)
endif()

if(KIND STREQUAL pkg_config)
  set(ENV{PKG_CONFIG_PATH} "${PREFIX}/lib/pkgconfig:${PREFIX}/lib64/pkgconfig")
  execute_process(COMMAND "${PKG_CONFIG}" --modversion algorithmVeld
    OUTPUT_VARIABLE version OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  if(NOT version STREQUAL VERSION)
    message(FATAL_ERROR "the .pc file says version ${version} and not ${VERSION}")
  endif()
  execute_process(COMMAND "${PKG_CONFIG}" --variable=libdir algorithmVeld
    OUTPUT_VARIABLE libdir OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  foreach(program IN LISTS programs)
    set(package algorithmVeld)
    if(DEFINED ${program}_package)
      set(package ${${program}_package})
    endif()
    execute_process(COMMAND "${PKG_CONFIG}" --cflags --libs ${package}
      OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(flags UNIX_COMMAND "${flags}")
    execute_process(
      COMMAND "${COMPILER}" "-std=c++${STANDARD}" -Wall -Wextra -Werror "${${program}_source}"
        -o "${WORK}/${program}" ${flags} "-Wl,-rpath,${libdir}"
      COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
else()
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -S "${CMAKE_CURRENT_LIST_DIR}/${KIND}" -B "${WORK}"
      -G "${GENERATOR}" "-DCMAKE_BUILD_TYPE=${BUILD_TYPE}" -DCMAKE_CXX_FLAGS_DEBUG=-O0 -DCMAKE_UNITY_BUILD=ON
      "-DCMAKE_CXX_COMPILER=${COMPILER}"
      "-DCMAKE_CXX_STANDARD=${STANDARD}" "-DCMAKE_PREFIX_PATH=${PREFIX}"
      "-DALGORITHMVELD_SOURCE=${SOURCE}" "-DALGORITHMVELD_VERSION=${VERSION}"
    COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND "${CMAKE_COMMAND}" --build "${WORK}" COMMAND_ERROR_IS_FATAL ANY)
endif()

foreach(program IN LISTS programs)
  execute_process(COMMAND "${WORK}/${program}" ${${program}_arguments}
    WORKING_DIRECTORY "${WORK}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
if(NOT EXISTS "${WORK}/filled.ply")
  message(FATAL_ERROR "fill_holes wrote no mesh")
endif()
