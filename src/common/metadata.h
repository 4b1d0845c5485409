#pragma once

#include "common/any.h"
#include "common/exceptions.h"
#include "common/size.h"

#include <string>
#include <unordered_map>
#include <utility>

namespace tarn::common
{

using Rectangle = detail::RectangleT<unsigned int, unsigned int>;

/// Values by name that travel with an image: "Roi" (a Rectangle, pixels), "BinningHorizontal" and
/// "BinningVertical" (unsigned 64-bit).
class Metadata
{
public:
    /// Inserts the value, or replaces the one of that name.
    void Set(const std::string &name, Any value) { m_values.insert_or_assign(name, std::move(value)); }

    /// The value of that name, or null.
    const Any *Find(const std::string &name) const
    {
        const auto entry = m_values.find(name);
        return entry != m_values.end() ? &entry->second : nullptr;
    }

    /// @throws OutOfRangeException "There is no value named {}"
    /// @throws InvalidCastException unless the value is a rectangle
    const Rectangle &GetRoi() const
    {
        const Any *value = Find("Roi");
        if (value == nullptr)
        {
            throw OutOfRangeException("There is no value named Roi");
        }
        return value->Cast<Rectangle>();
    }

    bool IsEmpty() const { return m_values.empty(); }
    auto begin() const { return m_values.begin(); }
    auto end() const { return m_values.end(); }

private:
    std::unordered_map<std::string, Any> m_values;
};

} // namespace tarn::common
