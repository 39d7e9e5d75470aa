# Cross-compiles for 32-bit Windows with Debian's MinGW-w64 (posix thread model).
# Used for the plug-in and for the static codec libraries it links.
set(CMAKE_SYSTEM_PROCESSOR x86)
set(SAMPIVO_MINGW_TRIPLET i686-w64-mingw32)

# SSE2 maths instead of x87, with the stack realigned on entry: 32-bit hosts only
# guarantee 4-byte stack alignment when they call into the plug-in.
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")

include(${CMAKE_CURRENT_LIST_DIR}/MinGWCommon.cmake)
