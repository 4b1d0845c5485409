#include "simulator/cameras/network_control.h"

#include "simulator/cameras/camera_model.h"
#include "simulator/cameras/camera_unit.h"
#include "simulator/error.h"

namespace GenTL::simulator
{

namespace
{

constexpr int64_t dhcpBit = 2;
constexpr int64_t linkLocalBit = 4;

/// Shows what the camera unit keeps of a feature, and lets it keep what is written.
void KeepFeature(const CameraContext &context, const char *name, int64_t atFirst)
{
    auto &features = context.features;
    features.SetInteger(name, context.unit.Kept(name, atFirst));
    features.AfterWrite(name,
                        [name, &features, &unit = context.unit] { unit.Keep(name, features.Integer(name)); });
}

} // namespace

std::vector<Feature> NetworkSettingFeatures()
{
    std::vector<Feature> features = {Integer("", addressConfiguration, "")};
    for (const auto *name : {currentAddress, currentMask, currentGateway})
    {
        features.push_back(Integer("", name, "").ReadOnly());
    }
    for (const auto *name : persistentAddresses)
    {
        features.push_back(Integer("", name, ""));
    }
    return features;
}

NetworkControl::NetworkControl(const CameraContext &context)
{
    auto &features = context.features;
    features.SetInteger(currentAddress, context.unit.Kept(currentAddress, context.model.ipAddress));
    features.SetInteger(currentMask, context.unit.Kept(currentMask, maskOfCameras));
    features.SetInteger(currentGateway, context.unit.Kept(currentGateway));
    for (const auto *name : persistentAddresses)
    {
        KeepFeature(context, name, 0);
    }
    KeepFeature(context, addressConfiguration, dhcpBit | linkLocalBit);
    features.CheckOnWrite(addressConfiguration,
                          [](int64_t value)
                          {
                              if ((value & linkLocalBit) == 0)
                              {
                                  throw Error(GC_ERR_INVALID_VALUE,
                                              "The camera always has the link-local address to fall back on");
                              }
                          });
}

} // namespace GenTL::simulator
