# Debian packages: `cpack` in a build makes `algorithmveld`, what runs, and `algorithmveld-dev`, what
# other programs are built with.

set(VELD_PACKAGE_MAINTAINER "The algorithmVeld maintainers <maintainers@example.org>" CACHE STRING
  "Whom the Debian packages name as their maintainer")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# Folders as dpkg wants them, whatever the umask of who calls cpack.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${VELD_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME algorithmveld)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION science)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME algorithmveld-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "The libraries and the command line veld.
Meshes of 3D scans: frames are merged to one mesh, holes filled, torn places
repaired, markers and sticks taken out, and photographs made a texture.")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers and packages for CMake and pkg-config.
What programs are built with that call the libraries of algorithmveld.")

# What the binaries are linked with is found by dpkg-shlibdeps, the libraries of the package itself
# in the build. MKL's have no version in their names, by which it would know them. What the public
# headers include stands here, too.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  "${PROJECT_BINARY_DIR}/algorithmVeld" "${PROJECT_BINARY_DIR}/workflow")
if(VELD_SOLVER_LIBRARIES)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libmkl-intel-lp64, libmkl-gnu-thread, libmkl-core")
endif()
set(version "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "algorithmveld (= ${version}), libopenmesh-dev, libeigen3-dev, nlohmann-json3-dev")

# Programs that are linked with the libraries need this package, and ld.so has to be told of it.
set(so_version "${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}")
file(WRITE "${PROJECT_BINARY_DIR}/debian/shlibs"
"libalgorithmVeld ${so_version} algorithmveld (>= ${so_version})
libalgorithmVeldWorkflow ${so_version} algorithmveld (>= ${so_version})
")
file(WRITE "${PROJECT_BINARY_DIR}/debian/triggers" "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  "${PROJECT_BINARY_DIR}/debian/shlibs" "${PROJECT_BINARY_DIR}/debian/triggers")

set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/debian_tree.cmake")
set(CPACK_VELD_SOURCE_DIR "${PROJECT_SOURCE_DIR}")
include(CPack)
