# Runs in cpack, on the folders that it packs, one a component: makes of them what Debian expects and
# an installation by hand does without.

# compress(file) leaves file.gz, the same for the same file.
function(compress file)
  execute_process(COMMAND gzip -9 -n -f "${file}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER "${component}" component_upper)
  set(package "${CPACK_DEBIAN_${component_upper}_PACKAGE_NAME}")
  set(root "${CPACK_TEMPORARY_DIRECTORY}/${component}/usr")

  # The licence and what is new, under the names that are looked for.
  set(doc "${root}/share/doc/${package}")
  file(REMOVE_RECURSE "${root}/share/doc")
  file(MAKE_DIRECTORY "${doc}")
  file(READ "${CPACK_VELD_SOURCE_DIR}/LICENSE" license)
  file(WRITE "${doc}/copyright" "${CPACK_PACKAGE_NAME}\n\n${license}")
  file(COPY_FILE "${CPACK_VELD_SOURCE_DIR}/CHANGELOG.md" "${doc}/changelog")
  file(WRITE "${doc}/changelog.Debian"
"algorithmveld (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium

  * Version ${CPACK_PACKAGE_VERSION}. What is new stands in changelog.gz.

 -- ${CPACK_DEBIAN_PACKAGE_MAINTAINER}  ${date}
")
  compress("${doc}/changelog")
  compress("${doc}/changelog.Debian")

  file(GLOB_RECURSE pages "${root}/share/man/*")
  foreach(page IN LISTS pages)
    compress("${page}")
  endforeach()

  # Debian has a place of its own for the completions of zsh, and the libraries lie where every
  # program looks for them.
  if(EXISTS "${root}/share/zsh/site-functions")
    file(RENAME "${root}/share/zsh/site-functions" "${root}/share/zsh/vendor-completions")
  endif()
  file(GLOB binaries "${root}/bin/*" "${root}/lib/*.so.*" "${root}/lib/*/*.so.*")
  foreach(binary IN LISTS binaries)
    if(NOT IS_SYMLINK "${binary}")
      file(RPATH_REMOVE FILE "${binary}")
    endif()
  endforeach()
endforeach()
