# Builds what a camera installs, for KORVEX_MACHINE (aarch64 or x86_64): clang, which takes the C library of any sysroot,
# and the older one of tools/sysroot, so that the program runs on older firmware than this machine. The C++ library comes
# with the program.
set(KORVEX_MACHINE aarch64 CACHE STRING "The camera's processor: aarch64 or x86_64")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KORVEX_MACHINE)
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${KORVEX_MACHINE})
set(CMAKE_LIBRARY_ARCHITECTURE ${KORVEX_MACHINE}-linux-gnu)
set(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot/camera-${KORVEX_MACHINE})
# A compiler's cache gives out what another folder has compiled, and rewrites paths.
unset(ENV{CMAKE_C_COMPILER_LAUNCHER})
unset(ENV{CMAKE_CXX_COMPILER_LAUNCHER})
# A path of the machine that built it would differ from one to the next.
get_filename_component(repository ${CMAKE_CURRENT_LIST_DIR}/.. ABSOLUTE)
foreach(language C CXX)
    set(CMAKE_${language}_COMPILER_TARGET ${CMAKE_LIBRARY_ARCHITECTURE})
    set(CMAKE_${language}_FLAGS_INIT "-fPIE -fstack-protector-strong -ffunction-sections -fdata-sections -ffile-prefix-map=${repository}=.")
    set(CMAKE_${language}_FLAGS_RELEASE "-O2 -DNDEBUG -D_FORTIFY_SOURCE=2" CACHE STRING "")
endforeach()
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
# What the camera's libraries need themselves is the camera's matter; they find nothing of this program's C++ library.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=lld -pie -static-libstdc++ -static-libgcc -Wl,--gc-sections -Wl,-z,relro,-z,now -Wl,--as-needed -Wl,--exclude-libs,ALL -Wl,--allow-shlib-undefined")
include(${CMAKE_CURRENT_LIST_DIR}/sysroot.cmake)
