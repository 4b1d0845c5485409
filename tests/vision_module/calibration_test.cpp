#include "camera.h"

#include <sys/resource.h>

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>

namespace GenTL::internal
{

namespace
{

constexpr size_t binarySize = 72;

/// 2 x 1 pixels, focal lengths 1 and 2, principal point (0.5, -1), distortion terms 1 to 8 times 0.25.
const Bytes knownBytes{'T', 'C',  'A',  'L',  1,    0,    0,    0,    72,   0,    0,    0,    2,    0,
                       0,   0,    1,    0,    0,    0,    0,    0,    0x80, 0x3F, 0,    0,    0,    0x40,
                       0,   0,    0,    0x3F, 0,    0,    0x80, 0xBF, 0,    0,    0x80, 0x3E, 0,    0,
                       0,   0x3F, 0,    0,    0x40, 0x3F, 0,    0,    0x80, 0x3F, 0,    0,    0xA0, 0x3F,
                       0,   0,    0xC0, 0x3F, 0,    0,    0xE0, 0x3F, 0,    0,    0,    0x40};

tarn_cvl_CalibrationParameters KnownParameters()
{
    return Camera(2, 1, 1, 2, 0.5F, -1, {0.25F, 0.5F, 0.75F, 1, 1.25F, 1.5F, 1.75F, 2});
}

/// CRC-32 by its definition, a division of polynomials: bits reversed, from the highest on.
uint32_t Crc32(const Bytes &bytes)
{
    const auto reversed = [](uint64_t value, int bits)
    {
        uint64_t result = 0;
        for (int i = 0; i < bits; ++i)
        {
            result = result << 1 | (value >> i & 1);
        }
        return result;
    };
    uint32_t rest = 0xFFFFFFFF;
    for (const auto byte : bytes)
    {
        rest ^= static_cast<uint32_t>(reversed(byte, 8) << 24);
        for (int i = 0; i < 8; ++i)
        {
            rest = (rest & 0x80000000) != 0 ? rest << 1 ^ 0x04C11DB7 : rest << 1;
        }
    }
    return ~static_cast<uint32_t>(reversed(rest, 32));
}

/// Lets no file grow while this object lives, as on a full disk.
class NoFileSize
{
public:
    NoFileSize()
    {
        m_action = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit none{0, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &none);
    }
    NoFileSize(const NoFileSize &) = delete;
    NoFileSize &operator=(const NoFileSize &) = delete;
    ~NoFileSize()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_action);
    }

private:
    rlimit m_before{};
    void (*m_action)(int) = SIG_DFL;
};

/// The bytes followed by their checksum.
Bytes Sealed(Bytes content)
{
    const auto sum = Crc32(content);
    for (int shift = 0; shift < 32; shift += 8)
    {
        content.push_back(static_cast<uint8_t>(sum >> shift));
    }
    return content;
}

bool AreSame(const tarn_cvl_CalibrationParameters &one, const tarn_cvl_CalibrationParameters &other)
{
    return std::memcmp(&one, &other, sizeof one) == 0;
}

} // namespace

class VisionCalibration : public VisionTest
{
protected:
    VisionCalibration()
    {
        std::string name = testing::TempDir() + "calibrationXXXXXX";
        if (mkdtemp(name.data()) == nullptr)
        {
            throw std::runtime_error("no folder " + name);
        }
        folder = name;
    }
    ~VisionCalibration() override { std::filesystem::remove_all(folder); }

    Bytes ToBinary(const tarn_cvl_CalibrationParameters &parameters)
    {
        size_t size = 0;
        EXPECT_EQ(AnswerOf(vision.CalibrationParameters_ToBinaryGetSizeInBytes(&parameters, sizeof parameters,
                                                                               &size)),
                  Answered{});
        Bytes bytes(size);
        EXPECT_EQ(AnswerOf(vision.CalibrationParameters_ToBinary(&parameters, sizeof parameters, bytes.data(),
                                                                 &size)),
                  Answered{});
        EXPECT_EQ(size, bytes.size());
        return bytes;
    }

