# Run by CPack when the files of all packages lie ready: adds the documents that Debian wants in every
# package, and compresses what it wants compressed.
find_program(GZIP gzip REQUIRED)

# Without name and time, so that the same text always gives the same bytes.
function(compress)
    execute_process(COMMAND ${GZIP} -9 --no-name --force ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(add_document source file)
    configure_file(${source} ${file} COPYONLY
        FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} COMPONENT)
    set(root ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr)
    set(documents ${root}/share/doc/${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME})
    add_document(${CPACK_ZEL_PACKAGING}/copyright ${documents}/copyright)
    add_document(${CPACK_ZEL_PACKAGING}/changelog ${documents}/changelog.Debian)
    add_document(${CPACK_ZEL_CHANGELOG} ${documents}/changelog)
    compress(${documents}/changelog.Debian ${documents}/changelog)
    file(GLOB pages ${root}/share/man/man*/*.[1-9])
    if(pages)
        compress(${pages})
    endif()
endforeach()
