#include "simulator/images/picture.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string_view>

namespace GenTL::simulator
{

void Picture::Resize(uint32_t newWidth, uint32_t newHeight)
{
    constexpr uint32_t longestSide = 32768;
    constexpr uint64_t mostPixels = uint64_t{1} << 27;
    if (newWidth == 0 || newHeight == 0 || newWidth > longestSide || newHeight > longestSide ||
        uint64_t{newWidth} * newHeight > mostPixels)
    {
        throw NoPicture();
    }
    width = newWidth;
    height = newHeight;
    values.assign(size_t{width} * height, 0);
}

Picture ReadAnyPicture(const std::string &path)
{
    struct Kind
    {
        std::string_view begin;
        Picture (*read)(Bytes);
    };
    using namespace std::string_view_literals;
    static constexpr Kind kinds[] = {{"\x89PNG\r\n\x1A\n"sv, ReadPng},
                                     {"\xFF\xD8\xFF"sv, ReadJpeg},
                                     {"II*\0"sv, ReadTiff},
                                     {"MM\0*"sv, ReadTiff},
                                     {"BM"sv, ReadBmp},
                                     {"P2"sv, ReadPnm},
                                     {"P3"sv, ReadPnm},
                                     {"P5"sv, ReadPnm},
                                     {"P6"sv, ReadPnm}};
    std::ifstream stream(path, std::ios::binary);
    const std::string content((std::istreambuf_iterator<char>(stream)), {});
    const auto kind =
        std::ranges::find_if(kinds, [&](const Kind &each) { return content.starts_with(each.begin); });
    if (kind == std::end(kinds))
    {
        throw NoPicture();
    }
    return kind->read({reinterpret_cast<const uint8_t *>(content.data()), content.size()});
}

} // namespace GenTL::simulator