    bool IsValid(const Bytes &bytes)
    {
        uint8_t isValid = 7;
        EXPECT_EQ(AnswerOf(vision.ValidateBinary(bytes.data(), bytes.size(), &isValid)), Answered{});
        EXPECT_LE(isValid, 1);
        return isValid != 0;
    }

    /// The result of decoding the bytes. A failure must leave the parameters unchanged.
    Answered Read(const Bytes &bytes)
    {
        tarn_cvl_CalibrationParameters parameters = KnownParameters();
        const auto answered = AnswerOf(vision.CalibrationParameters_CreateFromBinary(
            bytes.data(), bytes.size(), &parameters, sizeof parameters));
        EXPECT_EQ(answered == Answered{}, !AreSame(parameters, KnownParameters()));
        return answered;
    }

    static Answered Corrupted(size_t count)
    {
        return {TARN_CVL_CORRUPTED,
                "The " + std::to_string(count) + " bytes are not valid lens calibration data"};
    }

    Answered ReadFile(const std::string &path)
    {
        tarn_cvl_CalibrationParameters parameters{};
        return AnswerOf(
            vision.CalibrationParameters_CreateFromFile(path.c_str(), &parameters, sizeof parameters));
    }

    Answered SaveFile(const std::string &path, const tarn_cvl_CalibrationParameters &parameters)
    {
        return AnswerOf(
            vision.CalibrationParameters_SaveToFile(path.c_str(), &parameters, sizeof parameters));
    }

    static void Write(const std::string &path, const Bytes &bytes)
    {
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }

    std::string folder;
};

TEST_F(VisionCalibration, IsWrittenInTheDocumentedForm)
{
    EXPECT_EQ(Crc32({'1', '2', '3', '4', '5', '6', '7', '8', '9'}), 0xCBF43926U);
    EXPECT_EQ(ToBinary(KnownParameters()), Sealed(knownBytes));
}

TEST_F(VisionCalibration, IsReadFromTheDocumentedForm)
{
    const auto bytes = Sealed(knownBytes);
    EXPECT_TRUE(IsValid(bytes));
    tarn_cvl_CalibrationParameters parameters{};
    std::memset(static_cast<void *>(&parameters), 0xA5, sizeof parameters);
    EXPECT_EQ(AnswerOf(vision.CalibrationParameters_CreateFromBinary(bytes.data(), bytes.size(), &parameters,
                                                                     sizeof parameters)),
              Answered{});
    EXPECT_TRUE(AreSame(parameters, KnownParameters()));
}

TEST_F(VisionCalibration, HasItsFieldsAtTheirOffsets)
{
    const auto parameters = KnownParameters();
    const auto *bytes = reinterpret_cast<const uint8_t *>(&parameters);
    const auto numberAt = [&](size_t offset)
    {
        float number = 0;
        std::memcpy(&number, bytes + offset, sizeof number);
        return number;
    };
    EXPECT_EQ(bytes[0], 2);
    EXPECT_EQ(bytes[4], 1);
    EXPECT_EQ(numberAt(8), 0.25F);
    EXPECT_EQ(numberAt(36), 2);
    EXPECT_EQ(numberAt(128), 1);
    EXPECT_EQ(numberAt(132), 2);
    EXPECT_EQ(numberAt(136), 0.5F);
    EXPECT_EQ(numberAt(140), -1);
}

TEST_F(VisionCalibration, RefusesEveryCorruptionOfAByte)
{
    const auto whole = ToBinary(DistortingCamera());
    ASSERT_EQ(whole.size(), binarySize);
    ASSERT_TRUE(IsValid(whole));
    for (size_t position = 0; position < whole.size(); ++position)
    {
        for (int change = 1; change < 256; ++change)
        {
            auto bytes = whole;
            bytes[position] = static_cast<uint8_t>(bytes[position] ^ change);
            ASSERT_FALSE(IsValid(bytes)) << position << " changed by " << change;
            ASSERT_EQ(Read(bytes), Corrupted(binarySize)) << position << " changed by " << change;
        }
    }
}

