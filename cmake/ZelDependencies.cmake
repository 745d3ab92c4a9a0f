# Everything that is looked for on the machine stands here; scripts/packages.txt names the packages.
find_package(Qt6 6.4 REQUIRED COMPONENTS Core Sql)
find_package(QCoro6 0.8 REQUIRED COMPONENTS Core Coro)
find_package(CURL REQUIRED)
find_package(OpenSSL 3 REQUIRED COMPONENTS Crypto)
if(PROJECT_IS_TOP_LEVEL)
    find_package(CLI11 2.1 REQUIRED) # the program
    find_program(SCDOC_PROGRAM scdoc REQUIRED) # its manual page
endif()

# Brings no package file of its own on every system.
find_path(XXHASH_INCLUDE_DIR xxhash.h REQUIRED)
find_library(XXHASH_LIBRARY xxhash REQUIRED)
add_library(zel_xxhash INTERFACE)
target_include_directories(zel_xxhash SYSTEM INTERFACE ${XXHASH_INCLUDE_DIR})
target_link_libraries(zel_xxhash INTERFACE ${XXHASH_LIBRARY})

# The compiler of translations lies among the programs of Qt, which are seldom in the path.
find_program(ZEL_LRELEASE NAMES lrelease lrelease-qt6 REQUIRED
    HINTS ${QT6_INSTALL_PREFIX}/${QT6_INSTALL_BINS})

if(BUILD_TESTING)
    find_package(Qt6 6.4 REQUIRED COMPONENTS Test)
    find_package(GTest 1.12 REQUIRED)
endif()

set(CMAKE_AUTOMOC ON)
