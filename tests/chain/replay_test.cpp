// Pictures of a folder, replayed by the simulator, arrive unchanged through the producer.

#include "consumer.h"
#include "support/environment_variable.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <filesystem>
#include <unistd.h>

namespace chain
{
namespace
{

namespace fs = std::filesystem;

/// A folder of different pictures of the sensor's size, in several file formats.
class Photographs
{
public:
    explicit Photographs(cv::Size size)
        : m_folder(fs::temp_directory_path() / ("photos-" + std::to_string(getpid())))
    {
        fs::create_directories(m_folder);
        cv::RNG random(7);
        for (const std::string extension : {".png", ".pgm", ".tiff", ".jpg", ".png"})
        {
            cv::Mat picture(size, CV_8UC1);
            random.fill(picture, cv::RNG::UNIFORM, 0, 256);
            cv::GaussianBlur(picture, picture, {0, 0}, 1 + static_cast<double>(m_files.size()));
            const auto file = m_folder / ("photo-" + std::to_string(m_files.size()) + extension);
            cv::imwrite(file.string(), picture);
            m_files.push_back(file.string());
        }
    }
    ~Photographs() { fs::remove_all(m_folder); }
    Photographs(const Photographs &) = delete;
    Photographs &operator=(const Photographs &) = delete;

    std::string Folder() const { return m_folder.string(); }
    size_t Count() const { return m_files.size(); }
    /// The picture in a file, as OpenCV reads it.
    cv::Mat Show(size_t index) const { return cv::imread(m_files[index], cv::IMREAD_GRAYSCALE); }

private:
    fs::path m_folder;
    std::vector<std::string> m_files;
};

cv::Mat PictureOf(Camera &camera, BUFFER_HANDLE buffer, int type)
{
    return {static_cast<int>(camera.BufferInfo<size_t>(buffer, BUFFER_INFO_HEIGHT)),
            static_cast<int>(camera.BufferInfo<size_t>(buffer, BUFFER_INFO_WIDTH)), type,
            camera.BufferInfo<void *>(buffer, BUFFER_INFO_BASE)};
}

/// Has the camera send this many frames.
void StartFor(Camera &camera, size_t frames)
{
    camera.Remote().Set("AcquisitionMode", "MultiFrame");
    camera.Remote().Set("AcquisitionFrameCount", std::to_string(frames));
    camera.AnnounceAndQueue(frames);
    camera.RegisterEvent();
    camera.Start();
}

TEST(Replay, GivesTheSamePictures)
{
    const Photographs photographs({1280, 1024});
    const internal::EnvironmentVariable folder("QVR_SIM_IMAGES", photographs.Folder());
    gentlctl::Producer producer(proxyProducer);
    Camera camera(producer, "OVRA-M1");
    StartFor(camera, photographs.Count());
    for (size_t i = 0; i < photographs.Count(); ++i)
    {
        auto *const buffer = camera.Take();
        EXPECT_EQ(cv::norm(PictureOf(camera, buffer, CV_8UC1), photographs.Show(i), cv::NORM_INF), 0)
            << "picture " << i;
    }
    camera.Stop(ACQ_STOP_FLAGS_KILL);
}

TEST(Replay, GivesTheSamePicturesUnpackedFromAPackedFormat)
{
    const Photographs photographs({640, 480});
    const internal::EnvironmentVariable folder("QVR_SIM_IMAGES", photographs.Folder());
    gentlctl::Producer producer(proxyProducer);
    Camera camera(producer, "OVRA-F1");
    camera.Remote().Set("PixelFormat", "Mono12");
    StartFor(camera, photographs.Count());
    for (size_t i = 0; i < photographs.Count(); ++i)
    {
        cv::Mat levels;
        PictureOf(camera, camera.Take(), CV_16UC1).convertTo(levels, CV_8U, 255.0 / 4095.0);
        EXPECT_LE(cv::norm(levels, photographs.Show(i), cv::NORM_INF), 1) << "picture " << i;
    }
    camera.Stop(ACQ_STOP_FLAGS_KILL);
}

} // namespace
} // namespace chain
