# Run by cpack on what goes into the packages: each gets its licence and the changes of the package as
# Debian wants them, and manual pages are compressed.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(READ ${CPACK_LARKSPAN_LICENSE} licence)
string(REGEX MATCH "Copyright \\([cC]\\) ([^\n]*)" line "${licence}")
set(owner ${CMAKE_MATCH_1})
string(STRIP "${licence}" licence)
string(REPLACE "\n\n" "\n.\n" licence "${licence}")
string(REPLACE "\n" "\n " licence "${licence}")

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(share ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/share)
  set(documents ${share}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  file(WRITE ${documents}/copyright "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/

Files: *
Copyright: ${owner}
License: Expat

License: Expat
 ${licence}
")
  file(WRITE ${documents}/changelog "larkspan (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * New version; larkspan-doc has its CHANGELOG.md.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
  file(GLOB_RECURSE pages ${share}/man/*)
  execute_process(COMMAND gzip -9n ${documents}/changelog ${pages} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
