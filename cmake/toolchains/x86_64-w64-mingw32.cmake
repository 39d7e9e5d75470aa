# Cross-compiles for 64-bit Windows with Debian's MinGW-w64 (posix thread model).
# Used for the plug-in and for the static codec libraries it links.
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(SAMPIVO_MINGW_TRIPLET x86_64-w64-mingw32)

# x86-64 always has SSE2 and a 16-byte aligned stack at calls, so none of the
# 32-bit build's -msse2 -mfpmath=sse -mstackrealign is needed here.
include(${CMAKE_CURRENT_LIST_DIR}/MinGWCommon.cmake)
