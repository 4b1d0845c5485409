#include "consumer.h"

#include <gmock/gmock.h>

#include <array>
#include <barrier>
#include <functional>
#include <thread>

namespace GenTL::internal
{
namespace
{

struct Answer
{
    GC_ERROR result{};
    INFO_DATATYPE type{};
    size_t size{};
    std::string bytes;
};

Answer GetInfo(TL_INFO_CMD command, size_t room = 1024)
{
    Answer answer{.size = room, .bytes = std::string(room, '\0')};
    answer.result = Gentl().GCGetInfo(command, &answer.type, answer.bytes.data(), &answer.size);
    answer.bytes.resize(answer.result == GC_ERR_SUCCESS ? answer.size : 0);
    return answer;
}

std::string TextOf(TL_INFO_CMD command)
{
    const auto answer = GetInfo(command);
    EXPECT_EQ(answer.type, INFO_DATATYPE_STRING);
    return answer.bytes.substr(0, answer.bytes.size() - 1);
}

uint32_t NumberOf(TL_INFO_CMD command, INFO_DATATYPE type)
{
    const auto answer = GetInfo(command);
    EXPECT_EQ(answer.type, type);
    EXPECT_EQ(answer.size, 4U);
    uint32_t number = 0;
    std::copy(answer.bytes.begin(), answer.bytes.end(), reinterpret_cast<char *>(&number));
    return number;
}

using ProducerInfo = ConsumerTest;

TEST_F(ProducerInfo, IsToldWhileOtherThreadsOpenSystems)
{
    constexpr int rounds = 100;
    std::barrier start(3);
    const auto open = [&]
    {
        start.arrive_and_wait();
        for (int i = 0; i < rounds; ++i)
        {
            EXPECT_EQ(gentl.TLClose(OpenSystem()), GC_ERR_SUCCESS);
        }
    };
    OpenSystem();
    const std::jthread one(open);
    const std::jthread other(open);
    start.arrive_and_wait();
    for (int i = 0; i < rounds; ++i)
    {
        EXPECT_EQ(TextOf(TL_INFO_TLTYPE), "GEV");
    }
}

TEST_F(ProducerInfo, IsThatOfThisProducer)
{
    EXPECT_EQ(TextOf(TL_INFO_ID), "Proxy Transport Layer");
    EXPECT_EQ(TextOf(TL_INFO_VENDOR), "Varkel");
    EXPECT_EQ(TextOf(TL_INFO_MODEL), "Proxy Transport Layer");
    EXPECT_EQ(TextOf(TL_INFO_VERSION), "1.0.0.0");
    EXPECT_EQ(TextOf(TL_INFO_NAME), "qvr_proxygentl.cti");
    EXPECT_EQ(TextOf(TL_INFO_PATHNAME), QVR_LIB_DIR "/qvr_proxygentl.cti");
    EXPECT_EQ(TextOf(TL_INFO_DISPLAYNAME), "QVR Proxy Transport Layer");
    EXPECT_EQ(NumberOf(TL_INFO_CHAR_ENCODING, INFO_DATATYPE_INT32), TL_CHAR_ENCODING_UTF8);
    EXPECT_EQ(NumberOf(TL_INFO_GENTL_VER_MAJOR, INFO_DATATYPE_UINT32), 1U);
    EXPECT_EQ(NumberOf(TL_INFO_GENTL_VER_MINOR, INFO_DATATYPE_UINT32), 6U);
}

// process_test.cpp tests that there is none before the first opening.
TEST_F(ProducerInfo, HasTheTransportTypeOfTheLowerProducer)
{
    OpenSystem();
    EXPECT_EQ(TextOf(TL_INFO_TLTYPE), "GEV");
}

TEST_F(ProducerInfo, AnswersASizeQuery)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 99;
    EXPECT_EQ(gentl.GCGetInfo(TL_INFO_GENTL_VER_MINOR, &type, nullptr, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(type, INFO_DATATYPE_UINT32);
    EXPECT_EQ(size, 4U);
}

TEST_F(ProducerInfo, TellsHowMuchRoomAnAnswerNeeds)
{
    EXPECT_EQ(GetInfo(TL_INFO_ID, 21).result, GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(GetLastError().text, "GCGetInfo Error: Buffer is too small. Needed 22, got 21!");
    EXPECT_EQ(GetInfo(TL_INFO_ID, 22).result, GC_ERR_SUCCESS);
}

TEST_F(ProducerInfo, RefusesOtherCommands)
{
    for (const TL_INFO_CMD command : {-1, 11, 1000})
    {
        EXPECT_EQ(GetInfo(command).result, GC_ERR_NOT_IMPLEMENTED);
        EXPECT_EQ(GetLastError().text,
                  "GCGetInfo Error: iInfoCmd " + std::to_string(command) + " not implemented");
    }
}

TEST_F(ProducerInfo, ChecksItsPointersBeforeTheCommand)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    EXPECT_EQ(gentl.GCGetInfo(-1, nullptr, nullptr, nullptr), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(GetLastError().text, "GCGetInfo Error: piSize must not be NULL");
    EXPECT_EQ(gentl.GCGetInfo(-1, nullptr, nullptr, &size), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(GetLastError().text, "GCGetInfo Error: piType must not be NULL");
    EXPECT_EQ(gentl.GCGetInfo(TL_INFO_ID, &type, nullptr, nullptr), GC_ERR_INVALID_PARAMETER);
}

using LibraryLifecycle = ConsumerTest;

TEST_F(LibraryLifecycle, RefusesASecondInitialisation)
{
    EXPECT_EQ(gentl.GCInitLib(), GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(GetLastError(), (LastError{GC_ERR_SUCCESS, GC_ERR_RESOURCE_IN_USE,
                                         "GCInitLib Error: Library already initialized!"}));
}

TEST_F(LibraryLifecycle, RefusesEverythingWhileClosed)
{
    ASSERT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
    EXPECT_EQ(gentl.GCCloseLib(), GC_ERR_NOT_INITIALIZED);
    EXPECT_EQ(GetInfo(TL_INFO_ID).result, GC_ERR_NOT_INITIALIZED);
    TL_HANDLE handle = nullptr;
    EXPECT_EQ(gentl.TLOpen(&handle), GC_ERR_NOT_INITIALIZED);
    EXPECT_EQ(gentl.EventKill(this), GC_ERR_NOT_INITIALIZED);
    // TLClose does not check whether the library is initialised.
    EXPECT_EQ(gentl.TLClose(this), GC_ERR_INVALID_HANDLE);
    GC_ERROR code = 0;
    size_t size = 0;
    EXPECT_EQ(gentl.GCGetLastError(&code, nullptr, &size), GC_ERR_NOT_INITIALIZED);
    EXPECT_EQ(gentl.GCGetLastError(&code, nullptr, nullptr), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(gentl.GCGetLastError(nullptr, nullptr, &size), GC_ERR_INVALID_PARAMETER);
}

TEST_F(LibraryLifecycle, CanBeInitialisedAgain)
{
    EXPECT_EQ(gentl.TLClose(this), GC_ERR_INVALID_HANDLE);
    ASSERT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
    ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);
    EXPECT_EQ(GetLastError(), (LastError{GC_ERR_SUCCESS, GC_ERR_SUCCESS, "No Error"}));
    EXPECT_NE(OpenSystem(), nullptr);
}

TEST_F(LibraryLifecycle, KeepsTheLowerProducerInitialisedInBetween)
{
    EXPECT_EQ(lower->initialized, 1);
    ASSERT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
    EXPECT_EQ(lower->initialized, 0);
}

TEST_F(LibraryLifecycle, CanBeTriedAgainAfterAFailure)
{
    ASSERT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
    lower->FailNext("GCInitLib", GC_ERR_IO);
    EXPECT_EQ(gentl.GCInitLib(), GC_ERR_IO);
    EXPECT_EQ(GetInfo(TL_INFO_ID).result, GC_ERR_NOT_INITIALIZED);
    EXPECT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);
}

TEST_F(LibraryLifecycle, RunsAHundredTimesWithoutAnOpenHandle)
{
    for (int i = 0; i < 100; ++i)
    {
        OpenStream(OpenDevice(OpenInterface(OpenSystem())));
        ASSERT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
        ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);
    }
    EXPECT_EQ(lower->OpenHandles(), 0U);
    EXPECT_EQ(lower->initialized, 1);
}

TEST_F(LibraryLifecycle, StaysInitialisedWhenTheLowerCloseFails)
{
    lower->FailNext("GCCloseLib", GC_ERR_BUSY);
    EXPECT_EQ(gentl.GCCloseLib(), GC_ERR_BUSY);
    EXPECT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
}

using LastErrorTest = ConsumerTest;

TEST_F(LastErrorTest, SurvivesASuccess)
{
    EXPECT_EQ(gentl.TLClose(this), GC_ERR_INVALID_HANDLE);
    OpenSystem();
    const LastError expected{GC_ERR_SUCCESS, GC_ERR_INVALID_HANDLE, "TLClose Error: Handle not found!"};
    EXPECT_EQ(GetLastError(), expected);
}

TEST_F(LastErrorTest, BelongsToAThread)
{
    EXPECT_EQ(gentl.TLClose(this), GC_ERR_INVALID_HANDLE);
    size_t size = 0;
    LastError other;
    std::thread(
        [&]
        {
            Gentl().GCGetLastError(&other.code, nullptr, &size);
            other = GetLastError();
        })
        .join();
    EXPECT_EQ(other, (LastError{GC_ERR_SUCCESS, GC_ERR_SUCCESS, "No Error"}));
    EXPECT_EQ(size, 9U);
    EXPECT_EQ(GetLastError().code, GC_ERR_INVALID_HANDLE);
}

/// The last error of a second thread. That thread runs `first`; then this one runs `meanwhile`; then the
/// second asks for its last error.
LastError LastErrorOfAThread(const std::function<void()> &first, const std::function<void()> &meanwhile)
{
    std::barrier meeting(2);
    LastError error;
    std::thread other(
        [&]
        {
            first();
            meeting.arrive_and_wait();
            meeting.arrive_and_wait();
            error = GetLastError();
        });
    meeting.arrive_and_wait();
    meanwhile();
    meeting.arrive_and_wait();
    other.join();
    return error;
}

TEST_F(LastErrorTest, OfAnotherThreadSurvivesAReinitialisation)
{
    const auto error = LastErrorOfAThread([&] { gentl.TLClose(this); },
                                          [&]
                                          {
                                              gentl.GCCloseLib();
                                              gentl.GCInitLib();
                                          });
    EXPECT_EQ(error, (LastError{GC_ERR_SUCCESS, GC_ERR_INVALID_HANDLE, "TLClose Error: Handle not found!"}));
}

TEST_F(LastErrorTest, LosesItsTextButNotItsCodeInTheClosingThread)
{
    const auto error = LastErrorOfAThread(
        [&]
        {
            gentl.TLClose(this);
            gentl.GCCloseLib();
        },
        [&] { gentl.GCInitLib(); });
    EXPECT_EQ(error, (LastError{GC_ERR_SUCCESS, GC_ERR_INVALID_HANDLE, "No Error"}));
}

TEST_F(LastErrorTest, IsAlsoThatOfACallWhileTheLibraryWasClosed)
{
    ASSERT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
    const auto error =
        LastErrorOfAThread([&] { gentl.TLGetNumInterfaces(this, nullptr); }, [&] { gentl.GCInitLib(); });
    EXPECT_EQ(error, (LastError{GC_ERR_SUCCESS, GC_ERR_NOT_INITIALIZED,
                                "TLGetNumInterfaces Error: Library not initialized"}));
}

TEST_F(LastErrorTest, TellsItsCodeAlsoInABufferThatIsTooShort)
{
    EXPECT_EQ(gentl.TLClose(this), GC_ERR_INVALID_HANDLE);
    GC_ERROR code = 0;
    size_t size = 0;
    ASSERT_EQ(gentl.GCGetLastError(&code, nullptr, &size), GC_ERR_SUCCESS);
    std::string text(size, 'x');
    --size;
    code = 0;
    EXPECT_EQ(gentl.GCGetLastError(&code, text.data(), &size), GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(code, GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(size, text.size() - 1);
    EXPECT_EQ(text, std::string(text.size(), 'x'));
}

TEST_F(LastErrorTest, TellsItsSizeAlsoWithMoreRoomThanItNeeds)
{
    EXPECT_EQ(gentl.TLClose(this), GC_ERR_INVALID_HANDLE);
    const std::string expected = "TLClose Error: Handle not found!";
    GC_ERROR code = 0;
    std::string text(100, 'x');
    size_t size = text.size();
    EXPECT_EQ(gentl.GCGetLastError(&code, text.data(), &size), GC_ERR_SUCCESS);
    EXPECT_EQ(size, expected.size() + 1);
    EXPECT_EQ(text, expected + '\0' + std::string(100 - size, 'x'));
}

TEST_F(LastErrorTest, HasTheCodeOfTheLowerProducer)
{
    lower->FailNext("TLOpen", GC_ERR_TIMEOUT);
    TL_HANDLE handle = nullptr;
    EXPECT_EQ(gentl.TLOpen(&handle), GC_ERR_TIMEOUT);
    EXPECT_EQ(GetLastError(), (LastError{GC_ERR_SUCCESS, GC_ERR_TIMEOUT, "TLOpen Error: lower failed"}));
}

TEST_F(LastErrorTest, HasACommonCodeForOtherFailures)
{
    lower->tlType = "CXP";
    TL_HANDLE handle = nullptr;
    EXPECT_EQ(gentl.TLOpen(&handle), GC_ERR_ERROR);
    EXPECT_EQ(GetLastError().text, "TLOpen Error: Mapping TL type failed!");
    EXPECT_EQ(lower->OpenHandles(), 0U);
}

} // namespace
} // namespace GenTL::internal
