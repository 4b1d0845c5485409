#pragma once

#include "genapi/graph_features.h"
#include "genapi/i_register_port.h"
#include "genapi/node_graph.h"
#include "utils/gentl_exception.h"

#include <pugixml.hpp>

#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace GenTL::internal::genapi
{

/// Registers in memory, from address 0 on. Records its accesses, and fails at one address if told so.
class MemoryRegisters final : public IRegisterPort
{
public:
    struct Call
    {
        uint64_t address;
        size_t size;

        friend bool operator==(const Call &, const Call &) = default;
    };

    explicit MemoryRegisters(size_t size = 256) : bytes(size) {}

    void Read(uint64_t address, void *data, size_t size) override
    {
        reads.push_back({address, size});
        Check(address, size);
        std::memcpy(data, bytes.data() + address, size);
    }
    void Write(uint64_t address, const void *data, size_t size) override
    {
        writes.push_back({address, size});
        Check(address, size);
        std::memcpy(bytes.data() + address, data, size);
    }

    /// Sets bytes in the order of the arguments.
    void Set(size_t address, const std::vector<uint8_t> &values)
    {
        std::memcpy(bytes.data() + address, values.data(), values.size());
    }
    std::vector<uint8_t> Get(size_t address, size_t size) const
    {
        const auto first = bytes.begin() + static_cast<ptrdiff_t>(address);
        return {first, first + static_cast<ptrdiff_t>(size)};
    }

    std::vector<uint8_t> bytes;
    std::vector<Call> reads;
    std::vector<Call> writes;
    uint64_t failingAddress = UINT64_MAX;

private:
    void Check(uint64_t address, size_t size) const
    {
        if (address == failingAddress)
        {
            throw GenTLException("no answer", GC_ERR_TIMEOUT);
        }
        if (address > bytes.size() || size > bytes.size() - address)
        {
            throw GenTLException("no such register", GC_ERR_INVALID_ADDRESS);
        }
    }
};

/// A parsed text, its graph, and the features over registers in memory.
class RegisterDevice
{
public:
    /// `nodes` are the children of the root.
    explicit RegisterDevice(const std::string &nodes, size_t registers = 256)
        : port(registers), m_document(Parse("<RegisterDescription>" + nodes + "</RegisterDescription>")),
          graph(*m_document), features(graph, port)
    {
    }

    MemoryRegisters port;

private:
    static std::unique_ptr<pugi::xml_document> Parse(const std::string &text)
    {
        auto document = std::make_unique<pugi::xml_document>();
        if (const auto result = document->load_string(text.c_str()); !result)
        {
            throw std::invalid_argument(result.description());
        }
        return document;
    }

    // Before the graph, which lies in it.
    std::unique_ptr<pugi::xml_document> m_document;

public:
    const NodeGraph graph;
    GraphFeatures features;
};

/// A register at an address: <Address>, <Length>, AccessMode RW, and what else is given.
inline std::string Register(const std::string &element, const std::string &name, int address, int length,
                            const std::string &more = {})
{
    return "<" + element + " Name=\"" + name + "\"><Address>" + std::to_string(address) +
           "</Address><Length>" + std::to_string(length) + "</Length><AccessMode>RW</AccessMode>" + more +
           "</" + element + ">";
}

/// An element with a name.
inline std::string Element(const std::string &element, const std::string &name, const std::string &content)
{
    return "<" + element + " Name=\"" + name + "\">" + content + "</" + element + ">";
}

/// An Integer with a name.
inline std::string IntegerNode(const std::string &name, const std::string &content)
{
    return Element("Integer", name, content);
}

inline std::string Repeated(const std::string &text, int count)
{
    std::string result;
    result.reserve(text.size() * static_cast<size_t>(count));
    for (int i = 0; i < count; ++i)
    {
        result += text;
    }
    return result;
}

} // namespace GenTL::internal::genapi
