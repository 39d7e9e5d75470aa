# Inputs that fuzzers once found are replayed in every run.
target_compile_definitions(${target} PRIVATE SAMPIVO_FUZZ_FINDINGS="${CMAKE_CURRENT_SOURCE_DIR}/fuzz/findings")

# With SAMPIVO_FUZZ=ON and clang, both targets are also built as libFuzzer binaries,
# each with a short bounded run in CTest. docs/FUZZING.md tells how to configure that build.
if(NOT SAMPIVO_FUZZ)
    return()
endif()

if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "SAMPIVO_FUZZ needs clang: configure with CC=clang CXX=clang++")
endif()

if(NOT SAMPIVO_SANITIZER STREQUAL "address")
    message(WARNING "SAMPIVO_FUZZ without -DSAMPIVO_SANITIZER=address finds crashes only, not memory errors")
endif()

# Coverage for libFuzzer in everything the targets reach: our code and the JUCE code
# (its XML reader and audio file readers) of the shared-code library.
target_compile_options(VantrelSampivo PRIVATE -fsanitize=fuzzer-no-link)

foreach(fuzzer IN ITEMS state:StateFuzzer:StateFuzzTarget audio:AudioFileFuzzer:AudioFileFuzzTarget)
    string(REPLACE ":" ";" parts "${fuzzer}")
    list(GET parts 0 name)
    list(GET parts 1 entry)
    list(GET parts 2 harness)

    add_executable(sampivo_${name}_fuzzer "${CMAKE_CURRENT_SOURCE_DIR}/fuzz/libfuzzer/${entry}.cpp"
                                          "${CMAKE_CURRENT_SOURCE_DIR}/fuzz/${harness}.cpp")
    sampivo_use_shared_code(sampivo_${name}_fuzzer)
    target_link_libraries(sampivo_${name}_fuzzer PRIVATE sampivo_test_support)
    target_include_directories(sampivo_${name}_fuzzer PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}/fuzz")
    target_compile_options(sampivo_${name}_fuzzer PRIVATE -fsanitize=fuzzer)
    target_link_options(sampivo_${name}_fuzzer PRIVATE -fsanitize=fuzzer)

    # A short deterministic run from a fresh corpus folder, which the target fills with
    # its seeds first.
    set(corpus "${CMAKE_CURRENT_BINARY_DIR}/${name}-corpus")
    add_test(NAME fuzz.${name}_libfuzzer
             COMMAND sh -c "rm -rf '${corpus}' && mkdir -p '${corpus}' && exec \"$0\" -runs=20000 -seed=1 -max_len=65536 '${corpus}'"
                     $<TARGET_FILE:sampivo_${name}_fuzzer>)
    set_tests_properties(fuzz.${name}_libfuzzer PROPERTIES LABELS fuzz)
endforeach()
