#pragma once

#include "genapi/i_register_port.h"
#include "remote/lens_reader.h"
#include "support/fake_file_device.h"
#include "support/vision_library.h"

#include <pugixml.hpp>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

namespace GenTL::internal
{

/// A device that holds a lens calibration in a file, and its reader over the tests' vision library.
struct LensDevice
{
    static constexpr uint64_t userSetLoad = 0x3000;
    static constexpr uint64_t gain = 0x3004;
    static constexpr uint64_t baseOfCommands = 0x3008;

    /// The registers of a device with files and user sets. Counts the writes.
    struct FileRegisters final : genapi::IRegisterPort
    {
        void Read(uint64_t address, void *data, size_t size) override
        {
            if (address == baseOfCommands)
            {
                const uint32_t base = userSetLoad - 0x10;
                std::memcpy(data, &base, size);
                return;
            }
            device.Read(address, data, &size);
        }

        void Write(uint64_t address, const void *data, size_t size) override
        {
            ++writes;
            device.Write(address, data, &size);
        }

        FakeFileDevice device;
        int writes = 0;
    };

    /// The nodes of the description, except the node named `without`.
    static std::string Nodes(const std::string &without = "")
    {
        auto nodes = FakeFileDevice::Nodes("<Max>4</Max>", without);
        const std::string command = "<Command Name=\"FileOperationExecute\">";
        if (const auto place = nodes.find(command); place != std::string::npos)
        {
            nodes.insert(place + command.size(), "<CommandValue>1</CommandValue>");
        }
        // The address of this command is computed.
        return nodes +
               "<Command "
               "Name=\"UserSetLoad\"><pValue>LoadReg</pValue><CommandValue>1</CommandValue></Command>"
               "<IntReg "
               "Name=\"LoadReg\"><Address>0x10</Address><pAddress>BaseReg</pAddress><Length>4</Length>"
               "<AccessMode>WO</AccessMode></IntReg>"
               "<IntReg Name=\"BaseReg\"><Address>0x3008</Address><Length>4</Length></IntReg><Port "
               "Name=\"Device\"/>";
    }

    LensDevice()
    {
        registers.device.file = {1, 2, 3, 4, 5, 6};
        Describe(Nodes());
    }

    void Describe(const std::string &nodes, DeviceAccess access = DeviceAccess::ReadWrite)
    {
        document.load_string(("<RegisterDescription>" + nodes + "</RegisterDescription>").c_str());
        graph = std::make_unique<genapi::NodeGraph>(document);
        reader = std::make_unique<LensReader>(*graph, registers, access);
    }

    /// Writes as the consumer does.
    void Write(uint64_t address, uint32_t value)
    {
        reader->PassWrite(address, sizeof value, [&] { registers.Write(address, &value, sizeof value); });
    }

    void LoadUserSet() { Write(userSetLoad, 1); }

    /// File operations fail from now on.
    void Break()
    {
        registers.device.statusOf = [](int) { return FakeFileDevice::failure; };
    }
    void Repair()
    {
        registers.device.statusOf = [](int) { return FakeFileDevice::success; };
    }

    VisionLibrary vision;
    FileRegisters registers;
    pugi::xml_document document;
    std::unique_ptr<genapi::NodeGraph> graph;
    std::unique_ptr<LensReader> reader;
};

} // namespace GenTL::internal
