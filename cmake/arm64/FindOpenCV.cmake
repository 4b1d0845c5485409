# Finds the few libraries of OpenCV that tests compare with. OpenCV's own package file requires all
# of its libraries and their dependencies.
include(FindPackageHandleStandardArgs)

find_path(OpenCV_INCLUDE_DIR opencv2/core.hpp PATH_SUFFIXES opencv4)
foreach(component IN LISTS OpenCV_FIND_COMPONENTS)
    find_library(OpenCV_${component}_LIBRARY opencv_${component})
    if(OpenCV_${component}_LIBRARY)
        set(OpenCV_${component}_FOUND TRUE)
    endif()
endforeach()
find_package_handle_standard_args(OpenCV REQUIRED_VARS OpenCV_INCLUDE_DIR HANDLE_COMPONENTS)

set(OpenCV_INCLUDE_DIRS "${OpenCV_INCLUDE_DIR}")
foreach(component IN LISTS OpenCV_FIND_COMPONENTS)
    if(OpenCV_FOUND AND NOT TARGET opencv_${component})
        add_library(opencv_${component} UNKNOWN IMPORTED)
        set_target_properties(opencv_${component} PROPERTIES
            IMPORTED_LOCATION "${OpenCV_${component}_LIBRARY}"
            INTERFACE_INCLUDE_DIRECTORIES "${OpenCV_INCLUDE_DIR}")
    endif()
endforeach()
