# What `cmake --install` lays down, in four components: library, schemes, development, zelcache. Nothing
# in it knows where the tree lay.
include(CMakePackageConfigHelpers)

foreach(folder IN ITEMS BINDIR LIBDIR INCLUDEDIR DATADIR)
    if(PROJECT_IS_TOP_LEVEL AND IS_ABSOLUTE "${CMAKE_INSTALL_${folder}}")
        message(FATAL_ERROR "CMAKE_INSTALL_${folder} has to be relative to the prefix: what is installed "
            "finds its parts from where it lies.")
    endif()
endforeach()

# Each major version has a folder of its own, as libraries of several may be installed.
set(ZEL_TRANSLATIONS_DIR
    ${CMAKE_INSTALL_DATADIR}/zel_resource_manager/${PROJECT_VERSION_MAJOR}/translations)

# zel_install_library(TARGET NAME COMPONENT): other projects link it as zel::NAME.
function(zel_install_library target name component)
    set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
    target_compile_features(${target} PUBLIC cxx_std_20)
    install(TARGETS ${target} EXPORT ZelResourceManagerTargets
        LIBRARY
            DESTINATION ${CMAKE_INSTALL_LIBDIR}
            COMPONENT ${component}
            NAMELINK_COMPONENT development
        RUNTIME
            DESTINATION ${CMAKE_INSTALL_BINDIR}
            COMPONENT ${component}
        ARCHIVE
            DESTINATION ${CMAKE_INSTALL_LIBDIR}
            COMPONENT development
        FILE_SET HEADERS
            DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${target}
            COMPONENT development)
    # Found from where the file lies, so that the prefix may be chosen at installation.
    file(RELATIVE_PATH pc_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
    get_target_property(qcoro_cflags QCoro6::Core INTERFACE_INCLUDE_DIRECTORIES)
    list(FILTER qcoro_cflags INCLUDE REGEX qcoro)
    list(TRANSFORM qcoro_cflags PREPEND -I)
    list(JOIN qcoro_cflags " " qcoro_cflags)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${target}.pc.in ${target}.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${target}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)
endfunction()

# find_package(ZelResourceManager) of other projects finds this.
function(zel_install_package)
    set(destination ${CMAKE_INSTALL_LIBDIR}/cmake/ZelResourceManager)
    set(generated ${CMAKE_CURRENT_BINARY_DIR}/package)
    configure_package_config_file(cmake/ZelResourceManagerConfig.cmake.in
        ${generated}/ZelResourceManagerConfig.cmake
        INSTALL_DESTINATION ${destination}
        PATH_VARS ZEL_TRANSLATIONS_DIR)
    write_basic_package_version_file(${generated}/ZelResourceManagerConfigVersion.cmake
        COMPATIBILITY SameMajorVersion)
    install(FILES
            ${generated}/ZelResourceManagerConfig.cmake
            ${generated}/ZelResourceManagerConfigVersion.cmake
        DESTINATION ${destination}
        COMPONENT development)
    install(EXPORT ZelResourceManagerTargets
        NAMESPACE zel::
        DESTINATION ${destination}
        COMPONENT development)
endfunction()
