#include "nodemap/node_map.h"

#include "datastream/datastream_features.h"
#include "nodemap/descriptions.h"
#include "nodemap/nodemap_parser.h"
#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace GenTL::internal::nodemap
{
namespace
{

using testing::ElementsAre;

/// The node map of a module with as many register bytes as the real one.
class NodeMapTest : public testing::Test
{
protected:
    static constexpr int32_t readOnly = 1;
    static constexpr int32_t readWrite = 3;

    static RegisterDefinition Row(uint64_t address, uint64_t size, int32_t access = readWrite)
    {
        return {.Name = "Row",
                .Size = size,
                .Address = address,
                .Kind = RegisterKind::Number,
                .Access = access,
                .InitialValue = 0};
    }

    NodeMap Make(const std::vector<RegisterDefinition> &rows)
    {
        return {"TLPort", "GEV", ModuleType::System, SystemDescription(), &owner, rows};
    }

    NodeMap system = Make({Row(0, 8), Row(8, 0x4A0 - 8, readOnly)});
    int owner = 0;
};

std::string UrlOf(NodeMap &map)
{
    size_t size = 0;
    map.GetPortURL(nullptr, &size);
    std::string url(size, 'x');
    map.GetPortURL(url.data(), &size);
    EXPECT_EQ(url.substr(size - 2), std::string(2, '\0'));
    return url.substr(0, size - 2);
}

TEST_F(NodeMapTest, AnnouncesItsDocumentByAUrl)
{
    EXPECT_EQ(UrlOf(system), "local:///System.xml;4A0;6BE2?SchemaVersion=1.1.0");
    const std::vector rows{Row(0, 0xA0)};
    NodeMap stream("StreamPort", "GEV", ModuleType::DataStream, DataStreamDescription(), &owner, rows);
    EXPECT_EQ(UrlOf(stream), "local:///DataStream.xml;A0;5F98?SchemaVersion=1.1.0");
}

TEST_F(NodeMapTest, NamesAModuleTypeBeyondTheListByItsNumber)
{
    const std::vector rows{Row(0, 0xA0)};
    NodeMap other("P", "GEV", static_cast<ModuleType>(7), "<x/>", &owner, rows);
    EXPECT_EQ(UrlOf(other), "local:///7.xml;A0;4?SchemaVersion=1.1.0");
    EXPECT_EQ(other.GetModuleType(), static_cast<ModuleType>(7));
}

TEST_F(NodeMapTest, AsksForOneByteMoreThanTheUrlAndItsTerminatorNeed)
{
    size_t size = 0;
    system.GetPortURL(nullptr, &size);
    EXPECT_EQ(size, 50U);

    std::array<char, 50> buffer;
    buffer.fill('x');
    size = 49;
    EXPECT_EQ(FailureOf([&] { system.GetPortURL(buffer.data(), &size); }),
              (Failure{"Buffer is too small. Needed 50, got 49!", GC_ERR_BUFFER_TOO_SMALL}));
    EXPECT_EQ(size, 49U);
    EXPECT_THAT(buffer, testing::Each('x'));
    EXPECT_EQ(FailureOf([&] { system.GetPortURL(nullptr, nullptr); }),
              (Failure{"piSize must not be NULL", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(NodeMapTest, LeavesTheSizeOfALargerUrlBufferAsItWas)
{
    std::array<char, 60> buffer;
    buffer.fill('x');
    size_t size = buffer.size();
    system.GetPortURL(buffer.data(), &size);
    EXPECT_EQ(size, buffer.size());
    EXPECT_EQ(buffer[49], '\0');
    EXPECT_EQ(buffer[50], 'x');
}

TEST_F(NodeMapTest, HasOneUrl)
{
    uint32_t count = 0;
    system.GetNumPortURLs(&count);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(FailureOf([&] { system.GetNumPortURLs(nullptr); }),
              (Failure{"piNumURLs must not be NULL", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(NodeMapTest, OffersExactlyItsDocumentBehindTheRegisters)
{
    std::string text(0x6BE2, '\0');
    size_t size = text.size();
    system.ReadPort(0x4A0, text.data(), &size);
    EXPECT_EQ(size, text.size());
    EXPECT_EQ(text, SystemDescription());

    std::string more(0x6BE3, '\0');
    size = more.size();
    EXPECT_EQ(FailureOf([&] { system.ReadPort(0x4A0, more.data(), &size); }),
              (Failure{"Read out of bounds", GC_ERR_INVALID_ADDRESS}));
    EXPECT_EQ(size, 0U);
}

TEST_F(NodeMapTest, ProtectsItsDocument)
{
    size_t size = 1;
    EXPECT_EQ(FailureOf([&] { system.WritePort(0x4A0, "x", &size); }),
              (Failure{"Register not writable", GC_ERR_ACCESS_DENIED}));
    EXPECT_EQ(size, 0U);
}

TEST_F(NodeMapTest, ChecksTheArgumentsOfAnAccessInOrder)
{
    size_t size = 0;
    const auto check = [&](auto access)
    {
        EXPECT_EQ(FailureOf([&] { access(nullptr, nullptr); }),
                  (Failure{"piSize must not be NULL", GC_ERR_INVALID_PARAMETER}));
        EXPECT_EQ(FailureOf([&] { access(nullptr, &size); }),
                  (Failure{"*piSize must not be 0", GC_ERR_INVALID_PARAMETER}));
        size = 1;
        EXPECT_EQ(FailureOf([&] { access(nullptr, &size); }),
                  (Failure{"pBuffer must not be NULL", GC_ERR_INVALID_PARAMETER}));
        EXPECT_EQ(size, 1U) << "refused before the access began";
        size = 0;
    };
    check([&](void *buffer, size_t *given) { system.ReadPort(0, buffer, given); });
    check([&](void *buffer, size_t *given) { system.WritePort(0, buffer, given); });
    check([&](void *buffer, size_t *given) { system.ReadRegisters(0, buffer, given); });
    check([&](void *buffer, size_t *given) { system.WriteRegisters(0, buffer, given); });
}

TEST_F(NodeMapTest, ReadsBackWhatWasWritten)
{
    const std::array<uint8_t, 2> written{7, 8};
    size_t size = written.size();
    system.WritePort(1, written.data(), &size);
    EXPECT_EQ(size, 2U);
    std::array<uint8_t, 4> read{};
    size = read.size();
    system.ReadPort(0, read.data(), &size);
    EXPECT_EQ(size, 4U);
    EXPECT_THAT(read, ElementsAre(0, 7, 8, 0));
}

TEST_F(NodeMapTest, RefusesAddressesNearTheLimitOfTheType)
{
    constexpr auto highest = std::numeric_limits<uint64_t>::max();
    uint64_t value = 0;
    for (const uint64_t address : {highest, highest - 7})
    {
        size_t size = sizeof value;
        EXPECT_EQ(FailureOf([&] { system.ReadPort(address, &value, &size); }),
                  (Failure{"Read out of bounds", GC_ERR_INVALID_ADDRESS}));
        EXPECT_EQ(size, 0U);
        size = sizeof value;
        EXPECT_EQ(FailureOf([&] { system.WritePort(address, &value, &size); }),
                  (Failure{"Write out of bounds", GC_ERR_INVALID_ADDRESS}));
        EXPECT_EQ(size, 0U);
    }
}

TEST_F(NodeMapTest, CallsTheCallbacksOfItsRowsWithTheOwner)
{
    auto row = Row(0, 8);
    row.OnRead = [this](std::span<uint8_t> data, void *context)
    {
        EXPECT_EQ(context, &owner);
        data[0] = 1;
    };
    row.OnWrite = [this](std::span<uint8_t>, void *context) { EXPECT_EQ(context, &owner); };
    NodeMap map = Make({row});
    std::array<uint8_t, 8> value{4};
    size_t size = value.size();
    map.WritePort(0, value.data(), &size);
    map.ReadPort(0, value.data(), &size);
    EXPECT_EQ(value[0], 1);
}

TEST_F(NodeMapTest, ReadsTheOneBufferHandlingModeWhateverWasWritten)
{
    NodeMap stream("StreamPort", "GEV", ModuleType::DataStream, DataStreamDescription(), nullptr,
                   DatastreamFeatures());
    const auto address =
        NodeMapParser(DataStreamDescription()).FindNode("StreamBufferHandlingModeReg").Address;
    uint64_t value = 4;
    size_t size = sizeof value;
    stream.WritePort(address, &value, &size);
    stream.ReadPort(address, &value, &size);
    EXPECT_EQ(value, 1U);
}

TEST_F(NodeMapTest, StartsWithTheInitialValuesOfItsRows)
{
    auto number = Row(0, 8);
    number.InitialValue = int32_t{-2};
    auto wide = Row(8, 8);
    wide.InitialValue = int64_t{-2};
    auto text = Row(16, 4);
    text.InitialValue = std::string("ab");
    auto real = Row(20, 4);
    real.InitialValue = 1.5F;
    NodeMap map = Make({number, wide, text, real});
    std::array<uint8_t, 24> bytes{};
    size_t size = bytes.size();
    map.ReadPort(0, bytes.data(), &size);
    EXPECT_THAT(bytes, ElementsAre(0xFE, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0,             //
                                   0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, //
                                   'a', 'b', 0, 0,                                 //
                                   0, 0, 0xC0, 0x3F));
}

TEST_F(NodeMapTest, IsNotMadeFromATableWithAFault)
{
    EXPECT_EQ(FailureOf(
                  [&] {
                      Make({Row(0, 8), Row(9, 8)});
                  }),
              (Failure{"The registers start address 0x9 must be right after the last registers address "
                       "+ size (0x8).",
                       GC_ERR_ERROR}));
    for (const int32_t access : {0, 4, 7, -1, 1000})
    {
        EXPECT_EQ(FailureOf([&] { Make({Row(0, 8, access)}); }),
                  (Failure{"Cannot add a register with access 'None'!", GC_ERR_ERROR}))
            << access;
    }
}

TEST_F(NodeMapTest, IsNotMadeWithoutARegisterMap)
{
    EXPECT_EQ(FailureOf([] { NodeMap("TLPort", "GEV", ModuleType::System, "<x/>", nullptr); }),
              (Failure{"RegisterMap not initialized!", GC_ERR_ERROR}));
}

TEST_F(NodeMapTest, LetsItsOwnerFillReadOnlyRegisters)
{
    system.GetRegisterMap().WriteInternal(8, "abc", 3);
    std::array<char, 3> text{};
    size_t size = text.size();
    system.ReadPort(8, text.data(), &size);
    EXPECT_THAT(text, ElementsAre('a', 'b', 'c'));
}

TEST_F(NodeMapTest, CountsTheStackedEntriesThatAreDone)
{
    std::array<uint8_t, 4> bytes{};
    std::array<PORT_REGISTER_STACK_ENTRY, 3> entries{};
    for (auto &entry : entries)
    {
        entry.Address = 0;
        entry.pBuffer = bytes.data();
        entry.Size = bytes.size();
    }
    size_t count = entries.size();
    system.ReadPortStacked(entries.data(), &count);
    EXPECT_EQ(count, 3U);
    system.WritePortStacked(entries.data(), &count);
    EXPECT_EQ(count, 3U);

    entries[1].Address = 0x10000;
    EXPECT_EQ(FailureOf([&] { system.ReadPortStacked(entries.data(), &count); }),
              (Failure{"Read out of bounds", GC_ERR_INVALID_ADDRESS}));
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(entries[1].Size, bytes.size()) << "the entry's own size is not touched";
    count = entries.size();
    EXPECT_EQ(FailureOf([&] { system.WritePortStacked(entries.data(), &count); }),
              (Failure{"Write out of bounds", GC_ERR_INVALID_ADDRESS}));
    EXPECT_EQ(count, 1U);
}

TEST_F(NodeMapTest, ChecksTheArgumentsOfAStackedAccess)
{
    PORT_REGISTER_STACK_ENTRY entry{};
    size_t count = 0;
    const auto check = [&](auto access)
    {
        EXPECT_EQ(FailureOf([&] { access(nullptr, nullptr); }),
                  (Failure{"pEntries must not be NULL", GC_ERR_INVALID_PARAMETER}));
        EXPECT_EQ(FailureOf([&] { access(&entry, nullptr); }),
                  (Failure{"piNumEntries must not be NULL", GC_ERR_INVALID_PARAMETER}));
        EXPECT_EQ(FailureOf([&] { access(&entry, &count); }),
                  (Failure{"*piNumEntries must not be 0", GC_ERR_INVALID_PARAMETER}));
    };
    check([&](PORT_REGISTER_STACK_ENTRY *entries, size_t *given) { system.ReadPortStacked(entries, given); });
    check([&](PORT_REGISTER_STACK_ENTRY *entries, size_t *given)
          { system.WritePortStacked(entries, given); });
}

/// One answer: command, type and bytes. A text includes its terminator.
struct Answer
{
    int32_t command;
    INFO_DATATYPE type;
    std::string bytes;
};

template <typename T>
std::string BytesOf(T value)
{
    return {reinterpret_cast<const char *>(&value), sizeof value};
}

std::string Text(const std::string &text)
{
    return text + '\0';
}

/// Queries one answer in each way that GenTL allows.
template <typename Query>
void ExpectAnswer(const Answer &answer, Query query)
{
    SCOPED_TRACE(answer.command);
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    query(answer.command, &type, nullptr, &size);
    EXPECT_EQ(type, answer.type);
    EXPECT_EQ(size, answer.bytes.size());

    std::string buffer(answer.bytes.size() + 8, 'x');
    size = buffer.size();
    query(answer.command, &type, buffer.data(), &size);
    EXPECT_EQ(size, answer.bytes.size());
    EXPECT_EQ(buffer, answer.bytes + "xxxxxxxx");

    size = answer.bytes.size() - 1;
    EXPECT_EQ(FailureOf([&] { query(answer.command, &type, buffer.data(), &size); }).code,
              GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(FailureOf([&] { query(answer.command, nullptr, nullptr, nullptr); }),
              (Failure{"piType must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { query(answer.command, &type, nullptr, nullptr); }),
              (Failure{"piSize must not be NULL", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(NodeMapTest, AnswersEveryUrlInfo)
{
    const auto query = [this](URL_INFO_CMD command, INFO_DATATYPE *type, void *buffer, size_t *size)
    { system.GetPortURLInfo(0, command, type, buffer, size); };
    const std::vector<Answer> answers{
        {URL_INFO_URL, INFO_DATATYPE_STRING, Text("local:///System.xml;4A0;6BE2?SchemaVersion=1.1.0")},
        {URL_INFO_SCHEMA_VER_MAJOR, INFO_DATATYPE_INT32, BytesOf(int32_t{1})},
        {URL_INFO_SCHEMA_VER_MINOR, INFO_DATATYPE_INT32, BytesOf(int32_t{1})},
        {URL_INFO_FILE_VER_MAJOR, INFO_DATATYPE_INT32, BytesOf(int32_t{1})},
        {URL_INFO_FILE_VER_MINOR, INFO_DATATYPE_INT32, BytesOf(int32_t{0})},
        {URL_INFO_FILE_VER_SUBMINOR, INFO_DATATYPE_INT32, BytesOf(int32_t{0})},
        {URL_INFO_FILE_REGISTER_ADDRESS, INFO_DATATYPE_UINT64, BytesOf(uint64_t{0x4A0})},
        {URL_INFO_FILE_SIZE, INFO_DATATYPE_UINT64, BytesOf(uint64_t{0x6BE2})},
        {URL_INFO_SCHEME, INFO_DATATYPE_INT32, BytesOf(int32_t{0})},
        {URL_INFO_FILENAME, INFO_DATATYPE_STRING, Text("System.xml")},
    };
    for (const auto &answer : answers)
    {
        ExpectAnswer(answer, query);
    }
    for (const int32_t command : {6, 11, -1, 1000})
    {
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        size_t size = 0;
        EXPECT_EQ(
            FailureOf([&] { query(command, &type, nullptr, &size); }),
            (Failure{"Command " + std::to_string(command) + " is not implemented", GC_ERR_NOT_IMPLEMENTED}));
    }
}

TEST_F(NodeMapTest, ChecksPointersThenIndexThenCommand)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    EXPECT_EQ(FailureOf([&] { system.GetPortURLInfo(1, 1234, &type, nullptr, &size); }),
              (Failure{"Supplied index 1 is out of range", GC_ERR_INVALID_INDEX}));
    EXPECT_EQ(FailureOf([&] { system.GetPortURLInfo(1, 1234, nullptr, nullptr, &size); }),
              (Failure{"piType must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { system.GetPortURLInfo(1, 1234, &type, nullptr, nullptr); }),
              (Failure{"piSize must not be NULL", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(NodeMapTest, AnswersEveryPortInfo)
{
    const auto query = [this](PORT_INFO_CMD command, INFO_DATATYPE *type, void *buffer, size_t *size)
    { system.GetPortInfo(command, type, buffer, size); };
    const std::vector<Answer> answers{
        {PORT_INFO_ID, INFO_DATATYPE_STRING, Text("TLPort")},
        {PORT_INFO_VENDOR, INFO_DATATYPE_STRING, Text("Varkel")},
        {PORT_INFO_MODEL, INFO_DATATYPE_STRING, Text("Proxy Transport Layer")},
        {PORT_INFO_TLTYPE, INFO_DATATYPE_STRING, Text("GEV")},
        {PORT_INFO_MODULE, INFO_DATATYPE_STRING, Text("TLSystem")},
        {PORT_INFO_LITTLE_ENDIAN, INFO_DATATYPE_BOOL8, BytesOf(bool8_t{1})},
        {PORT_INFO_BIG_ENDIAN, INFO_DATATYPE_BOOL8, BytesOf(bool8_t{0})},
        {PORT_INFO_ACCESS_READ, INFO_DATATYPE_BOOL8, BytesOf(bool8_t{1})},
        {PORT_INFO_ACCESS_WRITE, INFO_DATATYPE_BOOL8, BytesOf(bool8_t{1})},
        {PORT_INFO_ACCESS_NA, INFO_DATATYPE_BOOL8, BytesOf(bool8_t{0})},
        {PORT_INFO_ACCESS_NI, INFO_DATATYPE_BOOL8, BytesOf(bool8_t{0})},
        {PORT_INFO_VERSION, INFO_DATATYPE_STRING, Text("1.0.0.0")},
        {PORT_INFO_PORTNAME, INFO_DATATYPE_STRING, Text("TLPort")},
    };
    for (const auto &answer : answers)
    {
        ExpectAnswer(answer, query);
    }
    for (const int32_t command : {13, -1, 1000})
    {
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        size_t size = 0;
        EXPECT_EQ(
            FailureOf([&] { query(command, &type, nullptr, &size); }),
            (Failure{"Command " + std::to_string(command) + " is not implemented", GC_ERR_NOT_IMPLEMENTED}));
    }
}

} // namespace
} // namespace GenTL::internal::nodemap
