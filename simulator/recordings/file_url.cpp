#include "simulator/recordings/file_url.h"

#include <fmt/format.h>

#include <iterator>
#include <string_view>

namespace GenTL::simulator
{

std::string FileUrl(const std::filesystem::path &path)
{
    constexpr std::string_view plain{"/-._~0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"};
    std::string url = "file://";
    for (const char letter : path.string())
    {
        if (plain.find(letter) != std::string_view::npos)
        {
            url.push_back(letter);
        }
        else
        {
            fmt::format_to(std::back_inserter(url), "%{:02X}", static_cast<unsigned char>(letter));
        }
    }
    return url;
}

} // namespace GenTL::simulator
