#include "simulator/cameras/wide_cameras.h"

namespace GenTL::simulator
{

std::vector<FixedRegister> FixedRegisters(std::span<const WideRegister> places)
{
    std::vector<FixedRegister> registers;
    for (const auto &place : places)
    {
        registers.push_back({place.feature, place.address, {.bigEndian = place.bigEndian}});
    }
    return registers;
}

} // namespace GenTL::simulator
