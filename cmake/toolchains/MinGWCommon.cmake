# What the two MinGW-w64 toolchain files share (Debian's compilers, posix thread
# model). The including file sets SAMPIVO_MINGW_TRIPLET and CMAKE_SYSTEM_PROCESSOR.
set(CMAKE_SYSTEM_NAME Windows)

set(CMAKE_C_COMPILER ${SAMPIVO_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${SAMPIVO_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${SAMPIVO_MINGW_TRIPLET}-windres)
set(CMAKE_AR ${SAMPIVO_MINGW_TRIPLET}-ar CACHE FILEPATH "Archiver")
set(CMAKE_RANLIB ${SAMPIVO_MINGW_TRIPLET}-ranlib CACHE FILEPATH "Ranlib")

# Everything the DLL needs is linked in: a host has no MinGW runtime DLLs to offer.
# --kill-at drops the stdcall decoration from 32-bit exports (GetPluginFactory, not
# GetPluginFactory@0) and changes nothing on x86-64; no timestamp keeps rebuilds
# byte-identical.
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static-libgcc -static-libstdc++ -static -Wl,--kill-at -Wl,--no-insert-timestamp")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${CMAKE_SHARED_LINKER_FLAGS_INIT}")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static-libgcc -static-libstdc++ -static -Wl,--no-insert-timestamp")

# Libraries and headers come from the MinGW sysroot and from the prefixes given in
# CMAKE_PREFIX_PATH (the cross-built codecs); programs run on the build machine.
set(CMAKE_FIND_ROOT_PATH /usr/${SAMPIVO_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
