# Settings of all targets, and functions that declare targets.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# "lib" on every system, as for other producers. Build tree and installation have the same layout, so gentlctl
# finds the libraries in both.
set(CMAKE_INSTALL_LIBDIR lib CACHE STRING "Folder of the libraries below the prefix")
include(GNUInstallDirs)

set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}")
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/archive")

set(QVR_SANITIZE "" CACHE STRING "Sanitizers to build with, as for -fsanitize=")
option(QVR_FUZZ "Build the fuzzers; needs clang" OFF)

# A compiler allocates much: with this library, Clang took 6 and 9 % less time for two units.
find_file(QVR_COMPILER_MALLOC libtcmalloc_minimal.so.4
    PATHS "/usr/lib/${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu"
    NO_DEFAULT_PATH)
mark_as_advanced(QVR_COMPILER_MALLOC)
set(compiler_environment "")
if(QVR_COMPILER_MALLOC)
    list(APPEND compiler_environment "LD_PRELOAD=${QVR_COMPILER_MALLOC}")
endif()
find_program(QVR_CCACHE ccache)
if(QVR_CCACHE)
    # ccache requires these settings to cache compilations with precompiled headers.
    list(APPEND compiler_environment CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_DEPEND=1 "${QVR_CCACHE}")
endif()
if(compiler_environment)
    set(CMAKE_CXX_COMPILER_LAUNCHER env ${compiler_environment})
endif()

# lld links several times faster than the system's linker.
find_program(QVR_LLD ld.lld)
if(QVR_LLD)
    add_link_options(-fuse-ld=lld)
endif()

# Before the options of every target, so that a target can take one of the sanitizers back.
if(QVR_SANITIZE)
    add_compile_options(-fsanitize=${QVR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${QVR_SANITIZE})
endif()
# The sanitizers' tables hold hundreds of thousands of addresses, which a position-independent program relocates at each
# start. ThreadSanitizer works with such programs only.
if(QVR_SANITIZE MATCHES address)
    add_link_options($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-no-pie>)
endif()

# Looking for implicit conversions from JSON is slow: without it, a test that compares JSON compiled in two thirds of the
# time.
add_compile_definitions(JSON_USE_IMPLICIT_CONVERSIONS=0)

add_library(qvr_build_settings INTERFACE)
target_include_directories(qvr_build_settings INTERFACE "${PROJECT_SOURCE_DIR}/include")
# The builds with sanitizers compile the same sources as those without, and looking for warnings again takes a twentieth
# of their time. Only the fuzzers are in no other build.
if(QVR_SANITIZE AND NOT QVR_FUZZ)
    target_compile_options(qvr_build_settings INTERFACE -w)
else()
    target_compile_options(qvr_build_settings INTERFACE
        -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
        $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
endif()

# Headers that nearly every source of a target includes. A target of many sources parses them once: with
# target_precompile_headers, or with REUSE_FROM another target of the same options.
set(QVR_COMMON_HEADERS
    <fmt/format.h>
    <algorithm> <array> <filesystem> <fstream> <functional> <map> <memory> <mutex> <optional> <ranges> <span> <string>
    <thread> <variant> <vector>)

# Optimises a target that loops over pixels. The presets with sanitizers build the rest with -O0, because there compiling
# takes longer than running; for these loops it is the other way round. At -O1 Clang would not inline.
function(qvr_optimise target)
    if(QVR_SANITIZE)
        target_compile_options(${target} PRIVATE -O2)
    endif()
endfunction()

# A library named `file` that programs load at run time. It exports only the symbols of the version script.
# -Bsymbolic: two GenTL producers in a process export the same names, and each must call its own functions.
function(qvr_add_plugin target file version_script)
    add_library(${target} MODULE ${ARGN})
    cmake_path(GET file STEM LAST_ONLY stem)
    cmake_path(GET file EXTENSION LAST_ONLY extension)
    set_target_properties(${target} PROPERTIES
        PREFIX "" OUTPUT_NAME "${stem}" SUFFIX "${extension}"
        LINK_DEPENDS "${version_script}")
    target_link_options(${target} PRIVATE
        -Wl,-Bsymbolic -Wl,--version-script=${version_script})
    if(NOT QVR_SANITIZE)
        target_link_options(${target} PRIVATE -Wl,--no-undefined)
    endif()
    target_link_libraries(${target} PRIVATE qvr_build_settings)
endfunction()

# Writes a linker version script that exports the functions of the file `list`, which has lines FN(group,
# name, ...) or CVL_...(name).
#   PREFIX <text>      added before each name of the list
#   ALSO <symbol>...   more symbols to export
#   WITHOUT <name>...  functions of the list to leave out
function(qvr_version_script output list)
    cmake_parse_arguments(PARSE_ARGV 2 script "" "PREFIX" "ALSO;WITHOUT")
    file(STRINGS "${list}" lines REGEX "^[A-Z_]+\\(")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${list}")
    set(names "")
    foreach(line IN LISTS lines)
        string(REGEX REPLACE "^[A-Z_]+\\(([A-Z0-9_]+, )?([A-Za-z0-9_]+).*" "\\2" name "${line}")
        if(NOT name IN_LIST script_WITHOUT)
            list(APPEND names "${script_PREFIX}${name}")
        endif()
    endforeach()
    set(symbols "")
    foreach(symbol IN LISTS script_ALSO names)
        string(APPEND symbols "    ${symbol};\n")
    endforeach()
    file(CONFIGURE OUTPUT "${output}" CONTENT "{\nglobal:\n${symbols}local:\n    *;\n};\n" @ONLY)
endfunction()
