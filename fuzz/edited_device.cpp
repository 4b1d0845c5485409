// A device under its edited description: whatever the description and the registers hold, the device opens or
// an exception tells why not; then the consumer's document can be read, and each of its features be read and
// written. The input is a description, and behind its first zero the registers.

#include "assembly.h"
#include "fuzz/features.h"
#include "remote/conversion_delivery.h"
#include "remote/edited_remote.h"
#include "support/stored_device.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>

namespace
{

using namespace GenTL;
using namespace GenTL::internal;
using namespace fuzz;

/// What the consumer reads and writes.
class ConsumerPort final : public IRegisterPort
{
public:
    explicit ConsumerPort(EditedRemote &remote) : m_remote(remote) {}

    void Read(uint64_t address, void *data, size_t size) override { m_remote.Read(address, data, size); }
    void Write(uint64_t address, const void *data, size_t size) override
    {
        m_remote.Write(address, data, size);
    }

private:
    EditedRemote &m_remote;
};

const ConversionTable &Conversions()
{
    using tarn::common::wideFormats;
    static const ConversionTable conversions(
        {{wideFormats.Find("Mono12p"), wideFormats.Find("Mono12")},
         {wideFormats.Find("Mono12Packed"), wideFormats.Find("Mono12")}});
    return conversions;
}

/// The document that the consumer's URL names.
std::string ReadDocument(EditedRemote &remote)
{
    std::string url(1024, '\0');
    size_t size = url.size();
    remote.GetPortURL(url.data(), &size);
    const auto location = ParseLocation(url.substr(0, size - 1));
    std::string document(location.Size, '\0');
    remote.Read(location.Address, document.data(), document.size());
    return document;
}

/// Reads all that the consumer's document names. The document must parse, as the device's own did.
void Consume(EditedRemote &remote, ConversionProcessor &processor)
{
    const auto document = ReadDocument(remote);
    pugi::xml_document tree;
    if (!tree.load_buffer(document.data(), document.size()))
    {
        std::abort();
    }
    const NodeGraph graph(tree);
    ConsumerPort port(remote);
    GraphFeatures features(graph, port);
    // More nodes find nothing new and slow the search down. The producer's own nodes are the last.
    const auto count = std::min<size_t>(graph.Size(), 200);
    for (size_t i = 0; i < count; ++i)
    {
        Use(features, graph[static_cast<NodeId>(graph.Size() - 1 - i)].name);
        Try([&] { processor.PayloadSize(); });
    }
    Use(features, "PixelFormat");
    Try([&] { remote.DevicePayloadSize(); });
    Try([&] { processor.AcquisitionStarted(); });
    Use(features, "PixelFormat");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const DocumentAndRegisters input(data, size);
    if (input.document.empty())
    {
        return 0;
    }
    Try(
        [&]
        {
            RepeatingRegisters registers(input.registers);
            StoredDevice device(input.document, &registers);
            const auto processor = std::make_shared<ConversionProcessor>();
            const auto delivery = std::make_shared<ConversionDelivery>(processor);
            EditedRemote remote(device, "device", Conversions(), delivery);
            AddCalibratedDepth(remote, *processor, *delivery);
            processor->SetDevice([&remote] { return remote.ReadDeviceState(); });
            Consume(remote, *processor);
        });
    return 0;
}
