// What distinguishes the cameras: colours, interleaved images, and the bits of their formats.

#include "support/byte_values.h"
#include "support/environment_variable.h"
#include "support/simulator/simulator.h"

#include <cmath>
#include <functional>
#include <set>

namespace simulator_test
{
namespace
{

/// Bits of an image, the lowest bit of the first byte first.
unsigned Bits(const std::vector<uint8_t> &bytes, size_t first, size_t count)
{
    unsigned value = 0;
    for (size_t i = 0; i < count; ++i)
    {
        value |= (bytes.at((first + i) / 8) >> ((first + i) % 8) & 1U) << i;
    }
    return value;
}

class SimulatorCamera : public LibraryTest
{
protected:
    void Open(const std::string &interfaceId, const std::string &deviceId)
    {
        m_interface = OpenInterface(interfaceId);
        Open(deviceId);
    }

    void Open(const std::string &deviceId)
    {
        ASSERT_OK(Tl().IFOpenDevice(m_interface, deviceId.c_str(), DEVICE_ACCESS_CONTROL, &m_device));
        PORT_HANDLE port = nullptr;
        ASSERT_OK(Tl().DevGetPort(m_device, &port));
        m_camera = std::make_unique<Nodes>(port);
    }

    /// A node of the description, also an entry of a struct.
    pugi::xml_node NodeOf(const std::string &name) const
    {
        const auto entry = m_camera->Document().select_node(("//StructEntry[@Name='" + name + "']").c_str());
        return entry ? entry.node() : m_camera->Node(name);
    }

    bool IsSet(const std::string &node) const
    {
        const auto xml = NodeOf(node);
        if (const pugi::xml_node formula = xml.child("Formula"))
        {
            return (Evaluate(formula.text().get(), RegisterOf(xml.child("pVariable").text().get())) & 1) != 0;
        }
        if (std::string(xml.name()) == "StructEntry")
        {
            return (Value(xml.parent()) >> xml.child("Bit").text().as_uint() & 1) != 0;
        }
        return Value(xml) != 0;
    }

    /// The entries of PixelFormat whose bits say that they can be chosen.
    std::set<std::string> OfferedFormats() const
    {
        std::set<std::string> names;
        for (const pugi::xml_node entry : m_camera->Node("PixelFormat").children("EnumEntry"))
        {
            if (IsSet(entry.child("pIsAvailable").text().get()) &&
                IsSet(entry.child("pIsImplemented").text().get()))
            {
                names.insert(entry.attribute("Name").value());
            }
        }
        return names;
    }

    std::set<std::string> ListedFormats() const
    {
        std::set<std::string> names;
        for (const pugi::xml_node entry : m_camera->Node("PixelFormat").children("EnumEntry"))
        {
            names.insert(entry.attribute("Name").value());
        }
        return names;
    }

    std::string Format() const
    {
        const auto code = std::to_string(m_camera->Get("PixelFormat"));
        const auto entry =
            m_camera->Node("PixelFormat")
                .find_child([&](pugi::xml_node node) { return code == node.child("Value").text().get(); });
        return entry.attribute("Name").value();
    }

    uint64_t Value(pugi::xml_node node) const
    {
        std::vector<uint8_t> bytes(node.child("Length").text().as_uint());
        size_t size = bytes.size();
        PORT_HANDLE port = nullptr;
        EXPECT_OK(Tl().DevGetPort(m_device, &port));
        EXPECT_OK(Tl().GCReadPort(port, std::stoull(node.child("Address").text().get(), nullptr, 16),
                                  bytes.data(), &size));
        const bool isBig = std::string(node.child("Endianess").text().get()) == "BigEndian";
        return internal::NumberOf(bytes, isBig);
    }

    uint64_t RegisterOf(const std::string &name) const { return Value(m_camera->Node(name)); }

    static uint64_t Evaluate(const std::string &formula, uint64_t bits)
    {
        const auto shift = formula.find(">> ");
        return shift == std::string::npos ? bits : bits >> std::stoul(formula.substr(shift + 3));
    }

