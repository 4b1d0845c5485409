#pragma once

#include "instance_manager.h"
#include "port/i_library.h"
#include "utils/gentl_exception.h"

#include <functional>
#include <string>

namespace GenTL::internal
{

/// A library that is always initialised, with registries of its own, for modules under test.
class FakeLibrary final : public ILibrary
{
public:
    InstanceManager instances;
    std::string tlType = "GEV";
    std::function<void()> onGetTLType;
    IGenTLProxy *proxy = nullptr;

    void Initialize() override {}
    void Shutdown() override {}
    void OpenSystem(TL_HANDLE *) override {}
    void CloseSystem(TL_HANDLE) override {}
    void GetInfo(TL_INFO_CMD, INFO_DATATYPE *, void *, size_t *) override {}
    std::shared_ptr<IPort> FindPort(void *) override { return nullptr; }
    std::shared_ptr<IEventSource> FindEventSource(void *) override { return nullptr; }
    void CheckLibraryInitialized() const override {}
    InstanceManager &GetInstanceManager() override { return instances; }
    void SetLastError(std::string_view, std::string_view, GC_ERROR) override {}
    std::string_view GetLastErrorMessage() const override { return {}; }
    GC_ERROR GetLastErrorCode() const override { return GC_ERR_SUCCESS; }
    IGenTLProxy &GetProxy() override { return *proxy; }
    std::string GetTLType() const override
    {
        if (onGetTLType)
        {
            onGetTLType();
        }
        return tlType;
    }
};

} // namespace GenTL::internal
