# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT

# Builds the project in this folder by clang++ and registers a test fuzz_SUBJECT for each target: five
# seconds, from the committed seeds on and always with the same random numbers. `./check fuzz MINUTES`
# runs the same programs longer.
find_program(UPDATER_FUZZ_CXX NAMES clang++ clang++-14)
if(UPDATER_FUZZ_CXX AND NOT DEFINED UPDATER_FUZZ_WORKS)
    set(probe ${CMAKE_BINARY_DIR}/fuzz_probe)
    file(WRITE ${probe}.cpp
        "extern \"C\" int LLVMFuzzerTestOneInput(const unsigned char *, unsigned long) { return 0; }\n")
    execute_process(
        COMMAND ${UPDATER_FUZZ_CXX} -fsanitize=fuzzer,address,undefined ${probe}.cpp -o ${probe}
        RESULT_VARIABLE failed OUTPUT_QUIET ERROR_QUIET)
    if(NOT failed)
        set(UPDATER_FUZZ_WORKS ON CACHE INTERNAL "clang++ has a fuzzer")
    endif()
endif()
if(NOT UPDATER_FUZZ_WORKS)
    message(STATUS "No fuzzing: clang++ with its fuzzer runtime was not found")
    return()
endif()

set(fuzz_dir ${CMAKE_BINARY_DIR}/fuzz)
# Part of every build: what has changed is known to the other project alone.
add_custom_target(updater_fuzz ALL
    COMMAND ${CMAKE_COMMAND} -S ${PROJECT_SOURCE_DIR}/tests/fuzz -B ${fuzz_dir} -G ${CMAKE_GENERATOR}
        --log-level=WARNING
        -DCMAKE_CXX_COMPILER=${UPDATER_FUZZ_CXX}
        -DCMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER}
        -DCMAKE_BUILD_TYPE=RelWithDebInfo
        -DUPDATER_QT=${UPDATER_QT}
        -DCMAKE_EXPORT_COMPILE_COMMANDS=ON
    COMMAND ${CMAKE_COMMAND} --build ${fuzz_dir}
    COMMENT "Building the fuzz targets"
    USES_TERMINAL # alone, because it builds with as many jobs of its own
    VERBATIM)

foreach(subject manifest description versionnumber infoplist releasepaths releasemanifest)
    add_test(NAME fuzz_${subject}
        COMMAND ${PROJECT_SOURCE_DIR}/tests/support/isolated.sh
            ${PROJECT_SOURCE_DIR}/tests/fuzz/fuzz.sh ${fuzz_dir}/fuzz_${subject} 5 1)
    set_tests_properties(fuzz_${subject} PROPERTIES TIMEOUT 120 LABELS fuzz)
endforeach()
