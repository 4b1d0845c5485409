# The Debian packages that `cpack --config build/release/CPackConfig.cmake` makes: one for each
# component that is built. debian/<package> has what a package needs beside the installed files: its
# description, its maintainer scripts, README.Debian, and more files under root/.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qvr-proxygentl)
set(CPACK_PACKAGE_VENDOR QVR)
set(CPACK_PACKAGE_CONTACT "Maintainers of qvr_proxygentl <maintainers@qvr.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
# Below 1, the first revision of a package that Debian itself would make.
set(CPACK_DEBIAN_PACKAGE_RELEASE 0qvr1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(debian_version "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")

# Variables for the files of debian/<package>.
set(QVR_SIMULATOR_FILE "usr/${simulator}")
set(QVR_ANY_FOLDER "usr/${CMAKE_INSTALL_LIBDIR}/qvr_anygentl")
list(TRANSFORM lower_producers PREPEND "usr/" OUTPUT_VARIABLE QVR_LOWER_PRODUCERS)
list(JOIN QVR_LOWER_PRODUCERS " " QVR_LOWER_PRODUCERS)

set(debian_files "${CMAKE_CURRENT_BINARY_DIR}/debian")
set(CPACK_COMPONENTS_ALL "")
set(staged_packages "")

# Makes a package of a component. Further arguments are <field> <value> pairs for its control file.
macro(qvr_debian_package component package)
    set(folder "${CMAKE_CURRENT_SOURCE_DIR}/debian/${package}")
    string(TOUPPER "${component}" prefix)
    set(prefix "CPACK_DEBIAN_${prefix}")
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    list(APPEND staged_packages ${component}=${package})
    set(${prefix}_PACKAGE_NAME ${package})
    file(READ "${folder}/description" ${prefix}_DESCRIPTION)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${folder}/description")
    file(GLOB_RECURSE files RELATIVE "${folder}" CONFIGURE_DEPENDS "${folder}/*")
    foreach(file IN LISTS files)
        string(REGEX REPLACE "\\.in$" "" made "${file}")
        configure_file("${folder}/${file}" "${debian_files}/${package}/${made}" @ONLY)
        if(made MATCHES "^(preinst|postinst|prerm|postrm|triggers|conffiles)$")
            list(APPEND ${prefix}_PACKAGE_CONTROL_EXTRA "${debian_files}/${package}/${made}")
        endif()
    endforeach()
    set(fields ${ARGN})
    while(fields)
        list(POP_FRONT fields field value)
        set(${prefix}_PACKAGE_${field} "${value}")
    endwhile()
    # Before 1.0.0-0qvr1, one package held the files of all of these.
    if(NOT "${package}" STREQUAL "${CPACK_PACKAGE_NAME}")
        set(${prefix}_PACKAGE_BREAKS "${CPACK_PACKAGE_NAME} (<< 1.0.0-0qvr1)")
        set(${prefix}_PACKAGE_REPLACES "${CPACK_PACKAGE_NAME} (<< 1.0.0-0qvr1)")
    endif()
endmacro()

# qvr_proxygentl.cti does not start without a vision library. Packages of other vision libraries
# provide libqvr-tarn-cvl.
qvr_debian_package(producers qvr-proxygentl SECTION libs
    DEPENDS "libqvr-tarn-cvl-open (= ${debian_version}) | libqvr-tarn-cvl"
    RECOMMENDS "qvr-gevgentl-sim"
    SUGGESTS "gentlctl")
if(QVR_VISION_MODULE)
    qvr_debian_package(vision_module libqvr-tarn-cvl-open SECTION libs PROVIDES libqvr-tarn-cvl)
endif()
if(QVR_SIMULATOR)
    qvr_debian_package(simulator qvr-gevgentl-sim SECTION libs ENHANCES qvr-proxygentl)
endif()
if(QVR_TOOL)
    qvr_debian_package(gentlctl gentlctl SECTION science RECOMMENDS qvr-proxygentl)
endif()
qvr_debian_package(dev qvr-proxygentl-dev SECTION libdevel SUGGESTS qvr-proxygentl)

configure_file(debian/complete.cmake.in "${debian_files}/complete.cmake" @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS "${debian_files}/complete.cmake")
set(CPACK_POST_BUILD_SCRIPTS "${CMAKE_CURRENT_SOURCE_DIR}/debian/drop_ldconfig_scripts.cmake")
include(CPack)

# Everything that the packages contain, for a build without tests.
add_custom_target(packaged DEPENDS qvr_proxygentl qvr_anygentl)
foreach(part tarn_cvl qvr_gevgentl qvr_sim_images gentlctl gentlctl_pages)
    if(TARGET ${part})
        add_dependencies(packaged ${part})
    endif()
endforeach()
