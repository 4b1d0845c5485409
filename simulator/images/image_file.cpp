#include "image_file.h"

#include <algorithm>
#include <cstdio>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <string>

namespace
{

/** Full scale of the file's samples to 65535. */
cv::Mat ToSixteenBits(const cv::Mat &image)
{
    cv::Mat result;
    switch (image.depth())
    {
    case CV_8U:
        image.convertTo(result, CV_16U, 257.0);
        return result;
    case CV_16U:
        return image;
    default: // floating point files hold 0 to 1
        image.convertTo(result, CV_16U, 65535.0);
        return result;
    }
}

void Fit(const cv::Mat &image, cv::Mat &out)
{
    const double scale = std::max(double(out.cols) / image.cols, double(out.rows) / image.rows);
    const cv::Size size(std::max(out.cols, cvRound(image.cols * scale)),
                        std::max(out.rows, cvRound(image.rows * scale)));
    cv::Mat scaled;
    cv::resize(image, scaled, size, 0, 0, scale < 1.0 ? cv::INTER_AREA : cv::INTER_LINEAR);
    scaled(cv::Rect((size.width - out.cols) / 2, (size.height - out.rows) / 2, out.cols, out.rows))
        .copyTo(out);
}

std::string SizeText(int width, int height)
{
    return std::to_string(width) + " x " + std::to_string(height);
}

void ReadPicture(const char *path, bool isDepth, cv::Mat &out)
{
    cv::Mat image =
        cv::imread(path, isDepth ? cv::IMREAD_UNCHANGED : cv::IMREAD_ANYDEPTH | cv::IMREAD_GRAYSCALE);
    if (image.empty())
    {
        throw std::runtime_error("is no picture that can be read");
    }
    if (isDepth && image.type() != CV_16UC1)
    {
        throw std::runtime_error("has not one value of 16 bits for each pixel");
    }
    if (image.size() != out.size())
    {
        throw std::runtime_error("has " + SizeText(image.cols, image.rows) + " pixels instead of " +
                                 SizeText(out.cols, out.rows));
    }
    (isDepth ? image : ToSixteenBits(image)).copyTo(out);
}

} // namespace

int qvrReadPicture(const char *path, uint32_t width, uint32_t height, int isDepth, uint16_t *out,
                   QvrReason *reason)
{
    try
    {
        cv::Mat result(static_cast<int>(height), static_cast<int>(width), CV_16U, out);
        ReadPicture(path, isDepth != 0, result);
        return 1;
    }
    catch (const std::exception &error)
    {
        std::snprintf(reason->text, sizeof reason->text, "%s", error.what());
        return 0;
    }
}

int qvrReadGreyImage(const char *path, uint32_t width, uint32_t height, uint16_t *out)
{
    try
    {
        const cv::Mat image = cv::imread(path, cv::IMREAD_ANYDEPTH | cv::IMREAD_GRAYSCALE);
        if (image.empty())
        {
            return 0;
        }
        cv::Mat result(static_cast<int>(height), static_cast<int>(width), CV_16U, out);
        Fit(ToSixteenBits(image), result);
        return 1;
    }
    catch (const std::exception &)
    {
        return 0;
    }
}
