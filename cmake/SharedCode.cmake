# Tests, benchmarks and tools link against the plug-in's shared-code library, in
# which JUCE's modules are compiled exactly once. They take its include paths and
# definitions (so that they see the same JUCE configuration) and the system
# libraries that JUCE's modules need on Linux.

# Only tests, benchmarks and tools use the shared code this way, and none of them
# is part of a cross build for Windows.
if(WIN32)
    return()
endif()

pkg_check_modules(SAMPIVO_SYSTEM_LIBS REQUIRED IMPORTED_TARGET freetype2 fontconfig alsa)
find_package(Threads REQUIRED)

function(sampivo_use_shared_code target)
    # SYSTEM keeps JUCE's own headers out of our warning count.
    target_include_directories(${target} SYSTEM PRIVATE
        $<TARGET_PROPERTY:VantrelSampivo,INCLUDE_DIRECTORIES>)
    target_compile_definitions(${target} PRIVATE
        $<TARGET_PROPERTY:VantrelSampivo,COMPILE_DEFINITIONS>)
    target_link_libraries(${target} PRIVATE
        VantrelSampivo
        PkgConfig::SAMPIVO_CODECS
        PkgConfig::SAMPIVO_SYSTEM_LIBS
        Threads::Threads
        ${CMAKE_DL_LIBS}
        rt)
    target_compile_options(${target} PRIVATE ${SAMPIVO_WARNING_FLAGS})
endfunction()
