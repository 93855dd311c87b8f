# The direct sparse solver behind fairing: MKL's PARDISO, or Eigen's own where MKL cannot be had.
# Sets VELD_SOLVER_SOURCE and VELD_SOLVER_LIBRARIES.

set(VELD_SOLVER_SOURCE solver/Pardiso_eigen.cpp)
set(VELD_SOLVER_LIBRARIES "")

# veld_find_mkl(libraries problem) gives MKL's libraries, or what is wrong with them.
function(veld_find_mkl libraries problem)
  # The small set: the single dynamic library would load a second OpenMP run-time.
  find_library(MKL_LP64_LIBRARY mkl_intel_lp64)
  find_library(MKL_THREAD_LIBRARY mkl_gnu_thread)
  find_library(MKL_CORE_LIBRARY mkl_core)
  set(found "${MKL_LP64_LIBRARY}" "${MKL_THREAD_LIBRARY}" "${MKL_CORE_LIBRARY}")
  set(${libraries} "" PARENT_SCOPE)
  if(NOT (MKL_LP64_LIBRARY AND MKL_THREAD_LIBRARY AND MKL_CORE_LIBRARY))
    set(${problem} "MKL's libraries were not found" PARENT_SCOPE)
    return()
  endif()
  find_package(OpenMP REQUIRED COMPONENTS CXX)
  set(CMAKE_REQUIRED_LIBRARIES ${found} OpenMP::OpenMP_CXX m ${CMAKE_DL_LIBS})
  # The functions that the solver calls; an old MKL lacks some of them. The answer is kept for these
  # libraries.
  set(missing "")
  string(SHA1 key "${found}")
  foreach(function IN ITEMS
      pardiso MKL_Set_Num_Threads_Local MKL_CBWR_Get MKL_CBWR_Set mkl_set_progress)
    check_cxx_source_compiles(
      "extern \"C\" void ${function}(); int main() { ${function}(); }" VELD_${function}_${key})
    if(NOT VELD_${function}_${key})
      list(APPEND missing ${function})
    endif()
  endforeach()
  if(missing)
    list(JOIN missing ", " missing)
    set(${problem} "the MKL at ${MKL_CORE_LIBRARY} has no ${missing}" PARENT_SCOPE)
  else()
    set(${libraries} ${found} m ${CMAKE_DL_LIBS} PARENT_SCOPE)
  endif()
endfunction()

if(VELD_SOLVER STREQUAL "mkl" OR VELD_SOLVER STREQUAL "auto")
  include(CheckCXXSourceCompiles)
  veld_find_mkl(VELD_SOLVER_LIBRARIES problem)
  if(VELD_SOLVER_LIBRARIES)
    set(VELD_SOLVER_SOURCE solver/Pardiso_mkl.cpp)
  elseif(VELD_SOLVER STREQUAL "mkl")
    message(FATAL_ERROR "VELD_SOLVER is mkl, but ${problem}")
  else()
    message(STATUS "No MKL: ${problem}")
  endif()
elseif(NOT VELD_SOLVER STREQUAL "eigen")
  message(FATAL_ERROR "VELD_SOLVER is '${VELD_SOLVER}'; known: auto, mkl, eigen")
endif()
message(STATUS "Direct solver: ${VELD_SOLVER_SOURCE}")