    IF_HANDLE m_interface = nullptr;
    DEV_HANDLE m_device = nullptr;
    std::unique_ptr<Nodes> m_camera;
};

std::set<std::string> ColourFormats(const std::string &mosaic)
{
    std::set<std::string> names = {"RGB8", "RGB10p32", "BGR10p32"};
    for (const char *const ending : {"8", "10", "12", "10p", "12p", "10g40QVR", "12g24QVR"})
    {
        names.insert("Bayer" + mosaic + ending);
    }
    return names;
}

TEST_F(SimulatorCamera, OffersTheMosaicOfItsFlips)
{
    Open("SIM-GIGE-0", "SIM-SIM0004");
    const struct
    {
        int64_t x;
        int64_t y;
        const char *mosaic;
    } flips[] = {{0, 0, "RG"}, {1, 0, "GR"}, {0, 1, "GB"}, {1, 1, "BG"}};
    for (const auto &[x, y, mosaic] : flips)
    {
        ASSERT_OK(m_camera->Set("ReverseX", x));
        ASSERT_OK(m_camera->Set("ReverseY", y));
        EXPECT_EQ(ColourFormats(mosaic), OfferedFormats());
        EXPECT_EQ(std::string("Bayer") + mosaic + "8", Format()); // the counterpart of the one before
    }
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->SetEntry("PixelFormat", "BayerRG8"));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->SetEntry("PixelFormat", "RGB10"));
    EXPECT_OK(m_camera->SetEntry("PixelFormat", "RGB10p32"));
    ASSERT_OK(m_camera->Set("ReverseX", 0));
    EXPECT_EQ("RGB10p32", Format());
}

TEST_F(SimulatorCamera, KeepsItsFlipsWhenReopened)
{
    Open("SIM-GIGE-0", "SIM-SIM0004");
    ASSERT_OK(m_camera->Set("ReverseX", 1));
    ASSERT_OK(Tl().DevClose(m_device));
    Open("SIM-SIM0004");
    EXPECT_EQ(1, m_camera->Get("ReverseX"));
    EXPECT_EQ(0, m_camera->Get("ReverseY"));
    EXPECT_EQ("BayerGR8", Format());
}

TEST_F(SimulatorCamera, ListsUnpackedFormatsAsUnavailable)
{
    const struct
    {
        const char *interfaceId;
        const char *deviceId;
        std::set<std::string> made;
    } cameras[] = {{"SIM-GIGE-0", "SIM-SIM0004", {"RGB10", "BGR10"}},
                   {"SIM-GIGE-1", "SIM-SIM0005", {"Mono10_AB", "Mono12_ABCD", "BayerBG12_AB", "Mono8_AB"}},
                   {"SIM-GIGE-1", "SIM-SIM0006", {"Mono10", "Mono12"}}};
    for (const auto &[interfaceId, deviceId, made] : cameras)
    {
        Open(interfaceId, deviceId);
        for (const std::string &name : made)
        {
            EXPECT_TRUE(ListedFormats().contains(name)) << deviceId << " " << name;
            EXPECT_FALSE(OfferedFormats().contains(name)) << deviceId << " " << name;
            EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->SetEntry("PixelFormat", name));
        }
        ASSERT_OK(Tl().DevClose(m_device));
        ASSERT_OK(Tl().IFClose(m_interface));
    }
}

TEST_F(SimulatorCamera, HasFormatBitsInEveryForm)
{
    Open("SIM-GIGE-1", "SIM-SIM0006");
    EXPECT_EQ((std::set<std::string>{"Mono8", "Mono10p", "Mono12p", "Mono10g40QVR", "Mono12g24QVR"}),
              OfferedFormats());
    std::set<std::string> forms;
    for (const pugi::xml_node entry : m_camera->Node("PixelFormat").children("EnumEntry"))
    {
        for (const char *const child : {"pIsAvailable", "pIsImplemented"})
        {
            const auto node = NodeOf(entry.child(child).text().get());
            const auto formula = node.child("Formula");
            if (!formula)
            {
                forms.insert(node.name());
                continue;
            }
            const auto bits = m_camera->Node(node.child("pVariable").text().get());
            const std::string text = formula.text().get();
            const auto form = text == "BITS & 1" ? "BITS & 1"
                              : text[1] == '('   ? "((BITS >> n) & 1)"
                                                 : "(BITS >> n) & 1";
            forms.insert(std::string(form) + " " + bits.child("Endianess").text().get());
        }
    }
    EXPECT_EQ((std::set<std::string>{"((BITS >> n) & 1) BigEndian", "(BITS >> n) & 1 BigEndian",
                                     "(BITS >> n) & 1 LittleEndian", "BITS & 1 BigEndian",
                                     "BITS & 1 LittleEndian", "IntReg", "StructEntry"}),
              forms);
}

