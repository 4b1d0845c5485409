#include "consumer/info_answers.h"

#include "utils/gentl_exception.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace gentlctl
{

using namespace GenTL;

namespace
{

template <typename T>
T Value(const std::vector<char> &bytes)
{
    T value{};
    std::memcpy(&value, bytes.data(), std::min(sizeof value, bytes.size()));
    return value;
}

InfoValue Decode(INFO_DATATYPE type, const std::vector<char> &bytes)
{
    switch (type)
    {
    case INFO_DATATYPE_STRING:
        return std::string(bytes.data(), strnlen(bytes.data(), bytes.size()));
    case INFO_DATATYPE_INT16:
        return int64_t{Value<int16_t>(bytes)};
    case INFO_DATATYPE_UINT16:
        return uint64_t{Value<uint16_t>(bytes)};
    case INFO_DATATYPE_INT32:
        return int64_t{Value<int32_t>(bytes)};
    case INFO_DATATYPE_UINT32:
        return uint64_t{Value<uint32_t>(bytes)};
    case INFO_DATATYPE_INT64:
    case INFO_DATATYPE_PTRDIFF:
        return Value<int64_t>(bytes);
    case INFO_DATATYPE_UINT64:
    case INFO_DATATYPE_SIZET:
        return Value<uint64_t>(bytes);
    case INFO_DATATYPE_FLOAT64:
        return Value<double>(bytes);
    case INFO_DATATYPE_BOOL8:
        return Value<uint8_t>(bytes) != 0;
    case INFO_DATATYPE_PTR:
        return Value<const uint8_t *>(bytes);
    default:
        return OpaqueInfo{bytes.size()};
    }
}

} // namespace

InfoValue Answer(const InfoQuery &query)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    query(&type, nullptr, &size);
    std::vector<char> bytes(size);
    query(&type, bytes.data(), &size);
    bytes.resize(std::min(size, bytes.size()));
    return Decode(type, bytes);
}

std::optional<InfoValue> TryAnswer(const InfoQuery &query)
{
    try
    {
        return Answer(query);
    }
    catch (const internal::GenTLException &)
    {
        return std::nullopt;
    }
}

std::optional<uint64_t> TryNumber(const InfoQuery &query)
{
    const auto answer = TryAnswer(query);
    return answer ? NumberOf(*answer) : std::nullopt;
}

std::string TextAnswer(const InfoQuery &query)
{
    const auto answer = TryAnswer(query);
    const auto *text = answer ? std::get_if<std::string>(&*answer) : nullptr;
    return text != nullptr ? *text : std::string();
}

std::vector<InfoAnswer> Answers(std::span<const InfoCommand> commands, const InfoFunction &function)
{
    std::vector<InfoAnswer> answers;
    answers.reserve(commands.size());
    for (const auto &[command, name] : commands)
    {
        try
        {
            answers.push_back({command, name,
                               Answer([&, command = command](INFO_DATATYPE *type, void *buffer, size_t *size)
                                      { function(command, type, buffer, size); })});
        }
        catch (const internal::GenTLException &exception)
        {
            answers.push_back({command, name, InfoError{exception.Code(), exception.what()}});
        }
    }
    return answers;
}

bool IsTrueAnswer(const InfoValue &value)
{
    const auto *truth = std::get_if<bool>(&value);
    return truth != nullptr && *truth;
}

std::optional<uint64_t> NumberOf(const InfoValue &value)
{
    return std::visit(
        [](const auto &held) -> std::optional<uint64_t>
        {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_arithmetic_v<Held> && !std::is_same_v<Held, bool>)
            {
                return static_cast<uint64_t>(held);
            }
            return std::nullopt;
        },
        value);
}

} // namespace gentlctl
