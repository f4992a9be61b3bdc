# MinGW-w64's compilers for 64-bit Windows, as Debian and MSYS2 name them. Everything is linked statically, so that
# a program needs no library of the compiler's beside it. Where there is Wine, built programs run under it.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(triplet x86_64-w64-mingw32)
# Debian has two variants, of which this one has the threads of C++ and POSIX.
find_program(CMAKE_C_COMPILER NAMES ${triplet}-gcc-posix ${triplet}-gcc REQUIRED)
find_program(CMAKE_CXX_COMPILER NAMES ${triplet}-g++-posix ${triplet}-g++ REQUIRED)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
if(NOT CMAKE_HOST_WIN32)
    find_program(PELKO_WINE NAMES wine wine64)
    if(PELKO_WINE)
        set(CMAKE_CROSSCOMPILING_EMULATOR ${PELKO_WINE})
    endif()
    set(CMAKE_FIND_ROOT_PATH /usr/${triplet})
    set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
    set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
    set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
    set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
endif()
