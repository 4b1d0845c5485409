#ifndef QVR_SIMULATOR_OWN_PATH_H
#define QVR_SIMULATOR_OWN_PATH_H

#include <filesystem>

namespace GenTL::simulator
{

/** Where this library was loaded from. */
std::filesystem::path OwnPath();

} // namespace GenTL::simulator

#endif
