#include "pictures/lettering.h"

#define cimg_display 0
#include <CImg.h>

#include <algorithm>

namespace gentlctl
{
namespace
{

constexpr unsigned int letterHeight = 13; // CImg's fonts are made for 13, 23, 53 and 103

} // namespace

Raster<uint8_t> TextShape(const std::string &text)
{
    const uint8_t covered = 255;
    cimg_library::CImg<uint8_t> drawn; // becomes as large as the text
    drawn.draw_text(0, 0, "%s", &covered, 0, 1, letterHeight, text.c_str());
    Raster<uint8_t> shape{static_cast<size_t>(drawn.width()), static_cast<size_t>(drawn.height())};
    std::copy(drawn.begin(), drawn.end(), shape.samples.begin());
    return shape;
}

} // namespace gentlctl
