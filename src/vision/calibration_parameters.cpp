#include "vision/calibration_parameters.h"

#include "vision/exceptions.h"
#include "vision/status.h"

namespace tarn::cvl
{

std::unique_ptr<CalibrationParameters> ParseCalibrationParameters(const uint8_t *bytes, size_t count)
{
    uint8_t isValid = 0;
    Call(dynamic::ValidateBinary, bytes, count, &isValid);
    if (isValid == 0)
    {
        throw CorruptedException("The given binary data is invalid", TARN_CVL_CORRUPTED);
    }
    auto parameters = std::make_unique<CalibrationParameters>();
    Call(dynamic::CalibrationParameters_CreateFromBinary, bytes, count, parameters.get(), sizeof *parameters);
    return parameters;
}

} // namespace tarn::cvl
