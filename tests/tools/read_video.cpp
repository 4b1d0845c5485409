// Prints the frames of a video file: a line with width, height and frames per second, then the pixels of each
// frame, blue first. It reads them with a library that did not write them.

#include <opencv2/videoio.hpp>

#include <cstdio>

int main(int argc, char **argv)
{
    cv::VideoCapture video(argc == 2 ? argv[1] : "");
    std::printf("%g %g %g\n", video.get(cv::CAP_PROP_FRAME_WIDTH), video.get(cv::CAP_PROP_FRAME_HEIGHT),
                video.get(cv::CAP_PROP_FPS));
    for (cv::Mat frame; video.read(frame);)
    {
        std::fwrite(frame.data, frame.elemSize(), frame.total(), stdout);
    }
    return 0;
}
