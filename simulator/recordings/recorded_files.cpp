#include "simulator/recordings/recorded_files.h"

#include "simulator/error.h"
#include "simulator/recordings/recorded_numbers.h"

#include <algorithm>

namespace GenTL::simulator
{

namespace
{

/// The longest register that can hold a number.
constexpr uint64_t longestNumber = 8;

} // namespace

void RecordedFiles::Execute()
{
    const auto selected = Number("FileSelector");
    const auto file = std::ranges::find(m_access.files, selected, &recording::DeviceFile::selector);
    const auto chosen = Number("FileOperationSelector");
    const auto operation = std::ranges::find(m_access.operations, chosen, &recording::NamedValue::value);
    const bool isDone = file != m_access.files.end() && operation != m_access.operations.end() &&
                        CarryOut(operation->name, *file);
    const auto status =
        std::ranges::find(m_access.statuses, isDone ? "Success" : "Failure", &recording::NamedValue::name);
    if (status != m_access.statuses.end())
    {
        SetNumber("FileOperationStatus", status->value);
    }
}

/// @return whether the operation succeeded
bool RecordedFiles::CarryOut(std::string_view operation, const recording::DeviceFile &file)
{
    if (operation == "Open" && m_open == nullptr)
    {
        m_open = &file;
        SetNumber("FileOperationResult", 0);
        return true;
    }
    if (operation == "Close" && m_open == &file)
    {
        m_open = nullptr;
        SetNumber("FileOperationResult", 0);
        return true;
    }
    return operation == "Read" && m_open == &file && Transfer(file);
}

bool RecordedFiles::Transfer(const recording::DeviceFile &file)
{
    const auto *const buffer = PlaceOf("FileAccessBuffer");
    const auto offset = static_cast<uint64_t>(Number("FileAccessOffset"));
    const auto wanted = static_cast<uint64_t>(Number("FileAccessLength"));
    if (buffer == nullptr || offset >= file.content.size())
    {
        return false;
    }
    const auto count = std::min({wanted, buffer->length, file.content.size() - offset});
    const auto bytes = file.content.substr(offset, count);
    m_memory.Write(buffer->address, {reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size()});
    SetNumber("FileOperationResult", static_cast<int64_t>(count));
    return true;
}

const recording::FeaturePlace *RecordedFiles::PlaceOf(std::string_view feature) const
{
    const auto place = std::ranges::find(m_access.places, feature, &recording::FeaturePlace::feature);
    return place == m_access.places.end() ? nullptr : &*place;
}

int64_t RecordedFiles::Number(std::string_view feature) const
{
    const auto *const place = PlaceOf(feature);
    if (place == nullptr || place->length > longestNumber)
    {
        throw Error(GC_ERR_INVALID_ADDRESS, "{} was not recorded", feature);
    }
    std::vector<uint8_t> bytes(place->length);
    m_memory.Read(place->address, bytes);
    return static_cast<int64_t>(NumberOf(bytes, place->isBigEndian));
}

void RecordedFiles::SetNumber(std::string_view feature, int64_t value)
{
    const auto *const place = PlaceOf(feature);
    if (place != nullptr && place->length <= longestNumber)
    {
        m_memory.Write(place->address,
                       BytesOf(static_cast<uint64_t>(value), place->length, place->isBigEndian));
    }
}

} // namespace GenTL::simulator
