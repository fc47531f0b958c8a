# korvex_camera_library(NAME FROM SYMBOLS [PC LIBRARIES...]): the objects of the static library FROM as libNAME.so.1, under
# the name that a camera's own has, with a pkg-config file PC. Only SYMBOLS are seen from outside: each library has its
# objects for the whole process once, however many parts of C++ two of them share.
function(korvex_camera_library name from symbols pc)
    set(target korvex_camera_${name})
    add_library(${target} SHARED EXCLUDE_FROM_ALL $<TARGET_OBJECTS:${from}>)
    target_link_libraries(${target} PRIVATE ${from} ${ARGN})
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${name}.map)
    file(CONFIGURE OUTPUT ${script} CONTENT "{ global: ${symbols}; local: *; };\n")
    target_link_options(${target} PRIVATE "LINKER:--version-script=${script}" "LINKER:-z,defs")
    set_target_properties(${target} PROPERTIES
        OUTPUT_NAME ${name} SOVERSION 1 LINK_DEPENDS ${script} SKIP_BUILD_RPATH ON)
    set(KORVEX_CAMERA_LIBRARY ${name})
    configure_file(camera_library.pc.in ${pc}.pc @ONLY)
    install(TARGETS ${target} LIBRARY DESTINATION lib COMPONENT camera EXCLUDE_FROM_ALL)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${pc}.pc DESTINATION lib/pkgconfig COMPONENT camera EXCLUDE_FROM_ALL)
    add_dependencies(korvex_camera_libraries ${target})
endfunction()

add_custom_target(korvex_camera_libraries)
korvex_camera_library(vdostream korvex_vdostream "vdo_*" vdostream)
korvex_camera_library(larod korvex_larod "larod*" liblarod)
korvex_camera_library(axparameter korvex_axparameter "ax_parameter_*" axparameter)
korvex_camera_library(axevent korvex_axevent "ax_event_*" axevent)
# The streams that it shows are those of the one video library.
korvex_camera_library(axoverlay korvex_axoverlay_service "axoverlay_*" axoverlay korvex_camera_vdostream)
install(DIRECTORY include/ DESTINATION include/korvex_camera COMPONENT camera EXCLUDE_FROM_ALL)
