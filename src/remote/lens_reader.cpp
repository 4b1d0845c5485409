#include "remote/lens_reader.h"

#include "processing/depth_output.h"
#include "remote/device_file.h"
#include "remote/feature_places.h"
#include "utils/exception_code.h"
#include "utils/log.h"
#include "utils/try.h"

#include <fmt/format.h>

#include <utility>

namespace GenTL::internal
{

namespace
{

constexpr const char *lensFile = "LensCalibrationData";
constexpr const char *fileOperation = "FileOperationExecute";

[[noreturn]] void FailLens(const std::string &cause, GC_ERROR code)
{
    throw GenTLException(fmt::format("The device's lens calibration cannot be used: {}", cause), code);
}

std::optional<std::string> SelectedOperation(genapi::GraphFeatures &features)
{
    return utils::Try([&] { return features.ReadText("FileOperationSelector"); });
}

bool HasFailed(genapi::GraphFeatures &features)
{
    return utils::Try([&] { return HasFileOperationFailed(features); }).value_or(false);
}

} // namespace

LensReader::LensReader(const genapi::NodeGraph &graph, genapi::IRegisterPort &registers, DeviceAccess access)
    : m_access(access), m_features(graph, registers)
{
}

LensReader::File LensReader::Get()
{
    const utils::MutexLock lock(m_lock);
    m_isKnown = m_isKnown && m_file;
    return Current();
}

bool LensReader::IsThere()
{
    const utils::MutexLock lock(m_lock);
    if (m_hasConsumerFile && !m_file)
    {
        return true; // cannot be read before the consumer closes the file
    }
    if (!m_isKnown)
    {
        try
        {
            Current();
        }
        catch (const std::exception &exception)
        {
            QVR_LOG_WARN("Raw depth is delivered. {}", exception.what());
        }
    }
    return m_file != nullptr;
}

void LensReader::PassWrite(uint64_t address, size_t size, const std::function<void()> &write)
{
    const utils::MutexLock lock(m_lock);
    const bool isOperation = Touches(m_features, fileOperation, address, size);
    const bool isLoad = Touches(m_features, "UserSetLoad", address, size);
    write();
    if (isOperation)
    {
        NoticeFileOperation();
    }
    m_isKnown = m_isKnown && !isOperation && !isLoad;
}

/// Between opening and closing a file, the consumer's selectors must not move.
void LensReader::NoticeFileOperation()
{
    m_features.Invalidate();
    const auto operation = SelectedOperation(m_features);
    if (operation == "Open")
    {
        m_hasConsumerFile = !HasFailed(m_features);
    }
    else if (operation == "Close")
    {
        m_hasConsumerFile = false;
    }
}

LensReader::File LensReader::Current()
{
    if (!m_isKnown && !(m_hasConsumerFile && m_file))
    {
        m_file = nullptr;
        m_file = Read();
    }
    return m_file;
}

LensReader::File LensReader::Read()
{
    if (m_hasConsumerFile)
    {
        FailLens("a file of the device is open", GC_ERR_BUSY);
    }
    m_isKnown = true;
    if (m_access == DeviceAccess::ReadOnly)
    {
        FailLens("reading it writes to the device, which is open for reading only", GC_ERR_ACCESS_DENIED);
    }
    m_features.Invalidate();
    try
    {
        auto file = std::make_shared<const std::vector<uint8_t>>(ReadDeviceFile(m_features, lensFile));
        DepthOutput().SetLensCalibrationData(*file);
        return file;
    }
    catch (const std::exception &exception)
    {
        FailLens(exception.what(), ErrorCodeOf(exception));
    }
}

} // namespace GenTL::internal
