# What a consumer finds: the libraries, their headers, a CMake package and pkg-config files.
include(CMakePackageConfigHelpers)

install(TARGETS morvex-ensg morvex_guard EXPORT morvex-targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/morvex DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT morvex-targets NAMESPACE morvex:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/morvex)

write_basic_package_version_file(${PROJECT_BINARY_DIR}/morvex-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
configure_file(cmake/morvex-config.cmake.in ${PROJECT_BINARY_DIR}/morvex-config.cmake @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/morvex-config.cmake
              ${PROJECT_BINARY_DIR}/morvex-config-version.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/morvex)

# Found from the file's own place: the prefix is only known when the package is installed.
file(RELATIVE_PATH MORVEX_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
foreach(package morvex-ensg morvex-guard)
  configure_file(cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
