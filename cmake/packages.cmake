# Debian packages of the components, made by `./run package`: docs/packages.md.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME morvex-ensg)
set(CPACK_PACKAGE_VENDOR morvex-ensg)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # else it would come before each package's own
set(MORVEX_MAINTAINER "morvex-ensg maintainers <maintainers@morvex.invalid>"
    CACHE STRING "Maintainer of the packages")
set(CPACK_PACKAGE_CONTACT ${MORVEX_MAINTAINER})
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src/reader/api)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(MORVEX_DEBIAN_VERSION ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})

# describe_package(COMPONENT PACKAGE SECTION SUMMARY TEXT [ARCHITECTURE all] [DEPENDS ...]
#                  [CONTROL ...]): one component, or group of components, as a package.
function(describe_package component package section summary text)
  cmake_parse_arguments(PARSE_ARGV 5 its "" "ARCHITECTURE" "DEPENDS;CONTROL")
  string(TOUPPER ${component} name)
  string(REPLACE ";" ", " depends "${its_DEPENDS}")
  set(CPACK_DEBIAN_${name}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(CPACK_DEBIAN_${name}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${name}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${name}_PACKAGE_CONTROL_EXTRA "${its_CONTROL}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${name}_DESCRIPTION "${summary}\n${text}" PARENT_SCOPE)
  if(its_ARCHITECTURE)
    set(CPACK_DEBIAN_${name}_PACKAGE_ARCHITECTURE ${its_ARCHITECTURE} PARENT_SCOPE)
  endif()
  # Each package has its own folder of documents.
  set(folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package})
  if(component STREQUAL development)
    set(component devel)
  endif()
  install(FILES cmake/debian/copyright ${PROJECT_BINARY_DIR}/debian/changelog.gz
                ${PROJECT_BINARY_DIR}/debian/changelog.Debian.gz
          DESTINATION ${folder} COMPONENT ${component})
endfunction()

# The dates in the packages are those of the sources, so that two builds give the same packages.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  string(TIMESTAMP MORVEX_CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
else()
  set(MORVEX_CHANGELOG_DATE "Thu, 01 Jan 1970 00:00:00 +0000")
endif()
configure_file(cmake/debian/changelog.in debian/changelog.Debian @ONLY)
configure_file(CHANGELOG.md debian/changelog COPYONLY)
execute_process(COMMAND gzip -9nfk changelog changelog.Debian
                WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/debian COMMAND_ERROR_IS_FATAL ANY)

set(same "= ${MORVEX_DEBIAN_VERSION}")
# Descriptions have lines of up to 79 characters.
set(about "It reads compressed finite-element result files: parts, coordinates,
connectivity, particles and variables, each decoded when it is asked for.")
set(control ${PROJECT_SOURCE_DIR}/cmake/debian)
describe_package(lib libmorvex1 libs "reader library for compressed finite-element results"
"${about}
This package has libmorvex: handles for any number of files and threads."
  CONTROL ${control}/triggers)
describe_package(ensg libmorvex-ensg7 libs
  "reader library for compressed finite-element results, one session"
"${about}
This package has libmorvex-ensg: 41 functions with one session for each
process."
  CONTROL ${control}/triggers)
describe_package(development libmorvex-dev libdevel
  "headers and documents of libmorvex and libmorvex-ensg"
"${about}
This package has the headers for C and C++, what CMake and pkg-config look
for, the documents and the examples."
  DEPENDS "libmorvex1 (${same})" "libmorvex-ensg7 (${same})")
describe_package(programs morvex science "shows, checks and draws compressed finite-element results"
"The program morvex shows what is in a result file, checks that all of it can
be read, and draws pictures of the model."
  DEPENDS "libmorvex1 (${same})")
describe_package(python python3-morvex python
  "compressed finite-element results as numpy arrays (Python 3)"
"${about}
This package has the module morvex, which fills numpy arrays and makes
objects of VTK."
  ARCHITECTURE all DEPENDS python3:any python3-numpy "libmorvex1 (>= ${MORVEX_DEBIAN_VERSION})"
  CONTROL ${control}/python/postinst ${control}/python/prerm)
describe_package(paraview morvex-paraview science
  "ParaView reader of compressed finite-element results"
"${about}
This package has the reader for ParaView and VTK, in
/usr/share/morvex/paraview."
  ARCHITECTURE all DEPENDS "python3-morvex (${same})" "paraview | python3-vtk9"
  CONTROL ${control}/paraview/prerm)

include(CPack)
cpack_add_component_group(development)
cpack_add_component(devel GROUP development)
cpack_add_component(doc GROUP development)
