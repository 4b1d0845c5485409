#pragma once

#include "doctor/doctor.h"

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

/// What stands under one of our own producers.
Finding ProbeLower(const Surroundings &surroundings, const std::filesystem::path &file,
                   const OwnProducer &producer);

/// Probes each of our own producers that a consumer finds.
/// @param probe called with the file and its OwnProducer, returns a finding
template <typename Probe>
Findings ProbeOwnProducers(const Surroundings &surroundings, Probe probe)
{
    Findings findings;
    for (const auto &file : ProducersIn(surroundings))
    {
        if (const auto *const producer = OwnProducerOf(file))
        {
            findings.push_back(probe(file, *producer));
        }
    }
    return findings;
}

} // namespace gentlctl
