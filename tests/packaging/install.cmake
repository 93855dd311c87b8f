# Installs a build into an empty prefix and looks at what is there.
file(REMOVE_RECURSE "${PREFIX}")
execute_process(
  COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${PREFIX}" --config "${CONFIG}"
  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)

file(GLOB_RECURSE installed RELATIVE "${PREFIX}" "${PREFIX}/*")
foreach(file IN LISTS installed)
  if(file MATCHES "^include/algorithmVeld/[^/]+/[^/]+/" AND
      NOT file MATCHES "^include/algorithmVeld/workflow/")
    message(FATAL_ERROR "${file} is the library's own and must not be installed")
  endif()
endforeach()
foreach(needed
    "include/algorithmVeld/algorithmVeld[.]h" "include/algorithmVeld/common/TriMesh[.]h"
    "include/algorithmVeld/workflow/workflow[.]h" "algorithmVeldWorkflow[.]pc"
    "cmake/algorithmVeld/algorithmVeldConfig[.]cmake" "algorithmVeld[.]pc" "LICENSE")
  if(NOT "${installed}" MATCHES "${needed}")
    message(FATAL_ERROR "${needed} is not installed")
  endif()
endforeach()

if(WITH_VELD AND UNIX)
  foreach(needed "share/bash-completion/completions/veld" "share/zsh/site-functions/_veld"
      "share/man/man1/veld[.]1")
    if(NOT "${installed}" MATCHES "${needed}")
      message(FATAL_ERROR "${needed} is not installed")
    endif()
  endforeach()
endif()

# The installed veld runs from a prefix that has been moved, without a search path.
if(WITH_VELD)
  file(REMOVE_RECURSE "${PREFIX}-moved")
  file(COPY "${PREFIX}/" DESTINATION "${PREFIX}-moved")
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -E env --unset=LD_LIBRARY_PATH "${PREFIX}-moved/bin/veld" --version
    OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
  if(NOT "${output}" MATCHES "${VERSION}")
    message(FATAL_ERROR "veld --version says '${output}' and not ${VERSION}")
  endif()
endif()
