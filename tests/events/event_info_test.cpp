#include "event_fixture.h"

#include <array>
#include <cstring>
#include <vector>

namespace GenTL::internal
{
namespace
{

class EventInfo : public EventFixture, public testing::WithParamInterface<InfoParameter>
{
};

// The answers after three pushes and one fetch.
const std::vector<InfoCase> eventInfoCases{
    {"EventType", EVENT_EVENT_TYPE, TypedAnswer::Int32(EVENT_NEW_BUFFER)},
    {"NumInQueue", EVENT_NUM_IN_QUEUE, TypedAnswer::Size(2)},
    {"NumFired", EVENT_NUM_FIRED, TypedAnswer::Uint64(3)},
    {"SizeMax", EVENT_SIZE_MAX, TypedAnswer::Size(16)},
    {"InfoDataSizeMax", EVENT_INFO_DATA_SIZE_MAX, TypedAnswer::Size(8)},
};

TEST_P(EventInfo, Answers)
{
    PushBuffer();
    PushBuffer();
    PushBuffer();
    Fetch();
    const auto &[info, arguments] = GetParam();
    ExpectTypedAnswer(arguments, info.expected, Info(info.command));
}

INSTANTIATE_TEST_SUITE_P(Commands, EventInfo, EveryWayToAsk(eventInfoCases), NameOfInfo);

class EventInfoOfOtherTypes : public EventFixture, public testing::WithParamInterface<InfoParameter>
{
};

const std::vector<InfoCase> otherTypeCases{
    {"EventType", EVENT_EVENT_TYPE, TypedAnswer::Int32(EVENT_FEATURE_CHANGE)},
    {"NumInQueue", EVENT_NUM_IN_QUEUE, TypedAnswer::Size(0)},
    {"NumFired", EVENT_NUM_FIRED, TypedAnswer::Uint64(0)},
    {"SizeMax", EVENT_SIZE_MAX, TypedAnswer::Size(128)},
    {"InfoDataSizeMax", EVENT_INFO_DATA_SIZE_MAX, TypedAnswer::Size(128)},
};

TEST_P(EventInfoOfOtherTypes, Answers)
{
    EventHandler other(ReleaseTo(library), EVENT_FEATURE_CHANGE);
    const auto &[info, arguments] = GetParam();
    ExpectTypedAnswer(arguments, info.expected,
                      [&, command = info.command](INFO_DATATYPE *type, void *buffer, size_t *size)
                      { other.Info(command, type, buffer, size); });
}

INSTANTIATE_TEST_SUITE_P(Commands, EventInfoOfOtherTypes, EveryWayToAsk(otherTypeCases), NameOfInfo);

class EventInfoCommand : public EventFixture
{
};

TEST_F(EventInfoCommand, RefusesAnUnknownOneBeforeItsArguments)
{
    for (const int32_t command : {-1, 5, int32_t{EVENT_INFO_CUSTOM_ID}})
    {
        EXPECT_EQ(
            FailureOf([&] { event.Info(command, nullptr, nullptr, nullptr); }),
            (Failure{fmt::format("Event info command {} not implemented", command), GC_ERR_NOT_IMPLEMENTED}));
    }
}

TEST_F(EventInfoCommand, GoesOnCountingOverAReset)
{
    PushBuffer();
    Fetch();
    event.ResetDeliveredCount();
    PushBuffer();
    EXPECT_EQ(NumFired(), 2U);
    EXPECT_EQ(NumInQueue(), 1U);
}

class EventDataInfo : public EventFixture, public testing::WithParamInterface<InfoParameter>
{
};

constexpr uintptr_t aHandle = 0x1122334455667788;
constexpr uintptr_t aUserPointer = 0x99AABBCCDDEEFF00;

EVENT_NEW_BUFFER_DATA SampleData()
{
    return {reinterpret_cast<void *>(aHandle), reinterpret_cast<void *>(aUserPointer)};
}

const std::vector<InfoCase> dataInfoCases{
    {"Id", EVENT_DATA_ID, TypedAnswer::Of(INFO_DATATYPE_PTR, aHandle)},
    {"Value", EVENT_DATA_VALUE, TypedAnswer::Of(INFO_DATATYPE_PTR, aUserPointer)},
};

TEST_P(EventDataInfo, Answers)
{
    const auto data = SampleData();
    const auto &[info, arguments] = GetParam();
    ExpectTypedAnswer(arguments, info.expected,
                      [&, command = info.command](INFO_DATATYPE *type, void *buffer, size_t *size)
                      { event.DataInfo(&data, sizeof data, command, type, buffer, size); });
}

INSTANTIATE_TEST_SUITE_P(Commands, EventDataInfo, EveryWayToAsk(dataInfoCases), NameOfInfo);

class EventDataInfoFailure : public EventFixture
{
protected:
    Failure FailureFor(const void *bytes, size_t size, int32_t command = EVENT_DATA_ID)
    {
        return FailureFor(event, bytes, size, command);
    }

