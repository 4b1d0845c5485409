#include "simulator/features/register_form.h"

#include "simulator/error.h"
#include "simulator/features/raw_value.h"

#include <algorithm>

namespace GenTL::simulator
{

namespace
{

/// Texts and raw bytes have no byte order.
bool IsReversed(const RegisterForm &form, const Feature &feature)
{
    const bool isNumber = feature.kind != FeatureKind::String && feature.kind != FeatureKind::Bytes;
    return form.bigEndian && isNumber;
}

} // namespace

std::vector<uint8_t> ToRegister(const RegisterForm &form, const Feature &feature, std::vector<uint8_t> value)
{
    if (!form.codes.empty())
    {
        const auto found = std::ranges::find(form.codes, DecodeInteger(value), &RegisterCode::value);
        EncodeInteger(value, found == form.codes.end() ? 0 : found->code);
    }
    if (IsReversed(form, feature))
    {
        std::ranges::reverse(value);
    }
    return value;
}

std::vector<uint8_t> FromRegister(const RegisterForm &form, const Feature &feature,
                                  std::vector<uint8_t> bytes)
{
    if (IsReversed(form, feature))
    {
        std::ranges::reverse(bytes);
    }
    if (!form.codes.empty())
    {
        const auto code = DecodeInteger(bytes);
        const auto found = std::ranges::find(form.codes, code, &RegisterCode::code);
        if (found == form.codes.end())
        {
            throw Error(GC_ERR_INVALID_VALUE, "Code {} is not allowed for {}", code, feature.name);
        }
        EncodeInteger(bytes, found->value);
    }
    return bytes;
}

} // namespace GenTL::simulator
