# The unpacking of pixel formats. It depends on nothing else in the vision module.
find_package(hwy REQUIRED)

add_library(vision_unpack STATIC
    past_cache.cpp
    unpack.cpp
    unpack_kernels.cpp
    unpack_layout.cpp
    unpack_scalar.cpp)
target_include_directories(vision_unpack PUBLIC "${PROJECT_SOURCE_DIR}")
target_link_libraries(vision_unpack PUBLIC pixel_formats PRIVATE hwy::hwy)
# Each of these files includes itself once per instruction set, by way of Highway.
set_source_files_properties(past_cache.cpp unpack_kernels.cpp PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
qvr_optimise(vision_unpack)
# For ThreadSanitizer one instruction set is enough: the others compute otherwise, but share the same memory between threads.
if(QVR_SANITIZE STREQUAL "thread")
    target_compile_definitions(vision_unpack PUBLIC HWY_COMPILE_ONLY_STATIC)
endif()
