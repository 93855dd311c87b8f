# Makes the Debian packages of a build and unpacks both into an empty folder, where the tests behind
# this one find what a system has that installed them.
#
# BUILD       the build, CONFIG its configuration, VERSION of the project
# WORK        folder for the packages, ROOT folder to unpack them into, both made anew
# APT_GET     the program, which tells whether what the packages need can be had; may be empty
# LINTIAN     the program, which knows how packages have to be; may be empty

cmake_minimum_required(VERSION 3.24)
file(REMOVE_RECURSE "${WORK}" "${ROOT}")
file(MAKE_DIRECTORY "${WORK}" "${ROOT}")
execute_process(
  COMMAND "${CMAKE_CPACK_COMMAND}" --config "${BUILD}/CPackConfig.cmake" -C "${CONFIG}" -B "${WORK}"
  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(GLOB runtime "${WORK}/algorithmveld_${VERSION}-*.deb")
file(GLOB development "${WORK}/algorithmveld-dev_${VERSION}-*.deb")
if(NOT runtime OR NOT development)
  message(FATAL_ERROR "cpack has not made both packages of ${VERSION}")
endif()

# unpack(package folder files) unpacks one, and gives its files without what is in every package.
function(unpack package folder files)
  execute_process(COMMAND dpkg-deb --extract "${package}" "${folder}" COMMAND_ERROR_IS_FATAL ANY)
  file(GLOB_RECURSE found RELATIVE "${folder}" "${folder}/*")
  list(FILTER found EXCLUDE REGEX "/(copyright|changelog[.]gz|changelog[.]Debian[.]gz)$")
  set(${files} "${found}" PARENT_SCOPE)
endfunction()
unpack("${runtime}" "${WORK}/runtime" run_files)
unpack("${development}" "${WORK}/development" build_files)
foreach(needed "usr/bin/veld" "usr/lib/[^;]*libalgorithmVeld[.]so[.]${VERSION}"
    "usr/lib/[^;]*libalgorithmVeldWorkflow[.]so[.]${VERSION}" "usr/share/man/man1/veld[.]1[.]gz")
  if(NOT ";${run_files};" MATCHES ";${needed};")
    message(FATAL_ERROR "${runtime} has no ${needed}")
  endif()
endforeach()
foreach(needed "usr/include/algorithmVeld/algorithmVeld[.]h" "usr/lib/[^;]*libalgorithmVeld[.]so"
    "usr/lib/[^;]*/algorithmVeldConfig[.]cmake" "usr/lib/[^;]*pkgconfig/algorithmVeld[.]pc")
  if(NOT ";${build_files};" MATCHES ";${needed};")
    message(FATAL_ERROR "${development} has no ${needed}")
  endif()
endforeach()
foreach(file IN LISTS run_files)
  if(file IN_LIST build_files OR file MATCHES "[.](h|so|cmake|pc)$")
    message(FATAL_ERROR "${file} is of no use to who only runs programs, or in both packages")
  endif()
endforeach()

# What veld is linked with is named by the package: a library that nobody installs would be missed
# only on another machine.
execute_process(COMMAND dpkg-deb --field "${runtime}" Depends
  OUTPUT_VARIABLE depends COMMAND_ERROR_IS_FATAL ANY)
foreach(needed libc6 libgomp1 libopenmesh1 libembree3)
  if(NOT depends MATCHES "${needed}")
    message(FATAL_ERROR "${runtime} does not depend on ${needed}: ${depends}")
  endif()
endforeach()
if(APT_GET)
  execute_process(COMMAND "${APT_GET}" -s -qq install "${runtime}" "${development}"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endif()
if(LINTIAN)
  # The names of two libraries are not that of one package; the libraries lie in /usr/lib where the
  # build was not configured for another folder; cpack writes the two scripts; there is no bug at
  # Debian to be closed.
  execute_process(COMMAND "${LINTIAN}" --fail-on error,warning --suppress-tags
      package-name-doesnt-match-sonames,pkg-config-unavailable-for-cross-compilation,maintscript-calls-ldconfig,initial-upload-closes-no-bugs
      "${runtime}" "${development}"
    ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
endif()

file(COPY "${WORK}/runtime/" "${WORK}/development/" DESTINATION "${ROOT}")
file(GLOB library "${ROOT}/usr/lib/libalgorithmVeld.so.${VERSION}"
  "${ROOT}/usr/lib/*/libalgorithmVeld.so.${VERSION}")
get_filename_component(library_dir "${library}" DIRECTORY)
execute_process(
  COMMAND "${CMAKE_COMMAND}" -E env "LD_LIBRARY_PATH=${library_dir}" "${ROOT}/usr/bin/veld" --version
  OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
if(NOT "${output}" MATCHES "${VERSION}")
  message(FATAL_ERROR "veld --version says '${output}' and not ${VERSION}")
endif()
