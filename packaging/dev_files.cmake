# The files for building consumers: headers, and files that lead pkg-config and CMake to them.
include(CMakePackageConfigHelpers)

install(FILES "${PROJECT_SOURCE_DIR}/include/tarn_cvl/tarn_cvl.h"
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT dev)
install(FILES
    "${PROJECT_SOURCE_DIR}/include/gentl/functions.inc"
    "${PROJECT_SOURCE_DIR}/include/gentl/gentl.h"
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/gentl" COMPONENT dev)

# Not below lib/: the file is the same for every architecture, and cross-compilers search there.
set(pc_folder "${CMAKE_INSTALL_DATADIR}/pkgconfig")
file(RELATIVE_PATH prefix_from_pc "/${pc_folder}" "/")
cmake_path(NORMAL_PATH prefix_from_pc)
configure_file(qvr-proxygentl.pc.in qvr-proxygentl.pc @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/qvr-proxygentl.pc" DESTINATION "${pc_folder}" COMPONENT dev)

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/qvr_proxygentl")
set(proxygentl_dir "${CMAKE_INSTALL_LIBDIR}/qvr_proxygentl")
set(anygentl_dir "${CMAKE_INSTALL_LIBDIR}/qvr_anygentl")
configure_package_config_file(qvr_proxygentl-config.cmake.in qvr_proxygentl-config.cmake
    INSTALL_DESTINATION "${package_folder}"
    PATH_VARS CMAKE_INSTALL_INCLUDEDIR proxygentl_dir anygentl_dir)
write_basic_package_version_file(qvr_proxygentl-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    "${CMAKE_CURRENT_BINARY_DIR}/qvr_proxygentl-config.cmake"
    "${CMAKE_CURRENT_BINARY_DIR}/qvr_proxygentl-config-version.cmake"
    DESTINATION "${package_folder}" COMPONENT dev)