TEST_F(VisionCalibration, RefusesEveryOtherLength)
{
    const auto whole = ToBinary(DistortingCamera());
    for (size_t length = 0; length < whole.size() + 10; ++length)
    {
        auto bytes = whole;
        bytes.resize(length);
        EXPECT_EQ(IsValid(bytes), length == whole.size());
        EXPECT_EQ(Read(bytes), length == whole.size() ? Answered{} : Corrupted(length));
    }
}

TEST_F(VisionCalibration, RefusesWhatIsSealedButOfNoUse)
{
    const auto changed = [](size_t position, const Bytes &bytes)
    {
        auto content = knownBytes;
        std::ranges::copy(bytes, content.begin() + static_cast<std::ptrdiff_t>(position));
        return Sealed(content);
    };
    EXPECT_TRUE(IsValid(changed(0, {'T'})));
    EXPECT_FALSE(IsValid(changed(0, {'t'})));
    EXPECT_FALSE(IsValid(changed(4, {2})));
    EXPECT_FALSE(IsValid(changed(8, {73})));
    const Bytes zero{0, 0, 0, 0};
    const Bytes negative{0, 0, 0x80, 0xBF};
    const Bytes infinity{0, 0, 0x80, 0x7F};
    const Bytes nan{0, 0, 0xC0, 0x7F};
    for (const size_t size : {12U, 16U})
    {
        EXPECT_FALSE(IsValid(changed(size, zero)));
    }
    for (const size_t focalLength : {20U, 24U})
    {
        EXPECT_FALSE(IsValid(changed(focalLength, zero)));
        EXPECT_FALSE(IsValid(changed(focalLength, negative)));
    }
    for (size_t number = 20; number < knownBytes.size(); number += 4)
    {
        EXPECT_FALSE(IsValid(changed(number, infinity))) << number;
        EXPECT_FALSE(IsValid(changed(number, nan))) << number;
    }
}

TEST_F(VisionCalibration, OfACameraThatCannotBeIsNotWritten)
{
    auto camera = DistortingCamera();
    camera.height = 0;
    size_t size = binarySize;
    Bytes bytes(size);
    EXPECT_EQ(
        AnswerOf(vision.CalibrationParameters_ToBinary(&camera, sizeof camera, bytes.data(), &size)),
        (Answered{TARN_CVL_OUT_OF_RANGE, "The calibrated image has 640 x 0 pixels, expected at least one"}));
    camera = DistortingCamera();
    camera.focalLengthY = -1;
    EXPECT_EQ(
        AnswerOf(vision.CalibrationParameters_ToBinaryGetSizeInBytes(&camera, sizeof camera, &size)),
        (Answered{TARN_CVL_OUT_OF_RANGE, "The focal lengths are 520.500000 and -1.000000, expected finite "
                                         "numbers greater than 0"}));
    camera = DistortingCamera();
    camera.principalPointX = INFINITY;
    EXPECT_EQ(SaveFile(folder + "/camera", camera),
              (Answered{TARN_CVL_OUT_OF_RANGE,
                        "The principal point is at inf and 247.500000, expected finite numbers"}));
    EXPECT_FALSE(std::filesystem::exists(folder + "/camera"));
    for (size_t term = 0; term < 8; ++term)
    {
        auto terms = TermsOf(DistortingCamera());
        terms.at(term) = std::numeric_limits<float>::quiet_NaN();
        camera = Camera(2, 2, 1, 1, 0, 0, terms);
        EXPECT_EQ(SaveFile(folder + "/camera", camera),
                  (Answered{TARN_CVL_OUT_OF_RANGE,
                            "The lens distortion has a term that is not finite, expected finite numbers"}));
    }
}

