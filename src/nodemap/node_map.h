#pragma once

#include "nodemap/register_definition.h"
#include "nodemap/register_map.h"
#include "port/i_port.h"
#include "profile/profile.h"
#include "utils/info.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace GenTL::internal::nodemap
{

/// The port of a local module: registers from a table, followed by the module's own GenICam description,
/// which a "local:" URL announces.
///
/// Its module owns it, is the context of the callbacks, and fills registers through GetRegisterMap. Any
/// thread may use it: the register map locks, and everything else is constant.
class NodeMap final : public IPort
{
public:
    /// @param document must outlive this object
    /// @throws GenTLException for a table with a gap or a value longer than its register
    NodeMap(std::string portName, std::string tlType, ModuleType moduleType, std::string_view document,
            void *owner, std::span<const RegisterDefinition> definitions, const Identity &identity = {});

    /// Takes existing registers and adds the document behind them.
    /// @throws GenTLException "RegisterMap not initialized!", GC_ERR_ERROR, without a register map
    NodeMap(std::string portName, std::string tlType, ModuleType moduleType, std::string_view document,
            std::unique_ptr<IRegisterMap> registerMap, const Identity &identity = {});

    /// @throws GenTLException "RegisterMap not initialized!", GC_ERR_ERROR
    IRegisterMap &GetRegisterMap();

    void GetPortURL(char *sURL, size_t *piSize) override;
    void GetPortInfo(PORT_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize) override;
    void GetNumPortURLs(uint32_t *piNumURLs) override;
    void GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                        size_t *piSize) override;
    void ReadPortStacked(PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries) override;
    void WritePortStacked(PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries) override;
    ModuleType GetModuleType() const override { return m_moduleType; }
    /// A failed access sets the size to 0.
    void ReadRegisters(uint64_t iAddress, void *pBuffer, size_t *piSize) override;
    void WriteRegisters(uint64_t iAddress, const void *pBuffer, size_t *piSize) override;

private:
    std::string Url() const;
    utils::Info PortAnswer(PORT_INFO_CMD command) const;
    utils::Info UrlAnswer(URL_INFO_CMD command) const;

    std::string m_portName;
    std::string m_tlType;
    ModuleType m_moduleType;
    std::string_view m_document;
    uint64_t m_documentAddress = 0;
    std::unique_ptr<IRegisterMap> m_registerMap;
    Identity m_identity;
};

} // namespace GenTL::internal::nodemap
