#pragma once

#include <string>
#include <vector>

namespace gentlctl
{

/// The value that a selector has while a selected feature is read or written.
struct Selection
{
    std::string selector;
    std::string value;

    friend bool operator==(const Selection &, const Selection &) = default;
};

/// The value of a feature, for the given values of its selectors.
struct Setting
{
    std::string feature;
    std::vector<Selection> selections; ///< outer selectors first; empty for a feature that nothing selects
    std::string value;                 ///< as text; the bytes of a register as 0x and hexadecimal digits

    friend bool operator==(const Setting &, const Setting &) = default;
};

/// "ChunkEnable[ChunkSelector=FrameID]"; the name alone for a feature that nothing selects.
std::string KeyOf(const Setting &setting);

/// The reverse of KeyOf.
/// @throws std::runtime_error the text is no key
Setting SettingOfKey(const std::string &key);

} // namespace gentlctl
