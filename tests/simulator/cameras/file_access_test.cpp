// The file access features of the depth camera, and the lens calibration that is read through them.

#include "support/byte_values.h"
#include "support/simulator/depth_camera.h"

#include <bit>
#include <zlib.h>

namespace simulator_test
{
namespace
{

class SimulatorFileAccess : public DepthCameraTest
{
protected:
    void Execute(const char *operation)
    {
        ASSERT_OK(m_camera->SetEntry("FileOperationSelector", operation));
        ASSERT_OK(m_camera->Set("FileOperationExecute", 1));
    }

    bool Succeeded() { return m_camera->Get("FileOperationStatus") == 0; }

    void Read(int64_t offset, int64_t length)
    {
        ASSERT_OK(m_camera->Set("FileAccessOffset", offset));
        ASSERT_OK(m_camera->Set("FileAccessLength", length));
        Execute("Read");
    }

    std::vector<uint8_t> Buffer()
    {
        std::vector<uint8_t> bytes(m_camera->Node("FileAccessBuffer").child("Length").text().as_uint());
        size_t size = bytes.size();
        EXPECT_OK(Tl().GCReadPort(m_port, m_camera->Address("FileAccessBuffer"), bytes.data(), &size));
        return bytes;
    }

    std::vector<uint8_t> ReadFile()
    {
        const int64_t size = m_camera->Get("FileSize");
        const int64_t block = m_camera->Node("FileAccessLength").child("Max").text().as_llong();
        std::vector<uint8_t> content;
        Execute("Open");
        EXPECT_TRUE(Succeeded());
        for (int64_t offset = 0; offset < size; offset += block)
        {
            const int64_t count = std::min(block, size - offset);
            Read(offset, count);
            EXPECT_TRUE(Succeeded());
            EXPECT_EQ(count, m_camera->Get("FileOperationResult"));
            const std::vector<uint8_t> bytes = Buffer();
            content.insert(content.end(), bytes.begin(), bytes.begin() + count);
        }
        Execute("Close");
        EXPECT_TRUE(Succeeded());
        return content;
    }
};

TEST_F(SimulatorFileAccess, ReadsTheLensCalibration)
{
    EXPECT_OK(m_camera->SetEntry("FileSelector", "LensCalibrationData"));
    const std::vector<uint8_t> file = ReadFile();
    ASSERT_EQ(72U, file.size());
    EXPECT_EQ("TCAL", std::string(file.begin(), file.begin() + 4));
    const auto wholeAt = [&](size_t offset) { return internal::ValueAt<uint32_t>(file, offset); };
    EXPECT_EQ(1U, wholeAt(4));
    EXPECT_EQ(72U, wholeAt(8));
    EXPECT_EQ(640U, wholeAt(12));
    EXPECT_EQ(480U, wholeAt(16));
    const float expected[] = {525.5F,  524.25F,  322.75F, 238.5F, -0.21F, 0.065F,
                              0.0011F, -0.0007F, -0.008F, 0.0F,   0.0F,   0.0F};
    for (size_t i = 0; i < std::size(expected); ++i)
    {
        EXPECT_EQ(std::bit_cast<uint32_t>(expected[i]), wholeAt(20 + 4 * i)) << i;
    }
    EXPECT_EQ(crc32(0, file.data(), 68), wholeAt(68));
    EXPECT_EQ(file, ReadFile());
}

TEST_F(SimulatorFileAccess, FailsWithoutAnOpenFile)
{
    Read(0, 4);
    EXPECT_FALSE(Succeeded());
    EXPECT_EQ(std::vector<uint8_t>(32), Buffer());
    Execute("Close");
    EXPECT_FALSE(Succeeded());
    Execute("Open");
    EXPECT_TRUE(Succeeded());
    Execute("Open");
    EXPECT_FALSE(Succeeded());
    Read(0, 4);
    EXPECT_TRUE(Succeeded());
    EXPECT_EQ('T', Buffer().front());
}

TEST_F(SimulatorFileAccess, FailsBehindTheEndOfTheFile)
{
    Execute("Open");
    Read(60, 32);
    EXPECT_TRUE(Succeeded());
    EXPECT_EQ(12, m_camera->Get("FileOperationResult"));
    Read(72, 1);
    EXPECT_FALSE(Succeeded());
    EXPECT_EQ(0, m_camera->Get("FileOperationResult"));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->Set("FileAccessLength", 33));
}

TEST_F(SimulatorFileAccess, BeginsWithClosedFiles)
{
    Execute("Open");
    EXPECT_TRUE(Succeeded());
    ASSERT_OK(Tl().IFClose(m_interface));
    OpenCamera("SIM-GIGE-1", "SIM-SIM0007");
    Read(0, 4);
    EXPECT_FALSE(Succeeded());
}

/// The camera with a file that a user writes.
class SimulatorUserFile : public SimulatorFileAccess
{
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        OpenCamera("SIM-GIGE-0", "SIM-SIM0004");
    }

