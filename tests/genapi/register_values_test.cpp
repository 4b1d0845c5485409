#include "register_device.h"
#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace GenTL::internal::genapi
{
namespace
{

using testing::ElementsAre;

using Bytes = std::vector<uint8_t>;

struct IntegerRegisterCase
{
    const char *name;
    const char *element;
    std::string more;
    Bytes bytes;
    int64_t value;
    int64_t written;
    /// The bytes after the value was written over `bytes`.
    Bytes after;
};

const std::string signedBig = "<Sign>Signed</Sign><Endianess>BigEndian</Endianess>";
const std::string big = "<Endianess>BigEndian</Endianess>";
const std::string little = "<Endianess>LittleEndian</Endianess>";

void PrintTo(const IntegerRegisterCase &row, std::ostream *stream)
{
    *stream << row.name;
}

class IntegerRegister : public testing::TestWithParam<IntegerRegisterCase>
{
};

TEST_P(IntegerRegister, ReadsAndWritesItsBits)
{
    const auto &row = GetParam();
    RegisterDevice device(Register(row.element, "R", 16, static_cast<int>(row.bytes.size()), row.more));
    device.port.Set(16, row.bytes);
    EXPECT_EQ(device.features.ReadInteger("R"), row.value);
    device.features.WriteInteger("R", row.written);
    EXPECT_EQ(device.port.Get(16, row.bytes.size()), row.after);
    EXPECT_EQ(device.features.ReadInteger("R"), row.written);
}

// Worked out by hand. Bits of a big-endian register count from the highest.
const IntegerRegisterCase integerRegisters[] = {
    {"Little", "IntReg", little, {0x01, 0x02, 0x03, 0x04}, 0x04030201, 0x11223344, {0x44, 0x33, 0x22, 0x11}},
    {"Big", "IntReg", big, {0x01, 0x02, 0x03, 0x04}, 0x01020304, 0x11223344, {0x11, 0x22, 0x33, 0x44}},
    {"NoOrderIsLittle", "IntReg", "", {0x01, 0x02}, 0x0201, 0x1122, {0x22, 0x11}},
    {"OneByte", "IntReg", "", {0xFE}, 254, 255, {0xFF}},
    {"OneSignedByte", "IntReg", "<Sign>Signed</Sign>", {0xFE}, -2, -128, {0x80}},
    {"ThreeBytes", "IntReg", big, {0x80, 0x00, 0x01}, 0x800001, 0x123456, {0x12, 0x34, 0x56}},
    {"ThreeSignedBytes", "IntReg", signedBig, {0x80, 0x00, 0x01}, -8388607, -1, {0xFF, 0xFF, 0xFF}},
    {"SevenBytes", "IntReg", big, {1, 2, 3, 4, 5, 6, 7}, 0x01020304050607, 9, {0, 0, 0, 0, 0, 0, 9}},
    {"EightBytes", "IntReg", big, {0, 0, 0, 1, 0, 0, 0, 2}, 0x100000002, 3, {0, 0, 0, 0, 0, 0, 0, 3}},
    {"EightSigned",
     "IntReg",
     signedBig,
     {255, 255, 255, 255, 255, 255, 255, 254},
     -2,
     INT64_MIN,
     {0x80, 0, 0, 0, 0, 0, 0, 0}},
    // 0x04030201: bits 8 to 15 are 0x02.
    {"LittleMask",
     "MaskedIntReg",
     little + "<LSB>8</LSB><MSB>15</MSB>",
     {0x01, 0x02, 0x03, 0x04},
     0x02,
     0xEE,
     {0x01, 0xEE, 0x03, 0x04}},
    // Bits 8 to 15 from the top of 0x01020304 are 0x02.
    {"BigMask",
     "MaskedIntReg",
     big + "<LSB>15</LSB><MSB>8</MSB>",
     {0x01, 0x02, 0x03, 0x04},
     0x02,
     0xEE,
     {0x01, 0xEE, 0x03, 0x04}},
    {"BigMaskNamedUpsideDown",
     "MaskedIntReg",
     big + "<LSB>8</LSB><MSB>15</MSB>",
     {0x01, 0x02, 0x03, 0x04},
     0x02,
     0xEE,
     {0x01, 0xEE, 0x03, 0x04}},
    {"LittleMaskUpsideDown",
     "MaskedIntReg",
     little + "<LSB>15</LSB><MSB>8</MSB>",
     {0x01, 0x02, 0x03, 0x04},
     0x02,
     0xEE,
     {0x01, 0xEE, 0x03, 0x04}},
    // 0xF5 = 1111 0101: bits 2 to 4 are 101, as a signed number -3.
    {"SignedMask", "MaskedIntReg", "<LSB>2</LSB><MSB>4</MSB><Sign>Signed</Sign>", {0xF5}, -3, 3, {0xED}},
    {"MaskAcrossBytes",
     "MaskedIntReg",
     big + "<LSB>11</LSB><MSB>4</MSB>",
     {0xA1, 0x2B},
     0x12,
     0xFE,
     {0xAF, 0xEB}},
    {"LittleBit", "MaskedIntReg", little + "<Bit>9</Bit>", {0x00, 0x02, 0x00, 0x00}, 1, 0, {0, 0, 0, 0}},
    {"BigBit", "MaskedIntReg", big + "<Bit>0</Bit>", {0x80, 0x00, 0x00, 0x01}, 1, 0, {0, 0, 0, 1}},
    {"WholeEightBytes",
     "MaskedIntReg",
     "<LSB>0</LSB><MSB>63</MSB><Sign>Signed</Sign>",
     {255, 255, 255, 255, 255, 255, 255, 255},
     -1,
     INT64_MIN,
     {0, 0, 0, 0, 0, 0, 0, 0x80}},
};

INSTANTIATE_TEST_SUITE_P(Table, IntegerRegister, testing::ValuesIn(integerRegisters),
                         [](const auto &row) { return row.param.name; });

TEST(IntegerRegister, RefusesWhatDoesNotFit)
{
    const std::pair<std::string, std::pair<int64_t, int64_t>> cases[] = {
        {Register("IntReg", "R", 0, 1), {0, 255}},
        {Register("IntReg", "R", 0, 2, "<Sign>Signed</Sign>"), {-32768, 32767}},
        {Register("IntReg", "R", 0, 8), {0, INT64_MAX}},
        {Register("MaskedIntReg", "R", 0, 4, "<LSB>3</LSB><MSB>5</MSB>"), {0, 7}},
        {Register("MaskedIntReg", "R", 0, 4, "<LSB>3</LSB><MSB>5</MSB><Sign>Signed</Sign>"), {-4, 3}},
        {Register("MaskedIntReg", "R", 0, 4, "<Bit>3</Bit>"), {0, 1}},
    };
    for (const auto &[text, range] : cases)
    {
        RegisterDevice device(text);
        EXPECT_EQ(device.features.LimitsOf<int64_t>("R"), (Limits<int64_t>{range.first, range.second, {}}))
            << text;
        for (const auto limit : {range.first, range.second})
        {
            device.features.WriteInteger("R", limit);
            EXPECT_EQ(device.features.ReadInteger("R"), limit) << text;
        }
        const auto before = device.port.bytes;
        EXPECT_EQ(FailureOf([&, low = range.first] { device.features.WriteInteger("R", low - 1); }).code,
                  GC_ERR_INVALID_VALUE)
            << text;
        if (range.second != INT64_MAX)
        {
            EXPECT_EQ(
                FailureOf([&, high = range.second] { device.features.WriteInteger("R", high + 1); }).code,
                GC_ERR_INVALID_VALUE)
                << text;
        }
        EXPECT_EQ(device.port.bytes, before) << text;
    }
}

TEST(IntegerRegister, RoundsAFloatingValue)
{
    RegisterDevice device(Register("IntReg", "R", 0, 1));
    device.features.WriteFloat("R", 2.5);
    EXPECT_EQ(device.features.ReadInteger("R"), 3);
    EXPECT_EQ(device.features.ReadFloat("R"), 3.0);
}

TEST(MaskedRegister, ReplacesItsBitsInWhatTheDeviceHasNow)
{
    RegisterDevice device(Register("MaskedIntReg", "R", 0, 1, "<LSB>0</LSB><MSB>3</MSB>"));
    EXPECT_EQ(device.features.ReadInteger("R"), 0);
    device.port.Set(0, {0xA0});
    device.features.WriteInteger("R", 5);
    EXPECT_THAT(device.port.Get(0, 1), ElementsAre(0xA5));
}

TEST(MaskedRegister, RefusesBitsOutsideOfTheRegister)
{
    RegisterDevice device(Register("MaskedIntReg", "Wide", 0, 4, "<LSB>0</LSB><MSB>32</MSB>") +
                          Register("MaskedIntReg", "NoBits", 0, 4));
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("Wide"); }),
              (Failure{"Wide: bits 0 to 32 of a register of 32", GC_ERR_ERROR}));
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("NoBits"); }),
              (Failure{"NoBits: bits -1 to -1 of a register of 32", GC_ERR_ERROR}));
}

