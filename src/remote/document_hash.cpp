#include "remote/document_hash.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace GenTL::internal
{

namespace
{

// Odd numbers without a pattern: the fractions of the square roots of 2 and 3.
constexpr uint64_t firstFactor = 0x6A09'E667'F3BC'C909;
constexpr uint64_t secondFactor = 0xBB67'AE85'84CA'A73B;

uint64_t Mixed(uint64_t state, uint64_t word, uint64_t factor)
{
    state = (state ^ word) * factor;
    return state ^ std::rotr(state, 29);
}

} // namespace

DocumentHash HashOf(std::string_view document)
{
    // Eight bytes at a time: a step for each byte would cost as much as parsing the document.
    DocumentHash hash{document.size() ^ secondFactor, document.size() ^ firstFactor};
    for (size_t offset = 0; offset < document.size(); offset += sizeof(uint64_t))
    {
        uint64_t word = 0;
        std::memcpy(&word, document.data() + offset, std::min(sizeof word, document.size() - offset));
        hash.first = Mixed(hash.first, word, firstFactor);
        hash.second = Mixed(hash.second, std::rotl(word, 32), secondFactor);
    }
    hash.first = Mixed(hash.first, hash.second, secondFactor);
    hash.second = Mixed(hash.second, hash.first, firstFactor);
    return hash;
}

std::string GuidOf(const DocumentHash &hash)
{
    return fmt::format("{:08X}-{:04X}-{:04X}-{:04X}-{:012X}", hash.first >> 32U, hash.first >> 16U & 0xFFFFU,
                       hash.first & 0xFFFFU, hash.second >> 48U, hash.second & 0xFFFF'FFFF'FFFFU);
}

} // namespace GenTL::internal
