# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT

include(GNUInstallDirs)

# On macOS the install prefix is the host's bundle.
if(APPLE)
    set(updater_install_bin Contents/MacOS)
    set(updater_install_doc Contents/Resources/updater)
else()
    set(updater_install_bin ${CMAKE_INSTALL_BINDIR})
    set(updater_install_doc ${CMAKE_INSTALL_DATADIR}/updater)
endif()

# updater_install(component PROGRAM target [BIN folder] [FILES files...]): the install rules of one component,
# which `cmake --install BUILD --prefix PREFIX --component NAME` installs. Without --component only the
# updater is installed, so that no release tool ends up in a bundle by accident.
#
# Installed programs find Qt where it was at build time, or in the bundle once it has been copied there.
function(updater_install component)
    if(NOT UPDATER_INSTALL)
        return()
    endif()
    cmake_parse_arguments(ARG "" "PROGRAM;BIN" "FILES" ${ARGN})
    if(NOT ARG_BIN)
        set(ARG_BIN ${updater_install_bin})
    endif()
    set(only_by_name)
    if(NOT component STREQUAL updater)
        set(only_by_name EXCLUDE_FROM_ALL)
    endif()
    set_target_properties(${ARG_PROGRAM} PROPERTIES
        INSTALL_RPATH "$<$<PLATFORM_ID:Darwin>:@executable_path/../Frameworks>"
        INSTALL_RPATH_USE_LINK_PATH ON)
    install(TARGETS ${ARG_PROGRAM}
        RUNTIME DESTINATION ${ARG_BIN} COMPONENT ${component} ${only_by_name})
    install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${ARG_FILES}
        DESTINATION ${updater_install_doc} COMPONENT ${component} ${only_by_name})
endfunction()
