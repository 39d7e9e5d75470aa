# Brings in JUCE's CMake API for builds that cannot use find_package(JUCE): the
# Debian package's version file refuses 32-bit targets, so the Windows cross builds
# (i686, and x86_64 the same way so that both follow one path) include JUCE's CMake
# scripts directly and take the module sources from SAMPIVO_JUCE_MODULES_COPY, a
# copy of the Debian modules with the changes that MinGW needs (made by
# scripts/windows/prepare-juce-modules.sh).
#
# The build-host tool juceaide (binary data, resource scripts, header generation)
# is the Linux one from the same JUCE package: it runs on the build machine only.

set(SAMPIVO_JUCE_CMAKE_DIR "/usr/lib/x86_64-linux-gnu/cmake/JUCE-7.0.5"
    CACHE PATH "Folder with JUCE's CMake scripts (JUCEModuleSupport.cmake, JUCEUtils.cmake)")
set(SAMPIVO_JUCEAIDE "/usr/lib/x86_64-linux-gnu/juce/juceaide"
    CACHE FILEPATH "juceaide built for the build machine")

foreach(required_file IN ITEMS
        "${SAMPIVO_JUCE_CMAKE_DIR}/JUCEModuleSupport.cmake"
        "${SAMPIVO_JUCE_CMAKE_DIR}/JUCEUtils.cmake"
        "${SAMPIVO_JUCEAIDE}"
        "${SAMPIVO_JUCE_MODULES_COPY}/juce_core/juce_core.h")
    if(NOT EXISTS "${required_file}")
        message(FATAL_ERROR "JUCE file not found: ${required_file}")
    endif()
endforeach()

if(NOT TARGET juce::juceaide)
    add_executable(juce::juceaide IMPORTED GLOBAL)
    set_target_properties(juce::juceaide PROPERTIES IMPORTED_LOCATION "${SAMPIVO_JUCEAIDE}")
endif()

set(JUCE_MODULES_DIR "${SAMPIVO_JUCE_MODULES_COPY}" CACHE INTERNAL "The path to JUCE modules")

include("${SAMPIVO_JUCE_CMAKE_DIR}/JUCEModuleSupport.cmake")
include("${SAMPIVO_JUCE_CMAKE_DIR}/JUCEUtils.cmake")

# Every module of the copy becomes juce::<module>, as JUCE's package config does.
file(GLOB sampivo_juce_module_dirs LIST_DIRECTORIES true "${SAMPIVO_JUCE_MODULES_COPY}/juce_*")
foreach(module_dir IN LISTS sampivo_juce_module_dirs)
    get_filename_component(module_name "${module_dir}" NAME)
    if(IS_DIRECTORY "${module_dir}" AND NOT TARGET ${module_name})
        juce_add_module("${module_dir}" ALIAS_NAMESPACE juce)
    endif()
endforeach()
unset(sampivo_juce_module_dirs)

# The DLL must not depend on where the sources and the build folder are: paths that
# reach the compiler absolute (__FILE__ in JUCE's modules and in our sources) are
# written relative to fixed names. Later options win where prefixes nest, so the
# build folder and the module copy come after the source tree that may hold them.
# The build date comes from SOURCE_DATE_EPOCH (set by scripts/build-windows.sh).
add_compile_options(
    "-ffile-prefix-map=${CMAKE_SOURCE_DIR}=sampivo"
    "-ffile-prefix-map=${CMAKE_BINARY_DIR}=build"
    "-ffile-prefix-map=${SAMPIVO_JUCE_MODULES_COPY}=juce-modules")
