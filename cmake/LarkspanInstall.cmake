# Installs the libraries, their headers, what CMake and pkg-config find them by, the tool with its
# manual and completions, and the documents: each a component, larkspan-*, of its own.
include(CMakePackageConfigHelpers)

set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/Larkspan)
set(documents_directory ${CMAKE_INSTALL_DATADIR}/doc/larkspan)

install(TARGETS larkspan-foundation larkspan-common EXPORT LarkspanTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
                COMPONENT larkspan-library NAMELINK_COMPONENT larkspan-development
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT larkspan-development
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT larkspan-library
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(LARKSPAN_BUILD_TOOL)
  install(TARGETS larkspan RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT larkspan-tool)
  # Manual and completions, where the system and the shells look for them.
  install(DIRECTORY ${PROJECT_BINARY_DIR}/tools/documents/share/ DESTINATION ${CMAKE_INSTALL_DATADIR}
          COMPONENT larkspan-tool PATTERN done EXCLUDE)
endif()

# As in the tree, so that they find each other.
install(FILES README.md CHANGELOG.md CONTRIBUTING.md LICENSE DESTINATION ${documents_directory}
        COMPONENT larkspan-documents)
install(DIRECTORY docs examples DESTINATION ${documents_directory} COMPONENT larkspan-documents
        PATTERN CMakeLists.txt EXCLUDE PATTERN __pycache__ EXCLUDE)

foreach(header IN LISTS LARKSPAN_PUBLIC_HEADERS)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder}
          COMPONENT larkspan-development)
endforeach()
install(EXPORT LarkspanTargets NAMESPACE Larkspan:: DESTINATION ${package_directory}
        COMPONENT larkspan-development)

get_target_property(kind larkspan-common TYPE)
set(LARKSPAN_SHARED OFF)
if(kind STREQUAL "SHARED_LIBRARY")
  set(LARKSPAN_SHARED ON)
endif()
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/LarkspanConfig.cmake.in
    ${PROJECT_BINARY_DIR}/LarkspanConfig.cmake INSTALL_DESTINATION ${package_directory}
    NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/LarkspanConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/LarkspanConfig.cmake
              ${PROJECT_BINARY_DIR}/LarkspanConfigVersion.cmake
              ${CMAKE_CURRENT_LIST_DIR}/FindLibDeflate.cmake
        DESTINATION ${package_directory} COMPONENT larkspan-development)

# larkspan_pkg_config(TARGET REQUIRES REQUIRES_PRIVATE LIBS_PRIVATE)
function(larkspan_pkg_config target requires requires_private libs_private)
  file(RELATIVE_PATH to_includes ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
       ${CMAKE_INSTALL_FULL_INCLUDEDIR})
  configure_file(${CMAKE_CURRENT_FUNCTION_LIST_DIR}/larkspan.pc.in ${PROJECT_BINARY_DIR}/${target}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${target}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
          COMPONENT larkspan-development)
endfunction()

# Shared libraries bring what they need themselves.
foreach(variable IN ITEMS requires_private libs_private threads)
  set(${variable})
endforeach()
if(NOT LARKSPAN_SHARED)
  set(requires_private zlib)
  set(threads ${CMAKE_THREAD_LIBS_INIT})
  if(LARKSPAN_LIBDEFLATE)
    set(libs_private -ldeflate)
  endif()
endif()
larkspan_pkg_config(larkspan-foundation "" "" "${threads}")
larkspan_pkg_config(larkspan-common "larkspan-foundation = ${PROJECT_VERSION}"
                    "${requires_private}" "${libs_private}")

if(PROJECT_IS_TOP_LEVEL AND LARKSPAN_SHARED AND LARKSPAN_BUILD_TOOL)
  include(LarkspanPackages)
endif()
