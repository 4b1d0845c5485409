#include "scan3d_test.h"

#include "support/log_capture.h"

#include <gmock/gmock.h>

#include <limits>

namespace GenTL::internal::overrides
{
namespace
{

using Mode = Scan3dOutputMode;

class Scan3dValues : public Scan3dTest
{
protected:
    void OpenAndForget()
    {
        Open();
        Forget();
    }

    void UseCoordinates()
    {
        extra += Enumeration("Scan3dCoordinateSelector", coordinateAddress, {},
                             Entry("CoordinateA", 0) + Entry("CoordinateB", 1) + Entry("CoordinateC", 2));
    }

    LogCapture log;
};

TEST_F(Scan3dValues, AreTheDevicesOwnWithoutCalibration)
{
    extra = Float("Scan3dCoordinateScale", scaleAddress) + Float("Scan3dCoordinateOffset", offsetAddress) +
            Float("Scan3dInvalidDataValue", invalidValueAddress);
    SetValue(scaleAddress, 0.5F);
    SetValue(offsetAddress, 7.F);
    SetValue(invalidValueAddress, -1.F);
    OpenAndForget();
    scan3d->mode = Mode::UncalibratedC;
    EXPECT_EQ(Read(scaleAddress, 4), BytesOf(0.5F));
    EXPECT_EQ(Read(offsetAddress, 4), BytesOf(7.F));
    EXPECT_EQ(Read(invalidValueAddress, 4), BytesOf(-1.F));
    for (const auto mode : {Mode::CalibratedC, Mode::CalibratedABC_Grid})
    {
        scan3d->mode = mode;
        EXPECT_EQ(Read(scaleAddress, 4), BytesOf(1.F));
        EXPECT_EQ(Read(offsetAddress, 4), BytesOf(0.F));
        EXPECT_EQ(Read(invalidValueAddress, 4), BytesOf(0.F));
    }
}

TEST_F(Scan3dValues, AreInTheFormatOfTheirRegister)
{
    extra = Float("Scan3dCoordinateScale", scaleAddress, {.length = 8, .order = "BigEndian"});
    OpenAndForget();
    EXPECT_EQ(Read(scaleAddress, 8), Reversed(BytesOf(1.0)));
    extra = Float("Scan3dCoordinateScale", scaleAddress, {.order = "BigEndian"});
    OpenAndForget();
    EXPECT_EQ(Read(scaleAddress, 4), Reversed(BytesOf(1.F)));
}

TEST_F(Scan3dValues, OfAnOddLengthCannotBeRead)
{
    extra = Float("Scan3dCoordinateOffset", offsetAddress, {.length = 2});
    OpenAndForget();
    EXPECT_EQ(FailureOf([&] { Read(offsetAddress, 2); }),
              (Failure{"Unable to handle node Scan3dCoordinateOffset with length 2", GC_ERR_ERROR}));
    scan3d->mode = Mode::UncalibratedC;
    EXPECT_EQ(FailureOf([&] { Read(offsetAddress, 2); }), Failure{});
}

TEST_F(Scan3dValues, AreIntegersInIntegerRegisters)
{
    for (const auto length : std::initializer_list<uint64_t>{1, 2, 3, 4, 8})
    {
        extra.clear();
        UseConverter("Scan3dCoordinateScale", "TO * 2", scaleAddress, "",
                     {.length = length, .order = length == 3 ? "LittleEndian" : "BigEndian"});
        SetValue(scaleAddress, uint64_t{0});
        OpenAndForget();
        Bytes expected(length);
        expected.back() = 1;
        if (length == 3)
        {
            // One byte is stored, the others stay as the consumer gave them.
            expected = {1, 0xEE, 0xEE};
        }
        EXPECT_EQ(Read(scaleAddress, length), expected);
    }
}

TEST_F(Scan3dValues, AreIntegersForEveryVariableOfAFormula)
{
    UseConverter("Scan3dCoordinateScale", "TO * FACTOR", scaleAddress, Variable("FACTOR", "FactorReg"));
    extra += Register("FactorReg", axisMaxAddress, {});
    SetValue(scaleAddress, 5);
    SetValue(axisMaxAddress, 6);
    OpenAndForget();
    EXPECT_EQ(Read(scaleAddress, 4), BytesOf(1));
    EXPECT_EQ(Read(axisMaxAddress, 4), BytesOf(1));
    scan3d->mode = Mode::UncalibratedC;
    EXPECT_EQ(Read(axisMaxAddress, 4), BytesOf(6));
}

TEST_F(Scan3dValues, ReachTheirLimits)
{
    extra = "<Float Name=\"Scan3dCoordinateOffset\"><pValue>OffsetReg</pValue><pMin>Lowest</pMin>"
            "<pMax>Highest</pMax></Float>"
            "<FloatReg Name=\"OffsetReg\"><Address>0x158</Address><Length>4</Length></FloatReg>"
            "<SwissKnife Name=\"Highest\"><pVariable Name=\"A\">HighReg</pVariable><Formula>A</Formula>"
            "</SwissKnife>" +
            Register("HighReg", axisMaxAddress, {}) + Integer("Lowest", axisMinAddress, {});
    SetValue(axisMaxAddress, 70);
    SetValue(axisMinAddress, 60);
    OpenAndForget();
    EXPECT_EQ(Read(axisMaxAddress, 4), BytesOf(0));
    EXPECT_EQ(Read(axisMinAddress, 4), BytesOf(0));
    scan3d->mode = Mode::UncalibratedC;
    EXPECT_EQ(Read(axisMaxAddress, 4), BytesOf(70));
    EXPECT_EQ(Read(axisMinAddress, 4), BytesOf(60));
}

TEST_F(Scan3dValues, EndWhereLimitsLeadBack)
{
    extra = "<Float Name=\"Scan3dCoordinateScale\"><pValue>ScaleReg</pValue><pMin>Other</pMin></Float>"
            "<FloatReg Name=\"ScaleReg\"><Address>0x140</Address><Length>4</Length></FloatReg>"
            "<Float Name=\"Other\"><pValue>OtherReg</pValue><pMin>Scan3dCoordinateScale</pMin></Float>"
            "<FloatReg Name=\"OtherReg\"><Address>0x148</Address><Length>4</Length></FloatReg>";
    OpenAndForget();
    EXPECT_EQ(Read(scaleAddress, 4), BytesOf(1.F));
    EXPECT_EQ(Read(0x148, 4), BytesOf(1.F));
}

TEST_F(Scan3dValues, LeaveALiteralAlone)
{
    extra = "<Float Name=\"Scan3dCoordinateScale\"><Value>0.5</Value></Float>"
            "<Float Name=\"Scan3dAxisMax\"><Value>0.5</Value></Float>";
    SetValue(0, 0x01020304);
    OpenAndForget();
    EXPECT_EQ(Read(0, 4), BytesOf(0x01020304));
}

TEST_F(Scan3dValues, NeedAConverterWhereThereIsNoRegister)
{
    extra = "<Float Name=\"Scan3dCoordinateOffset\"><pIsAvailable>Nowhere</pIsAvailable>"
            "<pValue>Missing</pValue></Float>";
    EXPECT_EQ(OpenFailure(), PlainFailure("Converter Missing not found!"));
}

class Scan3dAxis : public Scan3dValues
{
protected:
    /// What is read of a signed register of 4 bytes.
    int32_t ReadSigned(uint64_t address)
    {
        int32_t value = 0;
        std::memcpy(&value, Read(address, 4).data(), sizeof value);
        return value;
    }
};

TEST_F(Scan3dAxis, HoldsTheRangeOfTheCoordinate)
{
    UseConverter("Scan3dAxisMax", "TO / SCALE", axisMaxAddress, Constant("SCALE", "100"));
    UseConverter("Scan3dAxisMin", "TO / SCALE", axisMinAddress, Constant("SCALE", "10.9"));
    UseCoordinates();
    SetValue(axisMaxAddress, 5);
    SetValue(axisMinAddress, 6);
    OpenAndForget();
    EXPECT_EQ(ReadSigned(axisMaxAddress), 201) << "2.0005 * 100, rounded up";
    EXPECT_EQ(ReadSigned(axisMinAddress), -11) << "-1.0005 * 10, rounded down";
    WriteBytes(coordinateAddress, BytesOf(1));
    ReadSigned(axisMaxAddress);
    EXPECT_EQ(scan3d->askedRanges.back(), Scan3dCoordinate::CoordinateB);
    scan3d->mode = Mode::UncalibratedC;
    EXPECT_EQ(ReadSigned(axisMaxAddress), 5);
    EXPECT_EQ(ReadSigned(axisMinAddress), 6);
    EXPECT_EQ(scan3d->askedRanges.size(), 3U);
}

TEST_F(Scan3dAxis, GetsADivisorOfItsOwnWhereItIsARegister)
{
    UseConverter("Scan3dAxisMax", "TO / DIVISOR", axisMaxAddress, Variable("DIVISOR", "DivisorReg"));
    extra += Register("DivisorReg", axisMinAddress, {.length = 2, .order = "BigEndian"});
    SetValue(axisMinAddress, uint16_t{0x0500});
    OpenAndForget();
    EXPECT_EQ(Read(axisMinAddress, 2), (Bytes{0x03, 0xE8}));
    EXPECT_EQ(ReadSigned(axisMaxAddress), 2001);
    scan3d->mode = Mode::UncalibratedC;
    EXPECT_EQ(Read(axisMinAddress, 2), (Bytes{0, 5}));
}

TEST_F(Scan3dAxis, UsesTheSameDivisorForAVariableThatIsNowhere)
{
    // Behind conditions that do not hold, so that the device's value is not asked for at the opening.
    extra = "<Float Name=\"Scan3dAxisMax\"><pIsAvailable>Nowhere</pIsAvailable><pValue>Conv</pValue></Float>"
            "<Converter Name=\"Conv\"><pVariable Name=\"DIVISOR\">Missing</pVariable>"
            "<FormulaFrom>TO / DIVISOR</FormulaFrom><pValue>RawReg</pValue></Converter>" +
            Register("RawReg", axisMaxAddress, {});
    OpenAndForget();
    EXPECT_EQ(ReadSigned(axisMaxAddress), 2001);
}

TEST_F(Scan3dAxis, IsStoredByTheSizeOfItsRegister)
{
    UseConverter("Scan3dAxisMin", "TO / SCALE", axisMinAddress, Constant("SCALE", "1"),
                 {.length = 8, .order = "BigEndian"});
    OpenAndForget();
    EXPECT_EQ(Read(axisMinAddress, 8), Reversed(BytesOf(int64_t{-2})));
}

TEST_F(Scan3dAxis, StaysWithinTheIntegers)
{
    UseConverter("Scan3dAxisMax", "TO / SCALE", axisMaxAddress, Constant("SCALE", "1"), {.length = 8});
    OpenAndForget();
    scan3d->range.second = std::numeric_limits<double>::infinity();
    EXPECT_EQ(Read(axisMaxAddress, 8), BytesOf(std::numeric_limits<int64_t>::max()));
    scan3d->range.second = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(Read(axisMaxAddress, 8), BytesOf(int64_t{0}));
}

TEST_F(Scan3dAxis, CannotBeSetUpWithALiteralDivisor)
{
    UseConverter("Scan3dAxisMax", "TO / 1000", axisMaxAddress);
    EXPECT_EQ(OpenFailure(), PlainFailure("unordered_map::at: key not found")) << "a literal has no name";
}

TEST_F(Scan3dAxis, NeedsADivisorThatTheConverterKnows)
{
    extra = "<Float Name=\"Scan3dAxisMax\"><pIsAvailable>Nowhere</pIsAvailable><pValue>Conv</pValue></Float>"
            "<Converter Name=\"Conv\"><FormulaFrom>TO / UNKNOWN</FormulaFrom><pValue>RawReg</pValue>"
            "</Converter>" +
            Register("RawReg", axisMaxAddress, {});
    EXPECT_EQ(OpenFailure(), PlainFailure("unordered_map::at: key not found"));
}

TEST_F(Scan3dAxis, IsLeftAloneBehindAnyOtherFormula)
{
    for (const auto *formula : {"TO * SCALE", "TO * 2", "TO / SCALE + 1", "SCALE / SCALE", "FROM / SCALE",
                                "TO", "TO /", "TO / )", "TO / -", "TO / :", "TO / 1.5", "TO / $", "",
                                "/ TO SCALE", "(TO / SCALE)", "TO ** SCALE", "to / SCALE"})
    {
        // Not all of them can be computed, so that the device's value is not to be asked for at the opening.
        extra = fmt::format("<Float Name=\"Scan3dAxisMax\"><pIsAvailable>Nowhere</pIsAvailable>"
                            "<pValue>Conv</pValue></Float><Converter Name=\"Conv\">{}"
                            "<FormulaFrom>{}</FormulaFrom><pValue>RawReg</pValue></Converter>",
                            Constant("SCALE", "2"), formula) +
                Register("RawReg", axisMaxAddress, {});
        SetValue(axisMaxAddress, 77);
        OpenAndForget();
        EXPECT_EQ(ReadSigned(axisMaxAddress), 77) << formula;
    }
    extra = Float("Scan3dAxisMax", axisMaxAddress);
    OpenAndForget();
    EXPECT_EQ(ReadSigned(axisMaxAddress), 77) << "no formula at all";
}

TEST_F(Scan3dAxis, IsLeftAloneWithoutARegisterBehindIt)
{
    extra = "<Float Name=\"Scan3dAxisMax\"><pIsAvailable>Nowhere</pIsAvailable><pValue>Conv</pValue></Float>"
            "<Converter Name=\"Conv\"><Constant Name=\"S\">2</Constant><FormulaFrom>TO / S</FormulaFrom>"
            "<pValue>Missing</pValue></Converter>";
    EXPECT_EQ(OpenFailure(), Failure{});
}

class Scan3dFlag : public Scan3dValues
{
protected:
    void UseFlag(const Layout &layout = {})
    {
        extra = "<Boolean Name=\"Scan3dInvalidDataFlag\"><pValue>FlagReg</pValue></Boolean>" +
                Register("FlagReg", invalidFlagAddress, layout);
        UseCoordinates();
    }
};

TEST_F(Scan3dFlag, IsSetForTheDepth)
{
    UseFlag();
    OpenAndForget();
    for (const uint32_t coordinate : {0U, 1U, 2U})
    {
        WriteBytes(coordinateAddress, BytesOf(coordinate));
        scan3d->mode = Mode::CalibratedABC_Grid;
        EXPECT_EQ(Read(invalidFlagAddress, 4), BytesOf(coordinate == 2 ? 1 : 0));
        for (const auto mode : {Mode::UncalibratedC, Mode::CalibratedC, Mode::DisparityC})
        {
            scan3d->mode = mode;
            EXPECT_EQ(Read(invalidFlagAddress, 4), BytesOf(1));
        }
    }
}

TEST_F(Scan3dFlag, IsStoredByTheSizeOfItsRegister)
{
    for (const auto length : std::initializer_list<uint64_t>{1, 2, 4, 8})
    {
        UseFlag({.length = length, .order = "BigEndian"});
        OpenAndForget();
        scan3d->mode = Mode::UncalibratedC;
        Bytes expected(length);
        expected.back() = 1;
        EXPECT_EQ(Read(invalidFlagAddress, length), expected);
    }
}

} // namespace
} // namespace GenTL::internal::overrides
