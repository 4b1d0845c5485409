#include "common/pixel_format.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace tarn::common
{
namespace
{

using Codes = std::vector<std::pair<std::string, int64_t>>;

// The codes once more, typed by hand: a name does not tell its code, and a row of the table with the code of
// another format would go unnoticed.
const std::map<uint64_t, Codes> codesByBits{
    {8,
     {{"Mono8", 0x01080001},
      {"BayerGR8", 0x01080008},
      {"BayerRG8", 0x01080009},
      {"BayerGB8", 0x0108000A},
      {"BayerBG8", 0x0108000B},
      {"Coord3D_C8", 0x010800B1},
      {"Confidence8", 0x010800C6},
      {"Mono8_I_A_B", 0x92080001},
      {"BayerGR8_I_A_B", 0x92080008},
      {"BayerRG8_I_A_B", 0x92080009},
      {"BayerGB8_I_A_B", 0x9208000A},
      {"BayerBG8_I_A_B", 0x9208000B},
      {"Mono8_I_AB_CD", 0xB2080001}}},
    {10,
     {{"Mono10p", 0x010A0046},
      {"BayerBG10p", 0x010A0052},
      {"BayerGB10p", 0x010A0054},
      {"BayerGR10p", 0x010A0056},
      {"BayerRG10p", 0x010A0058},
      {"BayerRG10g40QVR", 0x40000001},
      {"BayerGB10g40QVR", 0x40000002},
      {"BayerGR10g40QVR", 0x40000003},
      {"BayerBG10g40QVR", 0x40000004},
      {"Mono10g40QVR", 0x4000000F},
      {"BayerRG10g40QVR_I_A_B", 0x92000001},
      {"BayerGB10g40QVR_I_A_B", 0x92000002},
      {"BayerGR10g40QVR_I_A_B", 0x92000003},
      {"BayerBG10g40QVR_I_A_B", 0x92000004},
      {"Mono10g40QVR_I_A_B", 0x9200000F},
      {"Mono10p_I_A_B", 0x920A0046},
      {"BayerBG10p_I_A_B", 0x920A0052},
      {"BayerGB10p_I_A_B", 0x920A0054},
      {"BayerGR10p_I_A_B", 0x920A0056},
      {"BayerRG10p_I_A_B", 0x920A0058},
      {"Mono10g40QVR_I_AB_CD", 0xB200000F},
      {"Mono10p_I_AB_CD", 0xB20A0046}}},
    {12,
     {{"Mono12p", 0x010C0047},
      {"BayerBG12p", 0x010C0053},
      {"BayerGB12p", 0x010C0055},
      {"BayerGR12p", 0x010C0057},
      {"BayerRG12p", 0x010C0059},
      {"BayerRG12g24QVR", 0x40000011},
      {"BayerGB12g24QVR", 0x40000012},
      {"BayerGR12g24QVR", 0x40000013},
      {"BayerBG12g24QVR", 0x40000014},
      {"Mono12g24QVR", 0x4000001F},
      {"YUV420_8_YY_UV_SemiplanarQVR", 0x420C0001},
      {"YUV420_8_YY_VU_SemiplanarQVR", 0x420C0002},
      {"BayerRG12g24QVR_I_A_B", 0x92000011},
      {"BayerGB12g24QVR_I_A_B", 0x92000012},
      {"BayerGR12g24QVR_I_A_B", 0x92000013},
      {"BayerBG12g24QVR_I_A_B", 0x92000014},
      {"Mono12g24QVR_I_A_B", 0x9200001F},
      {"Mono12p_I_A_B", 0x920C0047},
      {"BayerBG12p_I_A_B", 0x920C0053},
      {"BayerGB12p_I_A_B", 0x920C0055},
      {"BayerGR12p_I_A_B", 0x920C0057},
      {"BayerRG12p_I_A_B", 0x920C0059},
      {"Mono12g24QVR_I_AB_CD", 0xB200001F},
      {"Mono12p_I_AB_CD", 0xB20C0047}}},
    {16, {{"Mono10", 0x01100003},          {"Mono12", 0x01100005},          {"Mono16", 0x01100007},
          {"BayerGR10", 0x0110000C},       {"BayerRG10", 0x0110000D},       {"BayerGB10", 0x0110000E},
          {"BayerBG10", 0x0110000F},       {"BayerGR12", 0x01100010},       {"BayerRG12", 0x01100011},
          {"BayerGB12", 0x01100012},       {"BayerBG12", 0x01100013},       {"Coord3D_C16", 0x011000B8},
          {"Confidence16", 0x011000C7},    {"YUV422_8_UYVY", 0x0210001F},   {"Mono8_AB", 0x8110000C},
          {"BayerRG8_AB", 0x8110000D},     {"BayerBG8_AB", 0x8110000E},     {"BayerGR8_AB", 0x8110000F},
          {"BayerGB8_AB", 0x81100010},     {"Mono10_I_A_B", 0x92100003},    {"Mono12_I_A_B", 0x92100005},
          {"BayerGR10_I_A_B", 0x9210000C}, {"BayerRG10_I_A_B", 0x9210000D}, {"BayerGB10_I_A_B", 0x9210000E},
          {"BayerBG10_I_A_B", 0x9210000F}, {"BayerGR12_I_A_B", 0x92100010}, {"BayerRG12_I_A_B", 0x92100011},
          {"BayerGB12_I_A_B", 0x92100012}, {"BayerBG12_I_A_B", 0x92100013}, {"Mono10_I_AB_CD", 0xB2100003},
          {"Mono12_I_AB_CD", 0xB2100005}}},
    {24, {{"RGB8", 0x02180014}, {"BGR8", 0x02180015}}},
    {32,
     {{"Coord3D_C32f", 0x012000BF},
      {"Mono32f", 0x0120012F},
      {"RGBa8", 0x02200016},
      {"BGRa8", 0x02200017},
      {"RGB10p32", 0x0220001D},
      {"BGR10p32", 0x0220001E},
      {"BayerRG10_AB", 0x81100003},
      {"BayerBG10_AB", 0x81100004},
      {"BayerGR10_AB", 0x81100005},
      {"BayerGB10_AB", 0x81100006},
      {"Mono12_AB", 0x81100007},
      {"BayerRG12_AB", 0x81100008},
      {"BayerBG12_AB", 0x81100009},
      {"BayerGR12_AB", 0x8110000A},
      {"BayerGB12_AB", 0x8110000B},
      {"Mono8_ABCD", 0x81200011},
      {"Mono32fQVR", 0x81200020},
      {"Mono10_AB", 0x81200022}}},
    {48, {{"RGB10", 0x02300018}, {"BGR10", 0x02300019}, {"RGB12", 0x0230001A}, {"BGR12", 0x0230001B}}},
    {64,
     {{"BGRa10", 0x0240004C},
      {"BGRa12", 0x0240004E},
      {"RGBa10", 0x0240005F},
      {"RGBa12", 0x02400061},
      {"Mono10_ABCD", 0x81400012},
      {"Mono12_ABCD", 0x81400013}}},
    {96, {{"Coord3D_ABC32f", 0x026000C0}, {"RGB32f", 0x02600130}, {"RGB32fQVR", 0x82600021}}},
};

TEST(PixelFormat, HasItsCodeAndItsStorage)
{
    size_t count = 0;
    for (const auto &[bits, codes] : codesByBits)
    {
        for (const auto &[name, code] : codes)
        {
            const auto format = static_cast<PixelFormat>(code);
            EXPECT_EQ(PixelFormatName(format), name);
            EXPECT_EQ(GetSizeInBytes(format, {8, 1}), bits) << name;
            ++count;
        }
    }
    EXPECT_EQ(count, 123U);
}

} // namespace
} // namespace tarn::common
