#pragma once

#include <cstddef>
#include <cstdint>

namespace GenTL::internal::genapi
{

/// The registers of a device as plain bytes. All operations throw GenTLException, whose code and text reach
/// the reader of a feature. GraphFeatures calls it on the thread of its caller.
class IRegisterPort
{
public:
    IRegisterPort() = default;
    IRegisterPort(const IRegisterPort &) = delete;
    IRegisterPort &operator=(const IRegisterPort &) = delete;
    virtual ~IRegisterPort() = default;

    virtual void Read(uint64_t address, void *data, size_t size) = 0;
    virtual void Write(uint64_t address, const void *data, size_t size) = 0;
};

} // namespace GenTL::internal::genapi
