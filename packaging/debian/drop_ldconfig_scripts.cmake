# CPack runs this on the packages that it has made. For a library below /usr/lib, CPack writes a
# postinst and a postrm that call ldconfig. Debian's policy forbids them beside the trigger of
# debian/libqvr-tarn-cvl-open, and CPack has no option that leaves them out.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
    if(package MATCHES "/libqvr-tarn-cvl-open_")
        set(tree "${package}.tree")
        execute_process(COMMAND dpkg-deb --raw-extract "${package}" "${tree}" COMMAND_ERROR_IS_FATAL ANY)
        file(REMOVE "${tree}/DEBIAN/postinst" "${tree}/DEBIAN/postrm")
        execute_process(COMMAND dpkg-deb --root-owner-group --build "${tree}" "${package}"
            OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
        file(REMOVE_RECURSE "${tree}")
    endif()
endforeach()
