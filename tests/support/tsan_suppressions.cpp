// GDAL, which OpenCV initialises with its first image file, takes two of its own locks in both orders, on
// one thread. Only that report about that library is left out; races are reported there too. Goes when
// OpenCV is built without GDAL.
extern "C" __attribute__((visibility("default"))) const char *__tsan_default_suppressions();

const char *__tsan_default_suppressions()
{
    return "deadlock:libgdal.so\n";
}
