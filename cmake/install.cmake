# Components: lib (libmorvex), ensg (libmorvex-ensg), devel (headers, CMake package, pkg-config files) and
# doc here; programs, python and paraview in their folders.
include(CMakePackageConfigHelpers)

install(TARGETS libmorvex EXPORT morvex-targets LIBRARY COMPONENT lib NAMELINK_COMPONENT devel)
install(TARGETS morvex-ensg EXPORT morvex-targets
        LIBRARY COMPONENT ensg NAMELINK_COMPONENT devel)
install(DIRECTORY include/morvex TYPE INCLUDE COMPONENT devel)
install(EXPORT morvex-targets NAMESPACE morvex:: COMPONENT devel
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/morvex)

write_basic_package_version_file(${PROJECT_BINARY_DIR}/morvex-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
configure_file(cmake/morvex-config.cmake.in ${PROJECT_BINARY_DIR}/morvex-config.cmake @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/morvex-config.cmake
              ${PROJECT_BINARY_DIR}/morvex-config-version.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/morvex COMPONENT devel)

# Found from the file's own place: the prefix is only known when the package is installed.
file(RELATIVE_PATH MORVEX_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
foreach(package morvex-ensg morvex)
  configure_file(cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${package}.pc COMPONENT devel
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

# Pages and examples keep their places, so that their links hold; the reference is there if
# `./run docs` has made it.
install(FILES README.md SECURITY.md CONTRIBUTING.md CHANGELOG.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT doc)
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT doc
        FILES_MATCHING REGEX "\\.(md|svg|png|c|cpp)$" REGEX "examples/[a-z_]+\\.py$"
        PATTERN trace_read.cpp EXCLUDE)
if(NOT MORVEX_PACKAGES)
  install(DIRECTORY build/docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/html COMPONENT doc OPTIONAL
          PATTERN pages EXCLUDE)
endif()
