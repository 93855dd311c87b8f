# The choice of the direct solver at configure time, with libraries that bear MKL's names but lack
# what the solver calls, as an old MKL does.
#
# COMPILER    C++ compiler, GENERATOR as of the build
# SOURCE      the project's sources
# WORK        folder for the libraries and the builds, made anew

file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}/project" "${WORK}/old")
# All but the two functions.
file(WRITE "${WORK}/old.cpp" "extern \"C\" { void pardiso() {} void MKL_Set_Num_Threads_Local() {}
void MKL_CBWR_Get() {} }\n")
foreach(name IN ITEMS mkl_intel_lp64 mkl_gnu_thread mkl_core)
  execute_process(
    COMMAND "${COMPILER}" -shared -fPIC "${WORK}/old.cpp" -o "${WORK}/old/lib${name}.so"
    COMMAND_ERROR_IS_FATAL ANY)
endforeach()
file(WRITE "${WORK}/project/CMakeLists.txt" "cmake_minimum_required(VERSION 3.24)
project(solver_choice LANGUAGES CXX)
include(\"${SOURCE}/cmake/VeldSolver.cmake\")\n")

# expect_choice(solver succeeds text...) configures with VELD_SOLVER and looks for the texts.
function(expect_choice solver succeeds)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -S "${WORK}/project" -B "${WORK}/${solver}" -G "${GENERATOR}"
      "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_LIBRARY_PATH=${WORK}/old"
      "-DVELD_SOLVER=${solver}"
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if((result EQUAL 0 AND NOT succeeds) OR (NOT result EQUAL 0 AND succeeds))
    message(FATAL_ERROR "VELD_SOLVER=${solver} ended with ${result}:\n${output}")
  endif()
  string(REGEX REPLACE "[ \n]+" " " output "${output}") # CMake breaks the lines of errors.
  foreach(text IN LISTS ARGN)
    string(FIND "${output}" "${text}" place)
    if(place LESS 0)
      message(FATAL_ERROR "VELD_SOLVER=${solver} does not say '${text}':\n${output}")
    endif()
  endforeach()
endfunction()

set(what_is_missing "has no MKL_CBWR_Set, mkl_set_progress")
expect_choice(auto TRUE "No MKL: the MKL at ${WORK}/old/libmkl_core.so ${what_is_missing}"
  "Direct solver: solver/Pardiso_eigen.cpp")
expect_choice(mkl FALSE "VELD_SOLVER is mkl, but the MKL at" "${what_is_missing}")
expect_choice(eigen TRUE "Direct solver: solver/Pardiso_eigen.cpp")
expect_choice(other FALSE "VELD_SOLVER is 'other'; known: auto, mkl, eigen")
