#pragma once

#include "genapi/i_register_port.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace gentlctl
{

/// A port that records the reads from it: the last bytes of each address. The port behind it must outlive it.
class RegisterLog final : public GenTL::internal::genapi::IRegisterPort
{
public:
    using Blocks = std::map<uint64_t, std::string>;

    explicit RegisterLog(GenTL::internal::genapi::IRegisterPort &port) : m_port(port) {}

    void Read(uint64_t address, void *data, size_t size) override
    {
        m_port.Read(address, data, size);
        auto &block = m_blocks[address];
        block.replace(0, size, static_cast<const char *>(data), size);
    }
    void Write(uint64_t address, const void *data, size_t size) override
    {
        m_port.Write(address, data, size);
    }

    /// What was read since the last call.
    Blocks Take() { return std::exchange(m_blocks, {}); }

private:
    GenTL::internal::genapi::IRegisterPort &m_port;
    Blocks m_blocks;
};

} // namespace gentlctl
