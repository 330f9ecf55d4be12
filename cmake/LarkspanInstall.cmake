# Installs libraries, headers and the package files behind find_package(Larkspan).
include(CMakePackageConfigHelpers)

set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/Larkspan)

install(TARGETS foundation larkspan-common EXPORT LarkspanTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
if(LARKSPAN_BUILD_TOOL)
  install(TARGETS larkspan RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

# Internal headers stay behind: nothing that is installed includes them.
set(internal_headers
    posix Encoding.h MemoryGuard.h PathNames.h SipHash.h Utf8.h
    Base64Codec.h CounterPage.h CounterPool.h IntegerLiteral.h
    ArchiveEntryImpl.h ArchiveExtraction.h ArchiveFileEntryIBinaryChannel.h ArchiveFileReader.h
    ArchiveFormat.h ArchiveHeaderTable.h ArchiveUpdate.h
    BigEndian.h ChannelCopy.h ChannelXValue.h CloseInDestructor.h FailureGuard.h FileTransactionSteps.h
    LocationChecks.h StatusChannelValue.h)
foreach(header IN LISTS internal_headers)
  list(APPEND excluded_headers PATTERN ${header} EXCLUDE)
endforeach()
install(DIRECTORY foundation Larkspan DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h" ${excluded_headers})
install(EXPORT LarkspanTargets NAMESPACE Larkspan:: DESTINATION ${package_directory})

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/LarkspanConfig.cmake.in
    ${PROJECT_BINARY_DIR}/LarkspanConfig.cmake INSTALL_DESTINATION ${package_directory})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/LarkspanConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/LarkspanConfig.cmake
              ${PROJECT_BINARY_DIR}/LarkspanConfigVersion.cmake
        DESTINATION ${package_directory})