TEST_F(VisionCalibration, TellsTheRoomThatItNeeds)
{
    const auto camera = DistortingCamera();
    Bytes bytes(binarySize, 0xA5);
    size_t size = binarySize - 1;
    EXPECT_EQ(AnswerOf(vision.CalibrationParameters_ToBinary(&camera, sizeof camera, bytes.data(), &size)),
              (Answered{TARN_CVL_OUT_OF_RANGE, "The room is 71 bytes, expected at least 72"}));
    EXPECT_EQ(size, binarySize);
    EXPECT_EQ(bytes, Bytes(binarySize, 0xA5));
}

TEST_F(VisionCalibration, GoesThroughAFile)
{
    const auto path = folder + "/camera";
    const auto camera = DistortingCamera();
    Write(path, Bytes(1000, 1));
    EXPECT_EQ(SaveFile(path, camera), Answered{});
    EXPECT_EQ(std::filesystem::file_size(path), binarySize);
    tarn_cvl_CalibrationParameters parameters{};
    EXPECT_EQ(
        AnswerOf(vision.CalibrationParameters_CreateFromFile(path.c_str(), &parameters, sizeof parameters)),
        Answered{});
    EXPECT_TRUE(AreSame(parameters, camera));
}

TEST_F(VisionCalibration, StaysInAFileThatCannotBeWritten)
{
    const auto path = folder + "/camera";
    ASSERT_EQ(SaveFile(path, DistortingCamera()), Answered{});
    auto other = DistortingCamera();
    other.focalLengthX += 1;
    {
        const NoFileSize limit;
        EXPECT_EQ(SaveFile(path, other),
                  (Answered{TARN_CVL_IO, "The file \"" + path + "\" cannot be written: File too large"}));
    }
    tarn_cvl_CalibrationParameters parameters{};
    EXPECT_EQ(
        AnswerOf(vision.CalibrationParameters_CreateFromFile(path.c_str(), &parameters, sizeof parameters)),
        Answered{});
    EXPECT_TRUE(AreSame(parameters, DistortingCamera()));
}

TEST_F(VisionCalibration, SaysWhatIsWrongWithAFile)
{
    const auto path = folder + "/camera";
    EXPECT_EQ(ReadFile(path),
              (Answered{TARN_CVL_TARGET_NOT_FOUND,
                        "The file \"" + path + "\" cannot be opened: No such file or directory"}));
    EXPECT_EQ(ReadFile(folder),
              (Answered{TARN_CVL_IO, "The file \"" + folder + "\" cannot be read: Is a directory"}));
    EXPECT_EQ(SaveFile(folder, DistortingCamera()),
              (Answered{TARN_CVL_IO, "The file \"" + folder + "\" cannot be opened: Is a directory"}));
    EXPECT_EQ(SaveFile("/dev/full", DistortingCamera()),
              (Answered{TARN_CVL_IO, "The file \"/dev/full\" cannot be written: No space left on device"}));
    const Answered corrupted{TARN_CVL_CORRUPTED,
                             "The file \"" + path + "\" has no valid lens calibration data"};
    auto bytes = ToBinary(DistortingCamera());
    Write(path, bytes);
    EXPECT_EQ(ReadFile(path), Answered{});
    bytes.push_back(0);
    Write(path, bytes);
    EXPECT_EQ(ReadFile(path), corrupted);
    Write(path, {});
    EXPECT_EQ(ReadFile(path), corrupted);
    bytes.resize(binarySize - 1);
    Write(path, bytes);
    EXPECT_EQ(ReadFile(path), corrupted);
}

/// Calls with bad arguments.
class VisionCalibrationArguments : public VisionCalibration
{
protected:
    Bytes bytes = ToBinary(DistortingCamera());
    tarn_cvl_CalibrationParameters camera = DistortingCamera();
    Bytes room = Bytes(binarySize);
    size_t size = binarySize;
    const Answered noBytes{TARN_CVL_NULL_POINTER, "The pointer to the bytes is null"};
    const Answered noParameters{TARN_CVL_NULL_POINTER, "The pointer to the calibration parameters is null"};
    const Answered noSize{TARN_CVL_NULL_POINTER, "The pointer to the size is null"};
    const Answered noPath{TARN_CVL_NULL_POINTER, "The pointer to the path is null"};
    const Answered otherSize{TARN_CVL_MISMATCH,
                             "The size of the calibration parameters is given as 144 bytes, expected 176"};
};

