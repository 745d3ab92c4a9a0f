# zel_build_settings: what every target of the project is compiled with.
option(ZEL_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)
set(ZEL_SANITIZE "" CACHE STRING "Sanitizers to build with, for example address;undefined")

add_library(zel_build_settings INTERFACE)
target_compile_features(zel_build_settings INTERFACE cxx_std_20)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

target_compile_definitions(zel_build_settings INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_KEYWORDS
    QT_NO_FOREACH
    QT_DISABLE_DEPRECATED_BEFORE=0x060400
    QT_MESSAGELOGCONTEXT)

# Trails and logs name files as the reader of the tree knows them, however the compiler is called.
file(RELATIVE_PATH zel_source_from_build ${CMAKE_BINARY_DIR} ${PROJECT_SOURCE_DIR})
cmake_path(APPEND zel_source_from_build "")

# Clang also warns, inside the standard library, where the one interface is deleted that is meant to
# have no virtual destructor. -Wnon-virtual-dtor finds any other such class where it is defined.
target_compile_options(zel_build_settings INTERFACE
    -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Wold-style-cast -Wcast-align
    $<$<CXX_COMPILER_ID:GNU>:-fcoroutines -Wshadow=local -Wduplicated-cond -Wlogical-op>
    $<$<CXX_COMPILER_ID:Clang>:-Wno-delete-abstract-non-virtual-dtor>
    $<$<BOOL:${ZEL_WARNINGS_AS_ERRORS}>:-Werror>
    -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=
    -fmacro-prefix-map=${zel_source_from_build}=)

if(ZEL_SANITIZE)
    list(JOIN ZEL_SANITIZE "," sanitizers)
    # Clang 14 cannot compile a coroutine whose calls are checked for the function's type.
    target_compile_options(zel_build_settings INTERFACE
        -fsanitize=${sanitizers} -fno-omit-frame-pointer -fno-sanitize-recover=undefined
        $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>)
    target_link_options(zel_build_settings INTERFACE -fsanitize=${sanitizers})
endif()

# Only the libraries' own folders count their lines (zel_add_folder): tests need not be tested.
option(ZEL_COVERAGE "Count which lines of the libraries run" OFF)

# Debug builds look at each take of a lock (foundation/src/threads). ThreadSanitizer looks itself.
set(ZEL_CHECKS_LOCKS $<CONFIG:Debug>)
if("thread" IN_LIST ZEL_SANITIZE)
    set(ZEL_CHECKS_LOCKS 0)
endif()
target_compile_definitions(zel_build_settings INTERFACE $<${ZEL_CHECKS_LOCKS}:ZEL_CHECKS_LOCKS>)

# Makes the object library of one folder. LINK lists what the folder may include, nothing else.
#   zel_add_folder(zel_tasks INCLUDE src SOURCES src/Task.cpp ... LINK zel_foundation QCoro6::Coro)
function(zel_add_folder name)
    cmake_parse_arguments(ARG "" "INCLUDE" "SOURCES;LINK" ${ARGN})
    add_library(${name} OBJECT ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC
        $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/${ARG_INCLUDE}>)
    target_link_libraries(${name} PUBLIC ${ARG_LINK} PRIVATE zel_build_settings)
    target_compile_definitions(${name} PRIVATE ZEL_RESOURCE_MANAGER_BUILD)
    if(ZEL_COVERAGE)
        # Several threads count at a time.
        target_compile_options(${name} PRIVATE --coverage -fprofile-update=atomic)
        target_link_options(${name} INTERFACE --coverage)
    endif()
endfunction()