TEST_F(SimulatorCamera, OffersOnlyTheFormatsOfTheEnvironment)
{
    const GenTL::internal::EnvironmentVariable wanted("QVR_SIM_PIXEL_FORMATS", "Mono12p,Mono10g40QVR,Mono10");
    Open("SIM-GIGE-1", "SIM-SIM0006");
    EXPECT_EQ((std::set<std::string>{"Mono12p", "Mono10g40QVR"}), OfferedFormats());
    EXPECT_EQ("Mono12p", Format());
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->SetEntry("PixelFormat", "Mono8"));
    EXPECT_OK(m_camera->SetEntry("PixelFormat", "Mono10g40QVR"));
    ASSERT_OK(Tl().DevClose(m_device));
    Open("SIM-SIM0005"); // this camera has none of the named formats
    EXPECT_TRUE(OfferedFormats().contains("Mono8"));
    EXPECT_TRUE(OfferedFormats().contains("BayerRG10p_I_A_B"));
}

TEST_F(SimulatorCamera, TakesAnEightByteFormatInHalves)
{
    Open("SIM-GIGE-1", "SIM-SIM0005");
    PORT_HANDLE port = nullptr;
    ASSERT_OK(Tl().DevGetPort(m_device, &port));
    const uint64_t address = m_camera->Address("PixelFormat");
    const auto write = [&](uint64_t at, auto value)
    {
        size_t size = sizeof value;
        return Tl().GCWritePort(port, at, &value, &size);
    };
    EXPECT_OK(write(address, uint64_t{0x920A0046}));
    EXPECT_OK(write(address + 4, uint32_t{0}));
    EXPECT_EQ(0x920A0046, m_camera->Get("PixelFormat"));
    EXPECT_OK(write(address, uint32_t{0xB20C0047}));
    EXPECT_EQ(0xB20C0047, m_camera->Get("PixelFormat"));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, write(address + 4, uint32_t{1}));
    EXPECT_EQ("Mono12p_I_AB_CD", Format());
}

class SimulatorColour : public CameraTest
{
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        OpenCamera("SIM-GIGE-0", "SIM-SIM0004");
    }

    std::vector<uint8_t> Grab(const std::string &format)
    {
        EXPECT_OK(m_camera->SetEntry("PixelFormat", format));
        return GrabOne();
    }

    /// Whether each sample of the mosaic is that colour of the RGB image.
    static size_t Differences(const std::vector<uint8_t> &mosaic, const std::vector<uint8_t> &rgb,
                              const std::string &colours, size_t width)
    {
        size_t wrong = 0;
        for (size_t i = 0; i < mosaic.size(); ++i)
        {
            const char colour = colours[i / width % 2 * 2 + i % width % 2];
            wrong += mosaic[i] == rgb.at(i * 3 + std::string("RGB").find(colour)) ? 0 : 1;
        }
        return wrong;
    }
};

TEST_F(SimulatorColour, LiesInTheMosaicOfTheFormat)
{
    constexpr size_t width = 128;
    SetRegion(width, 96, 1200, 940);
    const struct
    {
        int64_t x;
        int64_t y;
        const char *colours;
    } flips[] = {{0, 0, "RGGB"}, {1, 0, "GRBG"}, {0, 1, "GBRG"}, {1, 1, "BGGR"}};
    for (const auto &[x, y, colours] : flips)
    {
        ASSERT_OK(m_camera->Set("ReverseX", x));
        ASSERT_OK(m_camera->Set("ReverseY", y));
        const auto rgb = Grab("RGB8");
        ASSERT_EQ(width * 96 * 3, rgb.size());
        const auto mosaic = Grab(std::string("Bayer") + std::string(colours, 2) + "8");
        ASSERT_EQ(width * 96, mosaic.size());
        EXPECT_EQ(0U, Differences(mosaic, rgb, colours, width)) << colours;
        EXPECT_NE(0U, Differences(mosaic, rgb, "RRRR", width)) << colours; // there are colours
    }
}

