// Prints the coordinates of the points in a PLY file as floats. It reads them with a library that did not
// write them.

#include <opencv2/viz/vizcore.hpp>

#include <cstdio>

int main(int argc, char **argv)
{
    const cv::Mat points = argc == 2 ? cv::viz::readCloud(argv[1]) : cv::Mat();
    if (points.type() != CV_32FC3 || !points.isContinuous())
    {
        return 1;
    }
    const auto count = points.total() * points.elemSize();
    return std::fwrite(points.data, 1, count, stdout) == count ? 0 : 1;
}