const std::string structure = "<StructReg Comment=\"Flags\"><Address>0x20</Address><Length>4</Length>"
                              "<AccessMode>RW</AccessMode><Endianess>BigEndian</Endianess>"
                              "<StructEntry Name=\"High\"><Bit>0</Bit></StructEntry>"
                              "<StructEntry Name=\"Middle\"><LSB>23</LSB><MSB>16</MSB></StructEntry>"
                              "<StructEntry Name=\"Low\"><LSB>31</LSB><MSB>28</MSB><Sign>Signed</Sign>"
                              "<AccessMode>RO</AccessMode></StructEntry></StructReg>";

TEST(StructEntries, ShareTheRegisterOfTheirStructure)
{
    RegisterDevice device(structure);
    device.port.Set(0x20, {0x80, 0x12, 0x34, 0x5E});
    EXPECT_EQ(device.features.ReadInteger("High"), 1);
    EXPECT_EQ(device.features.ReadInteger("Middle"), 0x34);
    EXPECT_EQ(device.features.ReadInteger("Low"), -2);
    device.features.WriteInteger("High", 0);
    device.features.WriteInteger("Middle", 0xAB);
    EXPECT_THAT(device.port.Get(0x20, 4), ElementsAre(0x00, 0x12, 0xAB, 0x5E));
}

