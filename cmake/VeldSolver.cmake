# The direct sparse solver behind fairing: MKL's PARDISO, or Eigen's own where MKL cannot be had.
# Sets VELD_SOLVER_SOURCE and VELD_SOLVER_LIBRARIES.

set(VELD_SOLVER_SOURCE solver/Pardiso_eigen.cpp)
set(VELD_SOLVER_LIBRARIES "")

if(VELD_SOLVER STREQUAL "mkl" OR VELD_SOLVER STREQUAL "auto")
  # The small set: the single dynamic library would load a second OpenMP run-time.
  find_library(MKL_LP64_LIBRARY mkl_intel_lp64)
  find_library(MKL_THREAD_LIBRARY mkl_gnu_thread)
  find_library(MKL_CORE_LIBRARY mkl_core)
  if(MKL_LP64_LIBRARY AND MKL_THREAD_LIBRARY AND MKL_CORE_LIBRARY)
    set(VELD_SOLVER_SOURCE solver/Pardiso_mkl.cpp)
    set(VELD_SOLVER_LIBRARIES
      ${MKL_LP64_LIBRARY} ${MKL_THREAD_LIBRARY} ${MKL_CORE_LIBRARY} m ${CMAKE_DL_LIBS})
  elseif(VELD_SOLVER STREQUAL "mkl")
    message(FATAL_ERROR "VELD_SOLVER is mkl, but MKL's libraries were not found")
  endif()
elseif(NOT VELD_SOLVER STREQUAL "eigen")
  message(FATAL_ERROR "VELD_SOLVER is '${VELD_SOLVER}'; known: auto, mkl, eigen")
endif()
message(STATUS "Direct solver: ${VELD_SOLVER_SOURCE}")
