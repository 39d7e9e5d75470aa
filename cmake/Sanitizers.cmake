# SAMPIVO_SANITIZER=address gives AddressSanitizer with UndefinedBehaviorSanitizer,
# SAMPIVO_SANITIZER=thread gives ThreadSanitizer. Applied to everything, JUCE included,
# so that reports cover the whole process.
if(SAMPIVO_SANITIZER STREQUAL "address")
    set(SAMPIVO_SANITIZER_FLAGS -fsanitize=address,undefined -fno-sanitize-recover=undefined
                                -fno-omit-frame-pointer)
elseif(SAMPIVO_SANITIZER STREQUAL "thread")
    set(SAMPIVO_SANITIZER_FLAGS -fsanitize=thread -fno-omit-frame-pointer)
elseif(NOT SAMPIVO_SANITIZER STREQUAL "")
    message(FATAL_ERROR "SAMPIVO_SANITIZER must be empty, 'address' or 'thread'")
endif()

if(SAMPIVO_SANITIZER_FLAGS)
    add_compile_options(${SAMPIVO_SANITIZER_FLAGS})
    add_link_options(${SAMPIVO_SANITIZER_FLAGS})
endif()

# Undefined behaviour inside JUCE that we can't change, exempted file by file (the
# runtime can't suppress a check that is compiled to abort). Each entry says why.
if(SAMPIVO_SANITIZER STREQUAL "address")
    function(sampivo_exempt_juce_sources)
        # juce::FlacReader::useSamples widens decoded samples with `sample << shift`,
        # which for negative samples is undefined in C++17 (defined, and what the code
        # means, from C++20 on). Every FLAC file with a negative sample trips it.
        #
        # JUCE's MP3 decoder, in its intensity-stereo step for long blocks, runs the last
        # scale-factor band from the end of the spectrum when the right channel has
        # content in the top band (a damaged or hostile frame): up to 192 values past
        # the end of the first channel's row. The reads land in the second channel's
        # row and the writes in the hybrid output buffer that follows it in the same
        # decoder object, which the next step overwrites in full before anything reads
        # it; no memory outside the decoder is touched (AddressSanitizer, still on,
        # would see that). The array-bounds check of UBSan reports it all the same.
        set_property(SOURCE "${JUCE_MODULES_DIR}/juce_audio_formats/juce_audio_formats.cpp"
                     APPEND PROPERTY COMPILE_OPTIONS -fno-sanitize=shift-base,bounds)
    endfunction()

    # JUCE_MODULES_DIR is known only once JUCE has been found, later in the top level.
    cmake_language(DEFER CALL sampivo_exempt_juce_sources)
endif()
