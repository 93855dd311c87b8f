# Installation: a CMake package and a pkg-config file for hosts.

include(CMakePackageConfigHelpers)

configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/cmake/algorithmVeldConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/algorithmVeldConfig.cmake"
  INSTALL_DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/algorithmVeld")
write_basic_package_version_file(
  "${PROJECT_BINARY_DIR}/algorithmVeldConfigVersion.cmake" COMPATIBILITY SameMinorVersion)

install(TARGETS algorithmVeld EXPORT algorithmVeldTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(EXPORT algorithmVeldTargets NAMESPACE algorithmVeld::
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/algorithmVeld")
install(FILES
  "${PROJECT_BINARY_DIR}/algorithmVeldConfig.cmake"
  "${PROJECT_BINARY_DIR}/algorithmVeldConfigVersion.cmake"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/algorithmVeld")

# pkg-config users on OpenMesh's own terms: it ships no .pc file, so its library is named here.
get_target_property(VELD_OPENMESH_INCLUDE OpenMeshCore INTERFACE_INCLUDE_DIRECTORIES)
configure_file("${PROJECT_SOURCE_DIR}/cmake/algorithmVeld.pc.in"
  "${PROJECT_BINARY_DIR}/algorithmVeld.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/algorithmVeld.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DOCDIR}")
