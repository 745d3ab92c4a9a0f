# Puts all translations into a program, as :/translations/<catalogue>_<language>.qm.
#   zel_embed_translations(zelcache)
function(zel_embed_translations target)
    get_target_property(compiled zel_translations ZEL_COMPILED)
    qt_add_resources(${target} zel_translations
        PREFIX /translations
        BASE ${PROJECT_BINARY_DIR}/translations
        FILES ${compiled})
    add_dependencies(${target} zel_translations)
endfunction()
