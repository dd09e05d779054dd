# What all targets of the project share: warnings, sanitizers, and the one way to make a library.

add_library(LumvoDataWarnings INTERFACE)
if(MSVC)
    # C4251 and C4275 are about members and bases of the standard library in exported classes: libraries and programs
    # of one process are built with one runtime.
    target_compile_options(LumvoDataWarnings INTERFACE /W4 /WX /wd4251 /wd4275 /utf-8)
else()
    target_compile_options(LumvoDataWarnings INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wnon-virtual-dtor
        -Woverloaded-virtual -Wcast-qual -Wundef -Werror)
endif()

set(LUMVODATA_SANITIZE "" CACHE STRING "Sanitizers for every target, such as address,undefined")
if(LUMVODATA_SANITIZE)
    add_compile_options(-fsanitize=${LUMVODATA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${LUMVODATA_SANITIZE})
endif()

# lumvodata_rpath(NAME PATH): where an installed target looks for the libraries, in the build tree as in the
# installation: their folders are laid out alike. A path that is to be replaced by the installation would get empty
# entries from CMake as padding, and an empty entry makes the loader search the current folder.
function(lumvodata_rpath name path)
    set_target_properties(${name} PROPERTIES
        BUILD_WITH_INSTALL_RPATH ON
        INSTALL_RPATH ${path}
        INSTALL_RPATH_USE_LINK_PATH ON)
endfunction()

# lumvodata_library(NAME): a shared library that shows its exported symbols only.
function(lumvodata_library name)
    add_library(${name} SHARED)
    add_library(LumvoData::${name} ALIAS ${name})
    target_compile_features(${name} PUBLIC cxx_std_17)
    # The file sets of headers say the same, but only to CMake 3.23 and later.
    target_include_directories(${name} INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:LumvoDataWarnings>)
    lumvodata_rpath(${name} $ORIGIN)
    set_target_properties(${name} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
    # Every sum, product and float is rounded by itself: no fused multiply-add, no wider registers.
    if(NOT MSVC)
        target_compile_options(${name} PRIVATE -ffp-contract=off)
        if(CMAKE_SYSTEM_PROCESSOR MATCHES "86|AMD64" AND CMAKE_SIZEOF_VOID_P EQUAL 4)
            target_compile_options(${name} PRIVATE -msse2 -mfpmath=sse)
        endif()
    endif()
    # Files beyond 2 GiB on 32-bit systems.
    if(UNIX)
        target_compile_definitions(${name} PRIVATE _FILE_OFFSET_BITS=64)
    endif()
    if(UNIX AND NOT APPLE)
        target_link_options(${name} PRIVATE LINKER:--no-undefined,--as-needed)
    endif()
endfunction()

# lumvodata_program(NAME): an executable of the project, installed or not, that is no part of the package.
function(lumvodata_program name)
    add_executable(${name})
    target_compile_features(${name} PRIVATE cxx_std_17)
    target_link_libraries(${name} PRIVATE LumvoDataWarnings)
    set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF)
endfunction()
