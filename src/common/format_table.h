#pragma once

#include "common/pixel_format.h"
#include "common/size.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace tarn::common
{

/// What is known of one pixel format. A row of a constant table.
struct FormatInfo
{
    PixelFormat format{};
    std::string_view name;
    uint32_t bits = 0;      ///< storage of one pixel; 0 when the camera's maker defines it
    uint64_t maximum = 0;   ///< the largest sample; 0 for floating point
    bool isPacked = false;  ///< whether samples share bytes
    PixelFormat unpacked{}; ///< the same format when there is none
};

/// Bytes of an image without padding between its rows.
uint64_t GetSizeInBytes(const FormatInfo &format, Size size);

/// A set of known pixel formats, by code and by name.
///
/// Both tables, familyFormats and wideFormats, are constant, so any thread may read them. Find and Resolve
/// return null for a format that the table lacks. The rows live as long as the program.
class FormatTable
{
public:
    /// A name of a format: its own, or an older one for the same code.
    struct Name
    {
        std::string_view text;
        PixelFormat format{};
        bool isAlias = false;
    };

    /// @param formats ordered by code
    /// @param names of these formats, ordered by text
    constexpr FormatTable(std::span<const FormatInfo> formats, std::span<const Name> names)
        : m_formats(formats), m_names(names)
    {
    }

    /// Ordered by code.
    std::span<const FormatInfo> Formats() const { return m_formats; }
    const FormatInfo *Find(PixelFormat format) const;
    /// @param name of a format, or an older one
    const FormatInfo *Find(std::string_view name) const;
    /// The format that an entry of a device's PixelFormat means. Its name decides; the code counts when the
    /// name is unknown, if it is a published one. Null also for an entry whose name means one format and
    /// whose code another: nobody can tell which of the two the camera sends.
    const FormatInfo *Resolve(std::string_view name, PixelFormat code) const;
    /// The older names of a format.
    std::vector<std::string_view> AliasesOf(PixelFormat format) const;

private:
    std::span<const FormatInfo> m_formats;
    std::span<const Name> m_names;
};

/// The formats of the camera family that pixel_formats.inc lists.
extern const FormatTable familyFormats;
/// Those and all others of the published list and of GigE Vision 1, with the older names.
extern const FormatTable wideFormats;

} // namespace tarn::common