TEST_F(VisionCalibrationArguments, AreRefusedByValidateBinary)
{
    uint8_t isValid = 1;
    EXPECT_EQ(AnswerOf(vision.ValidateBinary(nullptr, 1, &isValid)), noBytes);
    EXPECT_EQ(AnswerOf(vision.ValidateBinary(bytes.data(), bytes.size(), nullptr)),
              (Answered{TARN_CVL_NULL_POINTER, "The pointer to the answer is null"}));
    EXPECT_EQ(AnswerOf(vision.ValidateBinary(nullptr, 0, &isValid)), Answered{});
    EXPECT_EQ(isValid, 0);
}

TEST_F(VisionCalibrationArguments, AreRefusedByCreateFromBinary)
{
    EXPECT_EQ(AnswerOf(vision.CalibrationParameters_CreateFromBinary(nullptr, 1, &camera, sizeof camera)),
              noBytes);
    EXPECT_EQ(AnswerOf(vision.CalibrationParameters_CreateFromBinary(bytes.data(), bytes.size(), nullptr,
                                                                     sizeof camera)),
              noParameters);
    EXPECT_EQ(
        AnswerOf(vision.CalibrationParameters_CreateFromBinary(bytes.data(), bytes.size(), &camera, 144)),
        otherSize);
}

TEST_F(VisionCalibrationArguments, AreRefusedByToBinary)
{
    EXPECT_EQ(AnswerOf(vision.CalibrationParameters_ToBinaryGetSizeInBytes(nullptr, sizeof camera, &size)),
              noParameters);
    EXPECT_EQ(AnswerOf(vision.CalibrationParameters_ToBinaryGetSizeInBytes(&camera, 144, &size)), otherSize);
    EXPECT_EQ(AnswerOf(vision.CalibrationParameters_ToBinaryGetSizeInBytes(&camera, sizeof camera, nullptr)),
              noSize);

    EXPECT_EQ(AnswerOf(vision.CalibrationParameters_ToBinary(nullptr, sizeof camera, room.data(), &size)),
              noParameters);
    EXPECT_EQ(AnswerOf(vision.CalibrationParameters_ToBinary(&camera, 144, room.data(), &size)), otherSize);
    EXPECT_EQ(AnswerOf(vision.CalibrationParameters_ToBinary(&camera, sizeof camera, nullptr, &size)),
              noBytes);
    EXPECT_EQ(AnswerOf(vision.CalibrationParameters_ToBinary(&camera, sizeof camera, room.data(), nullptr)),
              noSize);
}

TEST_F(VisionCalibrationArguments, AreRefusedByTheFunctionsOverFiles)
{
    EXPECT_EQ(AnswerOf(vision.CalibrationParameters_CreateFromFile(nullptr, &camera, sizeof camera)), noPath);
    EXPECT_EQ(AnswerOf(vision.CalibrationParameters_CreateFromFile("x", nullptr, sizeof camera)),
              noParameters);
    EXPECT_EQ(AnswerOf(vision.CalibrationParameters_CreateFromFile("x", &camera, 144)), otherSize);
    EXPECT_EQ(AnswerOf(vision.CalibrationParameters_SaveToFile(nullptr, &camera, sizeof camera)), noPath);
    EXPECT_EQ(AnswerOf(vision.CalibrationParameters_SaveToFile("x", nullptr, sizeof camera)), noParameters);
    EXPECT_EQ(AnswerOf(vision.CalibrationParameters_SaveToFile("x", &camera, 144)), otherSize);
}

} // namespace GenTL::internal
