# Run by CPack when the packages are made: writes into them what it has no words for.
find_program(DPKG_DEB dpkg-deb REQUIRED)

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
endfunction()

set(contents ${CPACK_TEMPORARY_DIRECTORY}/contents)
foreach(package IN LISTS CPACK_PACKAGE_FILES)
    file(REMOVE_RECURSE ${contents})
    run(${DPKG_DEB} --raw-extract ${package} ${contents})
    set(control ${contents}/DEBIAN)

    # The loader's cache: a trigger renews it once for all packages that are installed together, where
    # the scripts of CPack would do it for each.
    if(EXISTS ${control}/postinst)
        file(REMOVE ${control}/postinst ${control}/postrm)
        file(WRITE ${control}/triggers "activate-noawait ldconfig\n")
    endif()

    # Libraries of several architectures lie beside each other; a program serves all of them.
    file(READ ${control}/control fields)
    string(STRIP "${fields}" fields)
    set(serves foreign)
    if(fields MATCHES "\nSection: lib")
        set(serves same)
    endif()
    file(WRITE ${control}/control "${fields}\nMulti-Arch: ${serves}\n")
    run(${DPKG_DEB} --root-owner-group -Zxz --build ${contents} ${package})
endforeach()
