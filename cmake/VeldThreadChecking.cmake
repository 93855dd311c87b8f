# The thread checker does not see into clang's OpenMP run-time, and would take the end of a parallel
# region for no end. The run-time's own tool tells it. The run-time looks for the tool in what is
# loaded already, so the library brings it along.
if(NOT VELD_SANITIZE STREQUAL "thread")
  return()
endif()

get_filename_component(openmp_library "${OpenMP_omp_LIBRARY}" REALPATH)
get_filename_component(openmp_folder "${openmp_library}" DIRECTORY)
find_library(ARCHER_LIBRARY archer REQUIRED HINTS "${openmp_folder}")
target_link_options(algorithmVeld PRIVATE "LINKER:--no-as-needed")
target_link_libraries(algorithmVeld PRIVATE "${ARCHER_LIBRARY}")
target_link_options(algorithmVeld_whole INTERFACE "LINKER:--no-as-needed")
target_link_libraries(algorithmVeld_whole INTERFACE "${ARCHER_LIBRARY}")