TEST(StructEntries, MayOverrideTheAccessOfTheirStructure)
{
    RegisterDevice device(structure);
    EXPECT_TRUE(device.features.AccessOf("High").writable);
    EXPECT_FALSE(device.features.AccessOf("Low").writable);
    EXPECT_EQ(FailureOf([&] { device.features.WriteInteger("Low", 1); }),
              (Failure{"Low: not writable: its AccessMode is RO", GC_ERR_ACCESS_DENIED}));
}

struct FloatRegisterCase
{
    std::string more;
    Bytes bytes;
    double value;
    double written;
    Bytes after;
};

TEST(FloatRegister, ReadsAndWritesIeeeNumbers)
{
    const FloatRegisterCase cases[] = {
        // 1.5 = 0x3FC00000, -2 = 0xC0000000; as doubles 0x3FF8... and 0xC000...
        {little, {0x00, 0x00, 0xC0, 0x3F}, 1.5, -2, {0x00, 0x00, 0x00, 0xC0}},
        {big, {0x3F, 0xC0, 0x00, 0x00}, 1.5, -2, {0xC0, 0x00, 0x00, 0x00}},
        {little, {0, 0, 0, 0, 0, 0, 0xF8, 0x3F}, 1.5, -2, {0, 0, 0, 0, 0, 0, 0, 0xC0}},
        {big, {0x3F, 0xF8, 0, 0, 0, 0, 0, 0}, 1.5, -2, {0xC0, 0, 0, 0, 0, 0, 0, 0}},
        {big, {0x7F, 0x80, 0, 0}, std::numeric_limits<double>::infinity(), 0, {0, 0, 0, 0}},
        {big, {0, 0, 0, 0}, 0, -std::numeric_limits<double>::infinity(), {0xFF, 0x80, 0, 0}},
    };
    for (const auto &row : cases)
    {
        RegisterDevice device(Register("FloatReg", "R", 8, static_cast<int>(row.bytes.size()), row.more));
        device.port.Set(8, row.bytes);
        EXPECT_EQ(device.features.ReadFloat("R"), row.value);
        device.features.WriteFloat("R", row.written);
        EXPECT_EQ(device.port.Get(8, row.bytes.size()), row.after);
    }
}

TEST(FloatRegister, RefusesWhatItCannotHold)
{
    RegisterDevice device(Register("FloatReg", "R", 0, 4) + Register("FloatReg", "Two", 0, 2));
    EXPECT_EQ(FailureOf([&] { device.features.WriteFloat("R", 1e300); }).code, GC_ERR_INVALID_VALUE);
    EXPECT_EQ(FailureOf([&] { device.features.ReadFloat("Two"); }),
              (Failure{"Two: a floating number of 2 bytes", GC_ERR_ERROR}));
    EXPECT_THAT(device.port.writes, ElementsAre());
}

