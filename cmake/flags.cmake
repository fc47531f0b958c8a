# Compiler flags for code that is written here; a dependency's headers are system headers and stay out of the warnings.
add_library(korvex_flags INTERFACE)
target_compile_options(korvex_flags INTERFACE
    -Wall -Wextra -Wpedantic -Werror
    $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wthread-safety> # base/thread_safety.h
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict> # g++ 12 sees overlaps in "text" + std::string at -O3 that are not there
    $<$<COMPILE_LANGUAGE:CXX>:-Wshadow -Wconversion -Wnon-virtual-dtor -Wold-style-cast>
    # A product and a sum melted into one, as Arm would, are rounded otherwise: one machine would see what another misses.
    -ffp-contract=off)
if(KORVEX_SANITIZE)
    add_compile_options(-fsanitize=${KORVEX_SANITIZE} -fno-omit-frame-pointer)
    if(NOT KORVEX_SANITIZE STREQUAL "thread")
        add_compile_options(-fno-sanitize-recover=all)
    endif()
    add_link_options(-fsanitize=${KORVEX_SANITIZE})
endif()