    void OpenFor(const char *mode)
    {
        ASSERT_OK(m_camera->SetEntry("FileOpenMode", mode));
        Execute("Open");
        EXPECT_TRUE(Succeeded());
    }

    void Write(int64_t offset, const std::string &text)
    {
        std::vector<uint8_t> bytes(Buffer().size());
        std::ranges::copy(text, bytes.begin());
        size_t size = bytes.size();
        ASSERT_OK(Tl().GCWritePort(m_port, m_camera->Address("FileAccessBuffer"), bytes.data(), &size));
        ASSERT_OK(m_camera->Set("FileAccessOffset", offset));
        ASSERT_OK(m_camera->Set("FileAccessLength", static_cast<int64_t>(text.size())));
        Execute("Write");
    }

    std::string Content()
    {
        EXPECT_OK(m_camera->SetEntry("FileOpenMode", "Read"));
        const auto file = ReadFile();
        return {file.begin(), file.end()};
    }
};

TEST_F(SimulatorUserFile, KeepsWhatIsWritten)
{
    EXPECT_EQ("Notes of the user.\n", Content());
    OpenFor("Write");
    Write(0, "Lens");
    EXPECT_TRUE(Succeeded());
    EXPECT_EQ(4, m_camera->Get("FileOperationResult"));
    Write(19, "More.");
    EXPECT_TRUE(Succeeded());
    Execute("Close");
    EXPECT_EQ(24, m_camera->Get("FileSize"));
    ASSERT_OK(Tl().IFClose(m_interface));
    OpenCamera("SIM-GIGE-0", "SIM-SIM0004");
    EXPECT_EQ("Lenss of the user.\nMore.", Content());
}

TEST_F(SimulatorUserFile, IsEmptyWhenItIsDeleted)
{
    OpenFor("Read");
    Execute("Delete");
    EXPECT_FALSE(Succeeded()) << "it is open";
    Execute("Close");
    Execute("Delete");
    EXPECT_TRUE(Succeeded());
    EXPECT_EQ(0, m_camera->Get("FileSize"));
}

TEST_F(SimulatorUserFile, RefusesWhatItCannotHold)
{
    Write(0, "closed");
    EXPECT_FALSE(Succeeded());
    OpenFor("Read");
    Write(0, "for reading");
    EXPECT_FALSE(Succeeded());
    Execute("Close");
    OpenFor("Write");
    Write(20, "behind a hole");
    EXPECT_FALSE(Succeeded());
    Read(0, 4);
    EXPECT_FALSE(Succeeded());
    for (int64_t offset = 0; offset < 4096; offset += 32)
    {
        Write(offset, std::string(32, 'x'));
        EXPECT_TRUE(Succeeded());
    }
    Write(4090, "beyond");
    EXPECT_TRUE(Succeeded());
    Write(4090, "beyond!");
    EXPECT_FALSE(Succeeded());
    EXPECT_EQ(4096, m_camera->Get("FileSize"));
}

} // namespace
} // namespace simulator_test
