# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT

# updater_options carries the warnings, defines and instrumentation of every target of this project.
add_library(updater_options INTERFACE)
target_compile_features(updater_options INTERFACE cxx_std_17)
target_compile_options(updater_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align
    $<$<BOOL:${UPDATER_WERROR}>:-Werror>)
target_compile_definitions(updater_options INTERFACE
    QT_NO_MESSAGELOGCONTEXT # log lines carry no source position, in every build type
    QT_NO_CAST_FROM_BYTEARRAY
    QT_DISABLE_DEPRECATED_BEFORE=0x050F00)

if(UPDATER_SANITIZE)
    string(REPLACE ";" "," updater_sanitizers "${UPDATER_SANITIZE}")
    target_compile_options(updater_options INTERFACE
        -fsanitize=${updater_sanitizers} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(updater_options INTERFACE -fsanitize=${updater_sanitizers})
endif()

if(UPDATER_COVERAGE)
    # The program is counted, not its tests. For C++ only: the tests' Objective-C++ has another compiler, which
    # counts differently. Threads count concurrently; without atomic counters a sum could become negative.
    # Without exceptions, which nothing here throws, the branches that a compiler adds for them do not count; what
    # catches those of a library sets -fexceptions.
    set(updater_counted "$<AND:$<COMPILE_LANGUAGE:CXX>,$<BOOL:$<TARGET_PROPERTY:UPDATER_COUNTED>>>")
    target_compile_options(updater_options INTERFACE
        $<${updater_counted}:--coverage> $<${updater_counted}:-fprofile-update=atomic>
        $<${updater_counted}:-fno-exceptions>)
    target_link_options(updater_options INTERFACE --coverage)
endif()

# updater_configure_target(target): what every target of this project has in common.
function(updater_configure_target target)
    target_link_libraries(${target} PRIVATE updater_options)
    set_target_properties(${target} PROPERTIES
        CXX_STANDARD 17
        CXX_STANDARD_REQUIRED ON
        CXX_EXTENSIONS OFF)
    if(NOT CMAKE_CURRENT_SOURCE_DIR MATCHES "^${PROJECT_SOURCE_DIR}/(tests|examples)(/|$)")
        set_target_properties(${target} PROPERTIES UPDATER_COUNTED ON)
    endif()
endfunction()

# updater_add_library(target sources...): one of the static libraries, included as "folder/Header.h".
function(updater_add_library target)
    add_library(${target} STATIC ${ARGN})
    updater_configure_target(${target})
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
endfunction()
