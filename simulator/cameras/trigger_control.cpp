#include "simulator/cameras/trigger_control.h"

#include "simulator/cameras/acquisition_control.h"
#include "simulator/features/feature.h"

#include <utility>

namespace GenTL::simulator
{

namespace
{

// Values of TriggerSource.
constexpr int64_t line = 0;
constexpr int64_t software = 1;

std::vector<Feature> TriggerFeatures()
{
    const char *const category = "AcquisitionControl";
    return {
        Enumeration(category, "TriggerSelector", "What a trigger starts.", {{"FrameStart", 0}}),
        Enumeration(category, "TriggerMode", "Whether the camera waits for a trigger before each frame.",
                    {{"Off", 0}, {"On", 1}}),
        Enumeration(category, "TriggerSource", "Where triggers come from. Nothing is connected to Line0.",
                    {{"Line0", line}, {"Software", software}}),
        Command(category, "TriggerSoftware", "A trigger, with the source Software."),
    };
}

} // namespace

TriggerControl::TriggerControl(const CameraContext &context)
    : m_features(context.features), m_acquisition(context.acquisition)
{
    m_features.AfterWrite("TriggerMode",
                          [this] { m_acquisition.WaitForTriggers(m_features.IsTrue("TriggerMode")); });
    m_features.AfterWrite("TriggerSoftware", [this] { Fire(); });
}

void TriggerControl::Fire()
{
    if (m_features.Integer("TriggerSource") == software)
    {
        m_acquisition.Trigger();
    }
}

CameraModel WithTrigger(CameraModel camera)
{
    camera.features = Joined(std::move(camera.features), TriggerFeatures());
    camera.controls.push_back(Makes<TriggerControl>());
    return camera;
}

} // namespace GenTL::simulator