    static Failure FailureFor(EventHandler &handler, const void *bytes, size_t size, int32_t command)
    {
        return FailureOf([&] { handler.DataInfo(bytes, size, command, nullptr, nullptr, nullptr); });
    }

    EVENT_NEW_BUFFER_DATA data = SampleData();
};

TEST_F(EventDataInfoFailure, NamesANullArgumentBeforeAnEmptySize)
{
    EXPECT_EQ(FailureFor(nullptr, 0), (Failure{"pInBuffer must not be NULL", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(EventDataInfoFailure, RefusesAnEmptySize)
{
    EXPECT_EQ(FailureFor(&data, 0), (Failure{"iInSize must not be 0", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(EventDataInfoFailure, RefusesOtherEventTypesBeforeAShortSize)
{
    EventHandler other(ReleaseTo(library), EVENT_FEATURE_CHANGE);
    EXPECT_EQ(FailureFor(other, &data, 1, EVENT_DATA_ID),
              (Failure{"event type not implemented", GC_ERR_NOT_IMPLEMENTED}));
    EXPECT_EQ(FailureFor(other, &data, 0, EVENT_DATA_ID),
              (Failure{"iInSize must not be 0", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(EventDataInfoFailure, RefusesAShortSizeBeforeAnUnknownCommand)
{
    EXPECT_EQ(FailureFor(&data, 15, 99),
              (Failure{"inBuffer or inSize are invalid", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(EventDataInfoFailure, HasNoNumber)
{
    EXPECT_EQ(FailureFor(&data, 16, EVENT_DATA_NUMID),
              (Failure{"Event has no numeric data", GC_ERR_NOT_AVAILABLE}));
}

TEST_F(EventDataInfoFailure, RefusesAnUnknownCommandFirst)
{
    for (const int32_t command : {-1, 3, int32_t{EVENT_DATA_CUSTOM_ID}})
    {
        EXPECT_EQ(FailureFor(&data, 16, command),
                  (Failure{fmt::format("Event data info command {} not implemented", command),
                           GC_ERR_NOT_IMPLEMENTED}));
    }
}

TEST_F(EventDataInfoFailure, IsNoneForTheBytesOfAnEvent)
{
    const auto buffer = PushBuffer(9);
    const auto fetched = Fetch();
    // More than 16 bytes, at an odd address: only the first 16 count.
    std::array<char, 24> bytes{};
    std::memcpy(&bytes[1], &fetched, sizeof fetched);
    const auto ask = [&](int32_t command)
    {
        return AskFor<void *>([&, command](INFO_DATATYPE *type, void *value, size_t *size)
                              { event.DataInfo(&bytes[1], 23, command, type, value, size); });
    };
    EXPECT_EQ(ask(EVENT_DATA_ID), buffer.get());
    EXPECT_EQ(ask(EVENT_DATA_VALUE), UserPointer(9));
}

} // namespace
} // namespace GenTL::internal
