# zel_add_test(NAME LABEL label [SOURCES ...] [LINK ...] [TIMEOUT seconds] [ENVIRONMENT A=b ...]
#              [FIXTURE name] [MOC])
#
# One test program. SOURCES defaults to NAME.cpp. A program of unit tests links the object libraries
# it needs and so sees what is not exported; process and cli tests run the real shared library and
# the real programs. Never both in one program. MOC is for sources with Q_OBJECT in them.
# LABEL may be several words in one text: "cli disk" is known to ctest by either.
# FIXTURE names the entry of ctest that must have passed before.
# Every case is an entry of ctest of its own with a TIMEOUT, so that a deadlock fails by its name.
include(GoogleTest)

# System V keys lie in the folder of temporary files: tests get one of their own.
set(ZEL_TEST_TMPDIR ${CMAKE_BINARY_DIR}/tmp)
file(MAKE_DIRECTORY ${ZEL_TEST_TMPDIR})

function(zel_add_test name)
    cmake_parse_arguments(ARG "MOC" "LABEL;TIMEOUT;FIXTURE" "SOURCES;LINK;ENVIRONMENT" ${ARGN})
    if(NOT ARG_SOURCES)
        set(ARG_SOURCES ${name}.cpp)
    endif()
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 60)
    endif()
    if("thread" IN_LIST ZEL_SANITIZE)
        math(EXPR ARG_TIMEOUT "10 * ${ARG_TIMEOUT}") # some take that much longer then
    elseif("address" IN_LIST ZEL_SANITIZE)
        math(EXPR ARG_TIMEOUT "4 * ${ARG_TIMEOUT}")
    endif()
    if(name IN_LIST ZEL_TESTS_WITH_THREADS AND NOT ARG_LABEL STREQUAL threads)
        # One text: the discovery does not keep a list together, and ctest -L looks for a part.
        string(APPEND ARG_LABEL " threads")
    endif()
    add_executable(${name} ${ARG_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ${ARG_MOC})
    target_link_libraries(${name} PRIVATE zel_test_support ${ARG_LINK} zel_build_settings)
    target_precompile_headers(${name} REUSE_FROM zel_test_support)
    # Not the ENVIRONMENT property: handed on by the discovery, all but its first entry is lost.
    set_target_properties(${name} PROPERTIES CROSSCOMPILING_EMULATOR
        "env;TMPDIR=${ZEL_TEST_TMPDIR};QT_LOGGING_RULES=;LC_ALL=C.UTF-8;no_proxy=*;${ARG_ENVIRONMENT}")
    if(ARG_FIXTURE)
        set(fixture FIXTURES_REQUIRED ${ARG_FIXTURE})
    endif()
    gtest_discover_tests(${name}
        DISCOVERY_MODE PRE_TEST
        PROPERTIES
            LABELS "${ARG_LABEL}"
            TIMEOUT ${ARG_TIMEOUT}
            ${fixture})
endfunction()
