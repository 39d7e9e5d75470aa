# The host-level stress tests load the built bundle through the shared hosting helpers.
target_link_libraries(${target} PRIVATE sampivo_host_support)
