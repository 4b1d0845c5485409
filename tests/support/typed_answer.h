#pragma once

#include "support/failure.h"

#include <fmt/format.h>
#include <gentl/gentl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace GenTL::internal
{

/// Type and bytes that an info command should answer with.
struct TypedAnswer
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::vector<uint8_t> bytes;

    template <typename T>
    static TypedAnswer Of(INFO_DATATYPE type, T value)
    {
        TypedAnswer answer{type, std::vector<uint8_t>(sizeof value)};
        std::memcpy(answer.bytes.data(), &value, sizeof value);
        return answer;
    }
    static TypedAnswer Size(size_t value) { return Of(INFO_DATATYPE_SIZET, value); }
    static TypedAnswer Uint64(uint64_t value) { return Of(INFO_DATATYPE_UINT64, value); }
    static TypedAnswer Int32(int32_t value) { return Of(INFO_DATATYPE_INT32, value); }
    static TypedAnswer Bool(bool value) { return Of(INFO_DATATYPE_BOOL8, bool8_t(value ? 1 : 0)); }
    static TypedAnswer Pointer(void *value) { return Of(INFO_DATATYPE_PTR, value); }
    static TypedAnswer Text(std::string_view text)
    {
        TypedAnswer answer{INFO_DATATYPE_STRING, {text.begin(), text.end()}};
        answer.bytes.push_back(0);
        return answer;
    }
};

/// An info command and its answer.
struct InfoCase
{
    std::string name;
    int32_t command;
    TypedAnswer expected;

    friend std::ostream &operator<<(std::ostream &stream, const InfoCase &info)
    {
        return stream << info.name;
    }
};

/// The arguments with which a consumer may ask.
enum class Arguments
{
    NullType,
    NullSize,
    NullBuffer,
    Short,
    Exact,
    Long,
};

inline std::string NameOf(Arguments arguments)
{
    constexpr std::string_view names[] = {"NullType", "NullSize", "NullBuffer", "Short", "Exact", "Long"};
    return std::string(names[static_cast<size_t>(arguments)]);
}

using InfoParameter = std::tuple<InfoCase, Arguments>;

inline auto EveryWayToAsk(const std::vector<InfoCase> &cases)
{
    return testing::Combine(testing::ValuesIn(cases),
                            testing::Values(Arguments::NullType, Arguments::NullSize, Arguments::NullBuffer,
                                            Arguments::Short, Arguments::Exact, Arguments::Long));
}

inline std::string NameOfInfo(const testing::TestParamInfo<InfoParameter> &info)
{
    return std::get<0>(info.param).name + "_" + NameOf(std::get<1>(info.param));
}

using AskForInfo = std::function<void(INFO_DATATYPE *, void *, size_t *)>;

/// Asks with these arguments and compares everything that the command may write.
inline void ExpectTypedAnswer(Arguments arguments, const TypedAnswer &expected, const AskForInfo &ask,
                              std::string_view typeName = "pType", std::string_view sizeName = "pSize")
{
    const auto width = expected.bytes.size();
    const auto nullFailure = [](std::string_view name) {
        return Failure{fmt::format("{} must not be NULL", name), GC_ERR_INVALID_PARAMETER};
    };

    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = width;
    // One byte more than the answer needs, to see that nothing is written behind the answer.
    std::vector<uint8_t> buffer(width + 1, 0xCC);
    const std::vector<uint8_t> untouched = buffer;
    auto written = expected.bytes;
    written.push_back(0xCC);
    switch (arguments)
    {
    case Arguments::NullType:
        EXPECT_EQ(FailureOf([&] { ask(nullptr, buffer.data(), &size); }), nullFailure(typeName));
        EXPECT_EQ(FailureOf([&] { ask(nullptr, buffer.data(), nullptr); }), nullFailure(typeName));
        EXPECT_EQ(buffer, untouched);
        EXPECT_EQ(size, width);
        break;
    case Arguments::NullSize:
        EXPECT_EQ(FailureOf([&] { ask(&type, buffer.data(), nullptr); }), nullFailure(sizeName));
        EXPECT_EQ(buffer, untouched);
        EXPECT_EQ(type, INFO_DATATYPE_UNKNOWN);
        break;
    case Arguments::NullBuffer:
        size = 0;
        EXPECT_EQ(FailureOf([&] { ask(&type, nullptr, &size); }), Failure{});
        EXPECT_EQ(type, expected.type);
        EXPECT_EQ(size, width);
        break;
    case Arguments::Short:
        size = width - 1;
        EXPECT_EQ(FailureOf([&] { ask(&type, buffer.data(), &size); }),
                  (Failure{fmt::format("Buffer is too small. Needed {}, got {}!", width, width - 1),
                           GC_ERR_BUFFER_TOO_SMALL}));
        EXPECT_EQ(type, expected.type);
        EXPECT_EQ(size, width - 1);
        EXPECT_EQ(buffer, untouched);
        break;
    case Arguments::Exact:
    case Arguments::Long:
        size = arguments == Arguments::Exact ? width : width + 1;
        EXPECT_EQ(FailureOf([&] { ask(&type, buffer.data(), &size); }), Failure{});
        EXPECT_EQ(type, expected.type);
        EXPECT_EQ(size, width);
        EXPECT_EQ(buffer, written);
        break;
    }
}

/// Asks for a value of fixed width.
template <typename T>
T AskFor(const AskForInfo &ask)
{
    T value{};
    size_t size = sizeof value;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    ask(&type, &value, &size);
    return value;
}

} // namespace GenTL::internal
