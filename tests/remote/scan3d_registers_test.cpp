#include "scan3d_test.h"

#include "support/log_capture.h"

#include <gmock/gmock.h>

namespace GenTL::internal::overrides
{
namespace
{

using testing::IsEmpty;

/// Which registers are answered for a feature that stands on more than one.
class Scan3dRegisters : public Scan3dTest
{
protected:
    static constexpr uint64_t first = 0x140;
    static constexpr uint64_t second = 0x148;
    static constexpr uint64_t third = 0x150;
    static constexpr uint64_t fourth = 0x158;
    static constexpr uint32_t own = 77; ///< what the device has in each of them

    /// Opens the port and sees which of the registers give the offset of calibrated output.
    std::vector<uint64_t> Answered()
    {
        for (const auto address : {first, second, third, fourth})
        {
            SetValue(address, own);
        }
        Open();
        std::vector<uint64_t> answered;
        for (const auto address : {first, second, third, fourth})
        {
            const auto bytes = Read(address, 4);
            if (bytes == BytesOf(0))
            {
                answered.push_back(address);
            }
            else
            {
                EXPECT_EQ(bytes, BytesOf(own));
            }
            scan3d->mode = Scan3dOutputMode::UncalibratedC;
            EXPECT_EQ(Read(address, 4), BytesOf(own)) << "the device's own without calibration";
            scan3d->mode = Scan3dOutputMode::CalibratedC;
        }
        return answered;
    }

    /// Behind a condition that does not hold, so that the device's value is not asked for at the opening.
    static std::string Feature(const std::string &children)
    {
        return "<Float Name=\"Scan3dCoordinateOffset\"><pIsAvailable>Nowhere</pIsAvailable>" + children +
               "</Float>";
    }

    static std::string Converter(const std::string &name, const std::string &children)
    {
        return "<Converter Name=\"" + name + "\">" + children + "<FormulaFrom>TO</FormulaFrom></Converter>";
    }

