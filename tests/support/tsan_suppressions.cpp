// Suppresses reports about two libraries that are not built for ThreadSanitizer, so that it cannot see how
// they synchronise. Both come with OpenCV: GDAL, initialised with the first image file, takes two of its own
// locks in both orders on one thread; TBB hands work to its own threads. Remove this file when OpenCV is
// built without them.
extern "C" __attribute__((visibility("default"))) const char *__tsan_default_suppressions();

const char *__tsan_default_suppressions()
{
    return "deadlock:libgdal.so\nrace:libtbb.so\n";
}