TEST_F(SimulatorColour, TurnsWithTheSensor)
{
    const auto pixelAt = [](const std::vector<uint8_t> &image, size_t x, size_t y)
    {
        const auto begin = image.begin() + static_cast<ptrdiff_t>((y * 2448 + x) * 3);
        return std::vector<uint8_t>(begin, begin + 3);
    };
    const auto plain = Grab("RGB8");
    ASSERT_OK(m_camera->Set("ReverseX", 1));
    ASSERT_OK(m_camera->Set("ReverseY", 1));
    const auto turned = Grab("RGB8");
    // These pixels lie away from the disc, and from the number, which the flips do not turn.
    for (const size_t x : {400U, 1203U, 2000U, 2300U})
    {
        for (const size_t y : {150U, 777U, 1500U})
        {
            EXPECT_EQ(pixelAt(plain, x, y), pixelAt(turned, 2447 - x, 2047 - y)) << x << " " << y;
        }
    }
    EXPECT_NE(plain, turned);
}

TEST_F(SimulatorColour, PacksTenBitsIntoAWord)
{
    SetRegion(64, 20, 1200, 940);
    const auto rgb8 = Grab("RGB8");
    const auto rgb = Grab("RGB10p32");
    const auto bgr = Grab("BGR10p32");
    ASSERT_EQ(size_t{64 * 20 * 4}, rgb.size());
    ASSERT_EQ(rgb.size(), bgr.size());
    size_t wrong = 0;
    for (size_t i = 0; i < size_t{64 * 20}; ++i)
    {
        for (size_t c = 0; c < 3; ++c)
        {
            const unsigned sample = Bits(rgb, i * 32 + c * 10, 10);
            wrong += sample == Bits(bgr, i * 32 + (2 - c) * 10, 10) ? 0 : 1;
            wrong += std::abs(sample / 1023.0 - rgb8[i * 3 + c] / 255.0) < 1.0 / 255.0 ? 0 : 1;
        }
        wrong += Bits(rgb, i * 32 + 30, 2) == 0 ? 0 : 1;
    }
    EXPECT_EQ(0U, wrong);
}

class SimulatorSubImage : public CameraTest
{
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        OpenCamera("SIM-GIGE-1", "SIM-SIM0005");
        SetRegion(size, size, 600, 300);
        ASSERT_OK(m_camera->SetEntry("PixelFormat", "Mono8"));
        m_plain = GrabOne();
    }

    /// Compares each sample of the format with its part of the plain image's light.
    void ExpectParts(const std::string &format, unsigned bits,
                     const std::function<double(size_t, size_t)> &part)
    {
        ASSERT_OK(m_camera->SetEntry("PixelFormat", format));
        const auto image = GrabOne();
        ASSERT_EQ(size * size * bits / 8, image.size());
        const double maximum = (1U << bits) - 1;
        size_t wrong = 0;
        for (size_t i = 0; i < size * size; ++i)
        {
            const double expected = m_plain[i] / 255.0 * part(i % size, i / size);
            wrong += std::abs(Bits(image, i * bits, bits) / maximum - expected) > 1.0 / 255.0 ? 1 : 0;
        }
        EXPECT_EQ(0U, wrong) << format;
    }

    static constexpr size_t size = 96;
    std::vector<uint8_t> m_plain;
};

TEST_F(SimulatorSubImage, TakesLinesInTurn)
{
    const auto part = [](size_t, size_t y) { return y % 2 == 0 ? 1.0 : 0.5; };
    ExpectParts("Mono8_I_A_B", 8, part);
    ExpectParts("Mono10p_I_A_B", 10, part);
    ExpectParts("Mono12p_I_A_B", 12, part);
}

TEST_F(SimulatorSubImage, TakesPixelsInTurn)
{
    const auto part = [](size_t x, size_t y)
    {
        constexpr double parts[] = {1.0, 0.5, 0.25, 0.125};
        return parts[y % 2 * 2 + x % 2];
    };
    ExpectParts("Mono8_I_AB_CD", 8, part);
    ExpectParts("Mono10p_I_AB_CD", 10, part);
    ExpectParts("Mono12p_I_AB_CD", 12, part);
}

} // namespace
} // namespace simulator_test
