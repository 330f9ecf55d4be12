# Installs libraries, headers and the package files behind find_package(Larkspan).
include(CMakePackageConfigHelpers)

set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/Larkspan)

install(TARGETS foundation larkspan-common EXPORT LarkspanTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
if(LARKSPAN_BUILD_TOOL)
  install(TARGETS larkspan RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  # Manual and completions, where the system and the shells look for them.
  install(DIRECTORY ${PROJECT_BINARY_DIR}/tools/documents/share/ DESTINATION ${CMAKE_INSTALL_DATADIR}
          PATTERN done EXCLUDE)
endif()

foreach(header IN LISTS LARKSPAN_PUBLIC_HEADERS)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder})
endforeach()
install(EXPORT LarkspanTargets NAMESPACE Larkspan:: DESTINATION ${package_directory})

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/LarkspanConfig.cmake.in
    ${PROJECT_BINARY_DIR}/LarkspanConfig.cmake INSTALL_DESTINATION ${package_directory})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/LarkspanConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/LarkspanConfig.cmake
              ${PROJECT_BINARY_DIR}/LarkspanConfigVersion.cmake
              ${CMAKE_CURRENT_LIST_DIR}/FindLibDeflate.cmake
        DESTINATION ${package_directory})
