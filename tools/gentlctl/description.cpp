#include "gentlctl/description.h"

#include "remote/unzip.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace gentlctl
{

using namespace GenTL;

namespace
{

// No honest description comes near this; a number above it is a broken URL.
constexpr uint64_t descriptionLimit = 1U << 30U;

std::vector<uint8_t> ReadFile(const std::string &path)
{
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
    {
        throw std::runtime_error(fmt::format("Cannot read the description {}", path));
    }
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Bytes behind "local:[///]NAME;ADDRESS;SIZE[?...]" or "file:///PATH[?...]".
std::vector<uint8_t> Fetch(Port &port, const std::string &url)
{
    const auto withoutQuery = url.substr(0, url.find('?'));
    constexpr std::string_view local = "local:";
    constexpr std::string_view file = "file://";
    const auto lower = [&](std::string_view scheme)
    {
        return std::equal(scheme.begin(), scheme.end(), withoutQuery.begin(),
                          withoutQuery.begin() +
                              static_cast<std::ptrdiff_t>(std::min(scheme.size(), withoutQuery.size())),
                          [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); });
    };
    if (lower(local))
    {
        const auto last = withoutQuery.rfind(';');
        const auto first = last == std::string::npos ? last : withoutQuery.rfind(';', last - 1);
        if (first != std::string::npos)
        {
            return ReadWhole(port, std::stoull(withoutQuery.substr(first + 1), nullptr, 16),
                             std::stoull(withoutQuery.substr(last + 1), nullptr, 16));
        }
    }
    if (lower(file))
    {
        return ReadFile(withoutQuery.substr(file.size()));
    }
    throw std::runtime_error(fmt::format("Cannot load a description from \"{}\"", url));
}

bool IsArchive(const std::vector<uint8_t> &bytes)
{
    constexpr std::array<uint8_t, 4> magic{'P', 'K', 3, 4};
    return bytes.size() >= magic.size() && std::equal(magic.begin(), magic.end(), bytes.begin());
}

int64_t LiteralOf(const pugi::xml_text &text)
{
    return std::string_view(text.get()) == "true" ? 1 : text.as_llong();
}

} // namespace

std::vector<uint8_t> ReadWhole(internal::IPort &port, uint64_t address, uint64_t size)
{
    if (size == 0 || size > descriptionLimit)
    {
        throw std::runtime_error(fmt::format("The description's URL names a size of {} bytes", size));
    }
    std::vector<uint8_t> bytes(size);
    size_t read = bytes.size();
    port.ReadRegisters(address, bytes.data(), &read);
    bytes.resize(std::min(read, bytes.size()));
    return bytes;
}

std::string LoadDescription(Port &port)
{
    size_t size = 0;
    port.GetPortURL(nullptr, &size);
    std::string url(size, '\0');
    port.GetPortURL(url.data(), &size);
    url.resize(std::min(url.find('\0'), url.size()));
    auto bytes = Fetch(port, url);
    if (IsArchive(bytes))
    {
        bytes = internal::Unzip(bytes.data(), bytes.size());
    }
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), uint8_t{0})};
}

void GiveRegisters(const pugi::xml_document &description, Port &port)
{
    auto root = description.child("RegisterDescription");
    for (const auto &found :
         description.select_nodes("//Integer[Value]|//Boolean[Value]|//Enumeration[Value]"))
    {
        auto node = found.node();
        const auto name = std::string(node.attribute("Name").value()) + "_Literal";
        auto reg = root.append_child("IntReg");
        reg.append_attribute("Name").set_value(name.c_str());
        const auto add = [&reg](const char *element, const std::string &text)
        { reg.append_child(element).text().set(text.c_str()); };
        add("Address", fmt::format("0x{:X}", port.AddRegister(LiteralOf(node.child("Value").text()))));
        add("Length", "8");
        add("AccessMode",
            node.child("ImposedAccessMode") ? node.child("ImposedAccessMode").text().get() : "RW");
        add("Endianess", "LittleEndian");
        node.remove_child("Value");
        node.append_child("pValue").text().set(name.c_str());
    }
}

} // namespace gentlctl
