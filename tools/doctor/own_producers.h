#pragma once

#include "doctor/surroundings.h"

#include <array>
#include <filesystem>
#include <string_view>

namespace gentlctl
{

/// A producer of this project.
struct OwnProducer
{
    std::string_view file;
    std::string_view lowerVariable; ///< names its lower producer
    bool needsVisionLibrary;        ///< does not start without it
};

inline constexpr std::array<OwnProducer, 2> ownProducers{{
    {"qvr_proxygentl.cti", "PROXY_TL_CTI_PATH", true},
    {"qvr_anygentl.cti", "ANYGENTL_CTI_PATH", false},
}};

/// Null for a producer of another maker.
inline const OwnProducer *OwnProducerOf(const std::filesystem::path &file)
{
    for (const auto &producer : ownProducers)
    {
        if (file.filename() == producer.file)
        {
            return &producer;
        }
    }
    return nullptr;
}

} // namespace gentlctl
