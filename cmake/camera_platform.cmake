# The camera's own five libraries, as its cross-build environment offers them through pkg-config.
pkg_search_module(VDOSTREAM REQUIRED IMPORTED_TARGET vdostream libvdostream)
pkg_search_module(LAROD REQUIRED IMPORTED_TARGET liblarod larod)
pkg_search_module(AXPARAMETER REQUIRED IMPORTED_TARGET axparameter libaxparameter)
pkg_search_module(AXEVENT REQUIRED IMPORTED_TARGET axevent libaxevent)
pkg_search_module(AXOVERLAY REQUIRED IMPORTED_TARGET axoverlay libaxoverlay)

add_library(korvex_platform INTERFACE)
target_link_libraries(korvex_platform INTERFACE
    PkgConfig::VDOSTREAM PkgConfig::LAROD PkgConfig::AXPARAMETER PkgConfig::AXEVENT PkgConfig::AXOVERLAY)
add_library(korvex_platform_headers INTERFACE)
target_include_directories(korvex_platform_headers SYSTEM INTERFACE
    ${VDOSTREAM_INCLUDE_DIRS} ${LAROD_INCLUDE_DIRS} ${AXPARAMETER_INCLUDE_DIRS} ${AXEVENT_INCLUDE_DIRS}
    ${AXOVERLAY_INCLUDE_DIRS})

# What a firmware may lack is beside the program.
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
set(CMAKE_INSTALL_RPATH $ORIGIN/lib)
