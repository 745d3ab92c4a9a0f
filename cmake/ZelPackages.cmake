# Debian packages of what `cmake --install` lays down, one for each component; scripts/packages makes
# and tries them.
set(packaging ${PROJECT_SOURCE_DIR}/packaging/debian)
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library schemes development zelcache)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR})
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# The version and who answers for it stand in the changelog, which goes with the project's version.
file(STRINGS ${packaging}/changelog heading LIMIT_COUNT 1)
if(NOT heading MATCHES "^([a-z-]+) \\(${PROJECT_VERSION}-([^)]+)\\)")
    message(FATAL_ERROR "${packaging}/changelog does not begin with version ${PROJECT_VERSION}.")
endif()
set(CPACK_DEBIAN_PACKAGE_SOURCE ${CMAKE_MATCH_1})
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_2})
file(STRINGS ${packaging}/changelog signature REGEX "^ -- " LIMIT_COUNT 1)
string(REGEX REPLACE "^ -- (.*>)  .*" "\\1" CPACK_DEBIAN_PACKAGE_MAINTAINER ${signature})

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    ${PROJECT_BINARY_DIR}/resource_manager
    ${PROJECT_BINARY_DIR}/schemes)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

# Each package says in a line what it is, then what all of them are for, then what it has.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
macro(zel_package component name section summary contents)
    string(TOUPPER ${component} COMPONENT)
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME ${name})
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_SECTION ${section})
    set(CPACK_DEBIAN_${COMPONENT}_DESCRIPTION "${summary}
Programs name a file or folder of mass-spectrometry data by a text and get a
local path. What is not local is copied on first use into a cache that all
programs of the machine share: two that want the same data fetch it once.

${contents}")
endmacro()

# The names of libraries' packages follow from those of their files: other versions lie beside them.
zel_package(library libzel-resource-manager${PROJECT_VERSION_MAJOR} libs
    "shared cache of remote mass-spectrometry data"
    "This package has the library, which knows no scheme of references itself.")
zel_package(schemes libzel-resource-schemes${PROJECT_VERSION_MAJOR} libs
    "shared cache of remote mass-spectrometry data - schemes"
    "This package has the library of ready-made schemes: local files, mounted
shares, web and WebDAV servers.")
zel_package(development libzel-resource-manager-dev libdevel
    "shared cache of remote mass-spectrometry data - development"
    "This package has what programs that use the libraries are built with.")
zel_package(zelcache zelcache science
    "shared cache of remote mass-spectrometry data - command line"
    "This package has the program that fetches data into the cache, tells what is
in it and who uses it, makes room and repairs it.")

set(CPACK_COMPONENT_SCHEMES_DEPENDS library)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS library schemes)
set(CPACK_COMPONENT_ZELCACHE_DEPENDS library schemes)
# Loaded when a cache is opened, so that no file names it.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS libqt6sql6-sqlite)
# Public servers show certificates.
set(CPACK_DEBIAN_SCHEMES_PACKAGE_RECOMMENDS ca-certificates)
# What the public headers include.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "qt6-base-dev (>= 6.4), qcoro-qt6-dev (>= 0.8)")

set(CPACK_ZEL_PACKAGING ${packaging})
set(CPACK_ZEL_CHANGELOG ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/ZelPackageDocuments.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/ZelPackageControl.cmake)
include(CPack)
