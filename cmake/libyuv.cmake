# libyuv as Debian packages it: a library and headers, no pkg-config file.
find_library(KORVEX_LIBYUV_LIBRARY yuv REQUIRED)
find_path(KORVEX_LIBYUV_INCLUDE libyuv.h REQUIRED)
add_library(korvex_libyuv INTERFACE)
target_include_directories(korvex_libyuv SYSTEM INTERFACE ${KORVEX_LIBYUV_INCLUDE})
target_link_libraries(korvex_libyuv INTERFACE ${KORVEX_LIBYUV_LIBRARY})
