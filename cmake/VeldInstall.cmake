# Installation: a CMake package and a pkg-config file for hosts. What runs is of the component
# `runtime`, and what other programs are built with of `development`.

include(CMakePackageConfigHelpers)

# An installed veld finds its library beside itself, wherever the prefix is moved to. A dependency
# outside the system's folders is found where it was linked.
file(RELATIVE_PATH VELD_LIB_FROM_BIN
  "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
set_target_properties(algorithmVeld PROPERTIES INSTALL_RPATH_USE_LINK_PATH ON)
if(TARGET veld)
  set_target_properties(veld PROPERTIES INSTALL_RPATH_USE_LINK_PATH ON)
  if(APPLE)
    set_target_properties(veld PROPERTIES INSTALL_RPATH "@loader_path/${VELD_LIB_FROM_BIN}")
  elseif(UNIX)
    set_target_properties(veld PROPERTIES INSTALL_RPATH "$ORIGIN/${VELD_LIB_FROM_BIN}")
  endif()
  install(TARGETS veld RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime)
endif()
if(TARGET veld_help)
  get_target_property(VELD_HELP_DIR veld_help VELD_DIRECTORY)
  install(FILES "${VELD_HELP_DIR}/veld"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT runtime)
  install(FILES "${VELD_HELP_DIR}/_veld"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" COMPONENT runtime)
  install(FILES "${VELD_HELP_DIR}/veld.1"
    DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT runtime)
endif()

# veld_install_library(target headers) installs a library, with its headers in a folder.
function(veld_install_library target headers)
  install(TARGETS ${target} EXPORT algorithmVeldTargets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
      COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime
    FILE_SET HEADERS DESTINATION "${headers}" COMPONENT development)
endfunction()

if(TARGET veld_workflow)
  # It finds the library in the folder where it lies itself.
  set_target_properties(veld_workflow PROPERTIES INSTALL_RPATH_USE_LINK_PATH ON)
  if(APPLE)
    set_target_properties(veld_workflow PROPERTIES INSTALL_RPATH "@loader_path")
  elseif(UNIX)
    set_target_properties(veld_workflow PROPERTIES INSTALL_RPATH "$ORIGIN")
  endif()
  veld_install_library(veld_workflow "${CMAKE_INSTALL_INCLUDEDIR}/algorithmVeld")
endif()
veld_install_library(algorithmVeld "${CMAKE_INSTALL_INCLUDEDIR}")

set(VELD_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/algorithmVeld")
install(EXPORT algorithmVeldTargets NAMESPACE algorithmVeld::
  DESTINATION "${VELD_PACKAGE_DIR}" COMPONENT development)
configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/cmake/algorithmVeldConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/algorithmVeldConfig.cmake" INSTALL_DESTINATION "${VELD_PACKAGE_DIR}")
write_basic_package_version_file(
  "${PROJECT_BINARY_DIR}/algorithmVeldConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/algorithmVeldConfig.cmake"
  "${PROJECT_BINARY_DIR}/algorithmVeldConfigVersion.cmake"
  DESTINATION "${VELD_PACKAGE_DIR}" COMPONENT development)

# pkg-config: OpenMesh has no .pc file of its own, so its folders are named here, where they are not
# those that every compiler searches anyway.
file(RELATIVE_PATH VELD_PREFIX_FROM_PC
  "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" VELD_PREFIX_FROM_PC "${VELD_PREFIX_FROM_PC}")
set(VELD_OPENMESH_CFLAGS "")
set(VELD_OPENMESH_LIBS "-lOpenMeshCore")
get_target_property(VELD_OPENMESH_INCLUDES OpenMeshCore INTERFACE_INCLUDE_DIRECTORIES)
foreach(directory IN LISTS VELD_OPENMESH_INCLUDES)
  if(directory AND NOT directory IN_LIST CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES)
    string(APPEND VELD_OPENMESH_CFLAGS " -I${directory}")
  endif()
endforeach()
get_target_property(VELD_OPENMESH_FILE OpenMeshCore LOCATION)
get_filename_component(VELD_OPENMESH_DIR "${VELD_OPENMESH_FILE}" DIRECTORY)
if(NOT VELD_OPENMESH_DIR IN_LIST CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES)
  string(PREPEND VELD_OPENMESH_LIBS "-L${VELD_OPENMESH_DIR} ")
endif()
configure_file("${PROJECT_SOURCE_DIR}/cmake/algorithmVeld.pc.in"
  "${PROJECT_BINARY_DIR}/algorithmVeld.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/algorithmVeld.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
if(TARGET veld_workflow)
  configure_file("${PROJECT_SOURCE_DIR}/cmake/algorithmVeldWorkflow.pc.in"
    "${PROJECT_BINARY_DIR}/algorithmVeldWorkflow.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/algorithmVeldWorkflow.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endif()
install(FILES
  "${PROJECT_SOURCE_DIR}/LICENSE"
  "${PROJECT_SOURCE_DIR}/docs/recipe.schema.json"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT runtime)
