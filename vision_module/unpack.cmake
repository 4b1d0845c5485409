# The unpacking of pixel formats, which needs nothing of the rest of the vision library.
find_package(hwy REQUIRED)

add_library(vision_unpack STATIC
    past_cache.cpp
    unpack.cpp
    unpack_kernels.cpp
    unpack_layout.cpp
    unpack_scalar.cpp)
target_include_directories(vision_unpack PUBLIC "${PROJECT_SOURCE_DIR}")
target_link_libraries(vision_unpack PUBLIC pixel_formats PRIVATE hwy::hwy)
# Highway makes each of these files include itself once per instruction set.
set_source_files_properties(past_cache.cpp unpack_kernels.cpp PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
qvr_optimise(vision_unpack)
