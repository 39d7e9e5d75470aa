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
