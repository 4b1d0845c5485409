#pragma once

#include "nodemap/nodemap_parser.h"

#include <gentl/gentl.h>

#include <cstddef>
#include <cstdint>

namespace GenTL::internal
{

/// A remote device as the consumer sees it: its registers, and where its description is.
///
/// Owned by the device's RemotePort, which checks the arguments and says which threads may call. All
/// operations throw GenTLException.
class IRemoteView
{
public:
    IRemoteView() = default;
    IRemoteView(const IRemoteView &) = delete;
    IRemoteView &operator=(const IRemoteView &) = delete;
    virtual ~IRemoteView() = default;

    virtual void Read(uint64_t address, void *buffer, size_t size) = 0;
    virtual void Write(uint64_t address, const void *buffer, size_t size) = 0;
    virtual void GetPortURL(char *sURL, size_t *piSize) = 0;
    virtual void GetNumPortURLs(uint32_t *piNumURLs) = 0;
    virtual void GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                                void *pBuffer, size_t *piSize) = 0;
    /// The nodes of the device's own description; null for a view that has read none.
    virtual const nodemap::NodeMapParser *Parser() const { return nullptr; }
};

} // namespace GenTL::internal
