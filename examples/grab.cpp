// Prints what ten frames of a camera hold: grab [DEVICE]
#include "gentl_camera.h"

#include <cstdio>
#include <numeric>

int main(int argc, char **argv)
try
{
    Camera camera(argc > 1 ? argv[1] : "");
    camera.Start();
    for (int i = 0; i < 10; ++i)
    {
        const Frame frame = camera.Next();
        const auto pixels = frame.Pixels<uint8_t>(); // Mono8 and its kin; uint16_t for Mono10 to Mono16
        const double sum = std::accumulate(pixels.begin(), pixels.end(), 0.0);
        std::printf("%llu %zu x %zu, mean %.1f\n", static_cast<unsigned long long>(frame.Id()), frame.Width(),
                    frame.Height(), sum / static_cast<double>(pixels.size()));
    }
    return 0;
}
catch (const std::exception &error)
{
    std::fprintf(stderr, "grab: %s\n", error.what());
    return 1;
}