TEST(FloatRegister, IsRoundedWhereAnIntegerIsWanted)
{
    RegisterDevice device(Register("FloatReg", "R", 0, 4, big));
    device.features.WriteFloat("R", -2.5);
    EXPECT_EQ(device.features.ReadInteger("R"), -3);
    device.features.WriteFloat("R", 1e30);
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("R"); }).code, GC_ERR_INVALID_VALUE);
}

TEST(StringRegister, EndsAtItsFirstZero)
{
    RegisterDevice device(Register("StringReg", "S", 0, 6));
    device.port.Set(0, {'a', 'b', 0, 'c', 'd', 'e'});
    EXPECT_EQ(device.features.ReadText("S"), "ab");
    device.features.WriteText("S", "xyz");
    EXPECT_THAT(device.port.Get(0, 6), ElementsAre('x', 'y', 'z', 0, 0, 0));
    device.features.WriteText("S", "sixsix");
    EXPECT_EQ(device.features.ReadText("S"), "sixsix");
    EXPECT_EQ(FailureOf([&] { device.features.WriteText("S", "sevenss"); }),
              (Failure{"S: a text of 7 bytes is too long for 6", GC_ERR_INVALID_VALUE}));
    EXPECT_EQ(device.features.LimitsOf<int64_t>("S"), (Limits<int64_t>{0, 6, {}}));
}

TEST(PlainRegister, TakesExactlyItsBytes)
{
    RegisterDevice device(Register("Register", "B", 4, 3) + Register("StringReg", "S", 8, 2));
    device.features.WriteBytes("B", Bytes{1, 2, 3});
    EXPECT_THAT(device.features.ReadBytes("B"), ElementsAre(1, 2, 3));
    EXPECT_EQ(FailureOf(
                  [&] {
                      device.features.WriteBytes("B", Bytes{1, 2});
                  }),
              (Failure{"B: 2 bytes for a register of 3", GC_ERR_INVALID_VALUE}));
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("B"); }),
              (Failure{"B: a Register has no number", GC_ERR_ERROR}));
    EXPECT_THAT(device.features.ReadBytes("S"), ElementsAre(0, 0));
    EXPECT_EQ(device.features.LimitsOf<int64_t>("B").max, 3);
}

TEST(SwappingPort, TurnsTheByteOrderOfItsRegisters)
{
    const std::string port = "<Port Name=\"Device\"><SwapEndianess>Yes</SwapEndianess></Port>"
                             "<Port Name=\"Plain\"><SwapEndianess>No</SwapEndianess></Port>";
    const std::string onDevice = "<pPort>Device</pPort>";
    RegisterDevice device(port + Register("IntReg", "Big", 0, 2, onDevice + big) +
                          Register("IntReg", "Little", 0, 2, onDevice) +
                          Register("IntReg", "Plain2", 0, 2, "<pPort>Plain</pPort>") +
                          Register("FloatReg", "Float", 4, 4, onDevice) +
                          Register("MaskedIntReg", "FirstBit", 0, 2, onDevice + "<Bit>0</Bit>"));
    device.port.Set(0, {0x80, 0x02, 0, 0, 0x3F, 0xC0, 0, 0});
    EXPECT_EQ(device.features.ReadInteger("Big"), 0x0280);
    EXPECT_EQ(device.features.ReadInteger("Little"), 0x8002);
    EXPECT_EQ(device.features.ReadInteger("Plain2"), 0x0280);
    EXPECT_EQ(device.features.ReadFloat("Float"), 1.5);
    EXPECT_EQ(device.features.ReadInteger("FirstBit"), 1) << "the bits count in the turned order";
}

TEST(NumberRegister, HasAtMostEightBytes)
{
    RegisterDevice device(Register("IntReg", "R", 0, 9) + Register("IntReg", "None", 0, 0) +
                          Register("Register", "Huge", 0, 1048577) +
                          Register("Register", "Mega", 0, 1048576));
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("R"); }).text,
              "R: 9 bytes are too many for a number");
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("None"); }).text, "None: a length of 0 bytes");
    EXPECT_EQ(FailureOf([&] { device.features.ReadBytes("Huge"); }).text, "Huge: a length of 1048577 bytes");
    EXPECT_EQ(FailureOf([&] { device.features.ReadBytes("Mega"); }).code, GC_ERR_INVALID_ADDRESS);
}

} // namespace
} // namespace GenTL::internal::genapi