    using Addresses = std::vector<uint64_t>;
    LogCapture log;
};

TEST_F(Scan3dRegisters, AreThoseOfAFormulaAndOfBothLimits)
{
    extra = Feature("<pValue>Conv</pValue><pMin>Least</pMin><pMax>MostReg</pMax>") +
            Converter("Conv", Variable("A", "AReg") + "<pValue>RawReg</pValue>") +
            Register("RawReg", first, {}) + Register("AReg", second, {}) + Integer("Least", third, {}) +
            Register("MostReg", fourth, {});
    EXPECT_EQ(Answered(), (Addresses{first, second, third, fourth}));
}

TEST_F(Scan3dRegisters, AreThoseOfLimitsThatTheDescriptionNamesAhead)
{
    extra = Integer("Least", second, {}) + Integer("Most", third, {}) +
            Feature("<pValue>RawReg</pValue><pMin>Least</pMin><pMax>Most</pMax>") +
            "<FloatReg Name=\"RawReg\"><Address>0x140</Address><Length>4</Length></FloatReg>";
    EXPECT_EQ(Answered(), (Addresses{first, second, third}));
}

TEST_F(Scan3dRegisters, AreThoseOfTheLimitsOfALimit)
{
    extra = Feature("<pValue>RawReg</pValue><pMax>Most</pMax>") +
            "<FloatReg Name=\"RawReg\"><Address>0x140</Address><Length>4</Length></FloatReg>"
            "<Integer Name=\"Most\"><pValue>MostReg</pValue><pMin>Least</pMin></Integer>" +
            Register("MostReg", second, {}) + Integer("Least", third, {});
    EXPECT_EQ(Answered(), (Addresses{first, second, third}));
}

TEST_F(Scan3dRegisters, AreThoseOfAFormulaAsALimit)
{
    extra = Feature("<pValue>RawReg</pValue><pMin>Least</pMin>") +
            "<FloatReg Name=\"RawReg\"><Address>0x140</Address><Length>4</Length></FloatReg>" +
            Converter("Least", Variable("A", "AReg") + Variable("B", "BReg") + "<pValue>LeastReg</pValue>") +
            Register("AReg", second, {}) + Register("BReg", third, {}) + Register("LeastReg", fourth, {});
    EXPECT_EQ(Answered(), (Addresses{first, second, third, fourth}));
}

TEST_F(Scan3dRegisters, AreNotThoseOfTheIncrement)
{
    extra = Feature("<pValue>RawReg</pValue><pInc>Step</pInc>") +
            "<FloatReg Name=\"RawReg\"><Address>0x140</Address><Length>4</Length></FloatReg>" +
            Integer("Step", second, {});
    EXPECT_EQ(Answered(), Addresses{first});
}

TEST_F(Scan3dRegisters, AreNotThoseOfTheLimitsOfALiteral)
{
    extra = Feature("<Value>1</Value><pMin>Least</pMin>") + Integer("Least", second, {});
    EXPECT_THAT(Answered(), IsEmpty());
}

TEST_F(Scan3dRegisters, AreNotThoseOfLiteralLimits)
{
    extra = Feature("<pValue>RawReg</pValue><Min>0</Min><Max>9</Max>") +
            "<FloatReg Name=\"RawReg\"><Address>0x140</Address><Length>4</Length></FloatReg>";
    EXPECT_EQ(Answered(), Addresses{first});
}

TEST_F(Scan3dRegisters, AreNotThoseOfTheLimitsOfAVariable)
{
    extra = Feature("<pValue>Conv</pValue>") + Converter("Conv", Variable("A", "AValue")) +
            "<Integer Name=\"AValue\"><pValue>AReg</pValue><pMin>Least</pMin></Integer>" +
            Register("AReg", first, {}) + Integer("Least", second, {});
    EXPECT_EQ(Answered(), Addresses{first});
}

TEST_F(Scan3dRegisters, AreNotThoseOfTheLimitsOfAnAxis)
{
    extra = "<Float Name=\"Scan3dAxisMax\"><pIsAvailable>Nowhere</pIsAvailable><pValue>Conv</pValue>"
            "<pMin>Least</pMin></Float><Converter Name=\"Conv\"><Constant Name=\"S\">2</Constant>"
            "<FormulaFrom>TO / S</FormulaFrom><pValue>RawReg</pValue></Converter>" +
            Register("RawReg", first, {}) + Integer("Least", second, {});
    scan3d->range = {0.0, 0.0};
    EXPECT_EQ(Answered(), Addresses{first});
}

TEST_F(Scan3dRegisters, MustBeKnown)
{
    const auto raw = "<FloatReg Name=\"RawReg\"><Address>0x140</Address><Length>4</Length></FloatReg>";
    for (const auto &[nodes, failure] :
         {std::pair{Feature("<pValue>Conv</pValue>") + Converter("Conv", Variable("A", "Missing")),
                    Failure{"Did not find node Missing!", GC_ERR_ERROR}},
          std::pair{Feature("<pValue>Conv</pValue>") + Converter("Conv", "<pValue>Missing</pValue>"),
                    Failure{"Did not find node Missing!", GC_ERR_ERROR}},
          std::pair{Feature("<pValue>Conv</pValue>") + Converter("Conv", Variable("A", "Inner")) +
                        Converter("Inner", ""),
                    Failure{"Did not find node Inner!", GC_ERR_ERROR}},
          std::pair{Feature("<pValue>Plain</pValue>") + "<Integer Name=\"Plain\"><Value>1</Value></Integer>",
                    PlainFailure("Converter Plain not found!")},
          std::pair{Feature("<pValue>RawReg</pValue><pMin>Missing</pMin>") + raw,
                    PlainFailure("Converter Missing not found!")},
          std::pair{Feature("<pValue>RawReg</pValue><pMax>Missing</pMax>") + raw,
                    PlainFailure("Converter Missing not found!")},
          std::pair{Feature("<pValue>RawReg</pValue><pMax>Most</pMax>") + raw +
                        Converter("Most", Variable("A", "Missing")),
                    Failure{"Did not find node Missing!", GC_ERR_ERROR}}})
    {
        extra = nodes;
        EXPECT_EQ(OpenFailure(), failure);
    }
}

TEST_F(Scan3dRegisters, HoldAFloatForAFloatOnly)
{
    // A register of a float that a formula names is none of the feature's type.
    extra = "<Float Name=\"Scan3dCoordinateScale\"><pValue>Conv</pValue></Float>" +
            Converter("Conv", Variable("A", "AReg") + Variable("B", "BValue") + "<pValue>RawReg</pValue>") +
            "<FloatReg Name=\"AReg\"><Address>0x140</Address><Length>4</Length></FloatReg>" +
            Float("BValue", second) + Register("RawReg", third, {});
    Open();
    EXPECT_EQ(Read(first, 4), BytesOf(1));
    EXPECT_EQ(Read(second, 4), BytesOf(1.F));
    EXPECT_EQ(Read(third, 4), BytesOf(1));
}

TEST_F(Scan3dRegisters, OfTheFlagAreThoseOfItsFormula)
{
    extra = "<Boolean Name=\"Scan3dInvalidDataFlag\"><pIsAvailable>Nowhere</pIsAvailable>"
            "<pValue>Knife</pValue></Boolean>"
            "<IntSwissKnife Name=\"Knife\"><pVariable Name=\"A\">AReg</pVariable>"
            "<pVariable Name=\"B\">BReg</pVariable><Formula>A &amp; B</Formula></IntSwissKnife>" +
            Register("AReg", first, {}) + Register("BReg", second, {.length = 1});
    Open();
    scan3d->mode = Scan3dOutputMode::CalibratedC;
    EXPECT_EQ(Read(first, 4), BytesOf(1));
    EXPECT_EQ(Read(second, 1), Bytes{1});
}

TEST_F(Scan3dRegisters, MayServeBothAxes)
{
    const auto axis = [](const std::string &name)
    {
        return "<Float Name=\"" + name + "\"><pValue>" + name + "Conv</pValue></Float><Converter Name=\"" +
               name + "Conv\">" + Variable("DIV", "DivReg") + Constant("DIV", "5") +
               "<FormulaFrom>TO/DIV</FormulaFrom><pValue>" + name + "Reg</pValue></Converter>";
    };
    extra = axis("Scan3dAxisMax") + axis("Scan3dAxisMin") + Register("Scan3dAxisMaxReg", first, {}) +
            Register("Scan3dAxisMinReg", second, {.length = 2}) +
            Register("DivReg", third, {.length = 8, .order = "BigEndian"});
    SetValue(third, uint64_t{1} << 56); // 1
    Open();
    EXPECT_EQ(Read(first, 4), BytesOf(2001)) << "2.0005 * 1000, rounded up";
    EXPECT_EQ(Read(second, 2), BytesOf(int16_t{-1001})) << "-1.0005 * 1000, rounded down";
    EXPECT_EQ(Read(third, 8), Reversed(BytesOf(uint64_t{1000})));
}

TEST_F(Scan3dRegisters, OfOddSizesGetOneByteOfAnAxis)
{
    UseConverter("Scan3dAxisMax", "TO / SCALE", first, Constant("SCALE", "1000"), {.length = 3});
    Open();
    EXPECT_EQ(Read(first, 3), (Bytes{0xD1, 0xEE, 0xEE})) << "the low byte of 2001";
}

} // namespace
} // namespace GenTL::internal::overrides
