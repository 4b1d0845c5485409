#include "remote/scan3d_values.h"

#include "nodemap/math_expression_parser.h"
#include "nodemap/node_access.h"
#include "nodemap/register_visitor.h"
#include "nodemap/value_encoding.h"
#include "remote/node_callbacks.h"
#include "utils/gentl_exception.h"
#include "utils/map_at.h"
#include "utils/try.h"

#include <bit>
#include <cmath>
#include <optional>
#include <utility>
#include <vector>

namespace GenTL::internal
{

using nodemap::NodeInfo;
using nodemap::StoreNumber;

namespace
{

/// The divisor of an axis, where the divisor is a feature of the device: the consumer reads this value from
/// the feature.
constexpr uint64_t variableDivisor = 1000;

/// The operand's name in a formula like TO / OPERAND, empty for a literal. None for any other formula, nor
/// for one that cannot be read.
std::optional<std::string> DivisorIn(const std::string &formula)
{
    using nodemap::TokenType;
    const auto tokens = utils::Try([&] { return nodemap::Tokenize(formula); });
    if (!tokens || tokens->size() != 4) // the last one is End
    {
        return std::nullopt;
    }
    const auto &dividend = tokens->at(0);
    const auto &divisor = tokens->at(2);
    const bool isDivision = dividend.Type == TokenType::Identifier && dividend.Name == "TO" &&
                            tokens->at(1).Type == TokenType::Divide;
    const bool isOperand = divisor.Type == TokenType::Identifier || divisor.Type == TokenType::Number;
    return isDivision && isOperand ? std::optional(divisor.Name) : std::nullopt;
}

/// Writes a constant in the form of a node: as a float of the register's length, or as an integer.
void StoreConstant(const NodeInfo &node, int64_t constant, void *buffer, size_t size)
{
    const auto number = static_cast<double>(constant);
    if (node.Type != "Float")
    {
        return StoreNumber(constant, buffer, size, node.Endianess);
    }
    switch (node.Length)
    {
    case sizeof(double):
        return StoreNumber(std::bit_cast<int64_t>(number), buffer, size, node.Endianess);
    case sizeof(float):
        return StoreNumber(std::bit_cast<int32_t>(static_cast<float>(number)), buffer, size, node.Endianess);
    default:
        throw GenTLException(fmt::format("Unable to handle node {} with length {}", node.Name, node.Length),
                             GC_ERR_ERROR);
    }
}

} // namespace

Scan3dValues::Scan3dValues(const DeviceFeatures &features, IProcessor &processor, PortOverrides &overrides,
                           std::function<Scan3dCoordinate()> currentCoordinate)
    : m_features(features), m_processor(processor), m_overrides(overrides),
      m_currentCoordinate(std::move(currentCoordinate))
{
}

void Scan3dValues::InjectScan3dOverrides()
{
    OverrideConstant("Scan3dCoordinateScale", 1);
    OverrideConstant("Scan3dCoordinateOffset", 0);
    OverrideAxis("Scan3dAxisMax", true);
    OverrideAxis("Scan3dAxisMin", false);
    OverrideConstant("Scan3dInvalidDataValue", 0);
    OverrideInvalidDataFlag();
}

void Scan3dValues::AddCalibratedRead(const NodeInfo &node,
                                     std::function<void(void *buffer, size_t size)> store)
{
    AddReadCallback(m_overrides, node,
                    [this, store = std::move(store)](void *buffer, size_t *size)
                    {
                        if (TraitsOf(m_processor.GetScan3dOutputMode()).isRaw)
                        {
                            return false;
                        }
                        store(buffer, *size);
                        return true;
                    });
}

void Scan3dValues::OverrideConstant(const std::string &feature, int64_t constant)
{
    const auto answer = [&](const NodeInfo &node)
    {
        AddCalibratedRead(node, [node, constant](void *buffer, size_t size)
                          { StoreConstant(node, constant, buffer, size); });
    };
    if (const auto *node = m_features.TryFind(feature))
    {
        nodemap::RegisterVisitor(m_features.Parser(), answer).Visit(*node);
    }
}

void Scan3dValues::OverrideAxis(const std::string &feature, bool isMaximum)
{
    const auto *axis = m_features.TryFind(feature);
    const auto converter =
        axis != nullptr ? m_features.Parser().TryFindConverter(axis->pValue) : std::nullopt;
    if (!converter)
    {
        return;
    }
    const auto operand = DivisorIn(converter->Formula);
    if (!operand)
    {
        return;
    }
    const auto divisor = OverrideDivisor(*converter, *operand);
    const auto *node = m_features.TryFind(converter->pValue);
    if (!HasRegister(node))
    {
        return;
    }
    AddCalibratedRead(
        *node,
        [this, isMaximum, factor = static_cast<double>(divisor), node](void *buffer, size_t size)
        {
            const auto [minimum, maximum] = m_processor.GetScan3dAxisMinMax(m_currentCoordinate());
            const auto value = isMaximum ? std::ceil(maximum * factor) : std::floor(minimum * factor);
            StoreNumber(nodemap::TruncateToInteger(value), buffer, size, node->Endianess);
        });
}

uint64_t Scan3dValues::OverrideDivisor(const nodemap::ConverterRecord &axis, const std::string &operand)
{
    // C-20: a literal has no name and so is not found.
    const auto variable = axis.Variables.find(operand);
    if (variable == axis.Variables.end())
    {
        return static_cast<uint64_t>(nodemap::TruncateToInteger(utils::MapAt(axis.Constants, operand)));
    }
    if (const auto *node = m_features.TryFind(variable->second); HasRegister(node))
    {
        AddCalibratedRead(*node, [node](void *buffer, size_t size)
                          { StoreNumber(variableDivisor, buffer, size, node->Endianess); });
    }
    return variableDivisor;
}

void Scan3dValues::OverrideInvalidDataFlag()
{
    const auto answer = [this](const NodeInfo &node)
    {
        AddReadCallback(m_overrides, node,
                        [this, endianess = node.Endianess](void *buffer, size_t *size)
                        {
                            // In the grid, only the depth says whether a pixel is valid.
                            const bool isSet = !TraitsOf(m_processor.GetScan3dOutputMode()).hasGrid ||
                                               m_currentCoordinate() == Scan3dCoordinate::CoordinateC;
                            StoreNumber(isSet ? 1 : 0, buffer, *size, endianess);
                            return true;
                        });
    };
    if (const auto *node = m_features.TryFind("Scan3dInvalidDataFlag"))
    {
        nodemap::RegisterVisitor(m_features.Parser(), answer).Visit(*node);
    }
}

} // namespace GenTL::internal
