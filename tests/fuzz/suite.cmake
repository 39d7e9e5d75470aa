# With SAMPIVO_FUZZ=ON and clang, the target is also built as a libFuzzer binary, with
# a short bounded run in CTest. docs/FUZZING.md tells how to configure that build.
if(NOT SAMPIVO_FUZZ)
    return()
endif()

if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "SAMPIVO_FUZZ needs clang: configure with CC=clang CXX=clang++")
endif()

if(NOT SAMPIVO_SANITIZER STREQUAL "address")
    message(WARNING "SAMPIVO_FUZZ without -DSAMPIVO_SANITIZER=address finds crashes only, not memory errors")
endif()

# Coverage for libFuzzer in everything the target reaches: our code and JUCE's XML
# reader, which live in the shared-code library.
target_compile_options(VantrelSampivo PRIVATE -fsanitize=fuzzer-no-link)

add_executable(sampivo_state_fuzzer "${CMAKE_CURRENT_SOURCE_DIR}/fuzz/StateFuzzTarget.cpp")
sampivo_use_shared_code(sampivo_state_fuzzer)
target_include_directories(sampivo_state_fuzzer PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}/fuzz")
target_compile_options(sampivo_state_fuzzer PRIVATE -fsanitize=fuzzer)
target_link_options(sampivo_state_fuzzer PRIVATE -fsanitize=fuzzer)

# A short deterministic run from a fresh corpus folder, which the target fills with
# its seeds first.
set(corpus "${CMAKE_CURRENT_BINARY_DIR}/state-corpus")
add_test(NAME fuzz.state_libfuzzer
         COMMAND sh -c "rm -rf '${corpus}' && mkdir -p '${corpus}' && exec \"$0\" -runs=20000 -seed=1 -max_len=8192 '${corpus}'"
                 $<TARGET_FILE:sampivo_state_fuzzer>)
set_tests_properties(fuzz.state_libfuzzer PROPERTIES LABELS fuzz)
