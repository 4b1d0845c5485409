# The unpacking of pixel formats, which needs nothing of the rest of the vision library.
find_package(hwy REQUIRED)

add_library(vision_unpack STATIC
    past_cache.cpp
    unpack.cpp
    unpack_kernels.cpp
    unpack_layout.cpp
    unpack_scalar.cpp
    "${PROJECT_SOURCE_DIR}/src/common/pixel_format.cpp")
target_include_directories(vision_unpack PUBLIC "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/src")
target_link_libraries(vision_unpack PUBLIC qvr_build_settings PRIVATE hwy::hwy)
