# Packages for Debian, one for each component of the installation, by cpack in the build of the preset
# `package`. debian/Documents.cmake puts in what Debian asks of each.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL larkspan-library larkspan-development larkspan-tool larkspan-documents)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_NAME larkspan)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Larkspan developers <developers@larkspan.invalid>" CACHE STRING
    "Who answers for packages: name and address")
# Each package has its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/debian/Documents.cmake)
set(CPACK_LARKSPAN_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

# larkspan_package(COMPONENT PACKAGE SECTION DESCRIPTION): the first line of the description is the
# summary.
function(larkspan_package component package section description)
  string(TOUPPER CPACK_DEBIAN_${component} prefix)
  set(${prefix}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(${prefix}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(${prefix}_DESCRIPTION ${description} PARENT_SCOPE)
endfunction()

set(library liblarkspan-common${LARKSPAN_ABI_VERSION})
larkspan_package(larkspan-library ${library} libs "storage and serialisation services
Archives that are written and read as streams, byte channels that stack,
values as Java's data streams have them, and files that are replaced as a
whole or not at all.")
larkspan_package(larkspan-development liblarkspan-dev libdevel
"storage and serialisation services (development files)
Headers, and what CMake and pkg-config find the libraries by.")
larkspan_package(larkspan-tool larkspan utils
"archives that are verified entry by entry
Makes, lists, verifies, extracts and changes archives: with text headers on
archives and entries, on all processors, and through pipes.")
larkspan_package(larkspan-documents larkspan-doc doc
"storage and serialisation services (documents)
A tour of the libraries, the format of the archives byte by byte, tasks with
the tool, and examples.")

set(CPACK_DEBIAN_LARKSPAN-LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_LARKSPAN-LIBRARY_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/triggers)
set(CPACK_DEBIAN_LARKSPAN-TOOL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
foreach(component DEVELOPMENT TOOL)
  set(CPACK_DEBIAN_LARKSPAN-${component}_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_LARKSPAN-${component}_PACKAGE_SUGGESTS larkspan-doc)
endforeach()
set(CPACK_DEBIAN_LARKSPAN-DOCUMENTS_PACKAGE_ARCHITECTURE all)
include(CPack)
