#include "simulator/features/feature.h"

#include <cctype>

namespace GenTL::simulator
{

namespace
{

Feature Make(FeatureKind kind, std::string category, std::string name, std::string toolTip)
{
    Feature feature;
    feature.kind = kind;
    feature.category = std::move(category);
    feature.name = std::move(name);
    feature.toolTip = std::move(toolTip);
    return feature;
}

} // namespace

Feature &&Feature::Default(DefaultValue value) &&
{
    defaultValue = std::move(value);
    return std::move(*this);
}

Feature &&Feature::Range(int64_t low, Limit high, int64_t step) &&
{
    minimum = low;
    maximum = std::move(high);
    increment = step;
    return std::move(*this);
}

Feature &&Feature::FloatRange(double low, double high) &&
{
    floatRange = {low, high};
    return std::move(*this);
}

Feature &&Feature::FloatBounds(std::string low, std::string high) &&
{
    floatBounds = {std::move(low), std::move(high)};
    return std::move(*this);
}

Feature &&Feature::ReadOnly() &&
{
    access = Access::ReadOnly;
    return std::move(*this);
}

Feature &&Feature::Length(size_t bytes) &&
{
    length = bytes;
    return std::move(*this);
}

Feature &&Feature::Unit(std::string value) &&
{
    unit = std::move(value);
    return std::move(*this);
}

Feature &&Feature::Representation(std::string value) &&
{
    representation = std::move(value);
    return std::move(*this);
}

Feature &&Feature::Visibility(std::string value) &&
{
    visibility = std::move(value);
    return std::move(*this);
}

Feature &&Feature::SelectedBy(std::string value) &&
{
    selector = std::move(value);
    return std::move(*this);
}

Feature &&Feature::LockedBy(std::string value, std::string shown) &&
{
    lock = std::move(value);
    shownLock = std::move(shown);
    return std::move(*this);
}

Feature &&Feature::MayBeNegative() &&
{
    mayBeNegative = true;
    return std::move(*this);
}

Feature &&Feature::Volatile() &&
{
    changesByItself = true;
    return std::move(*this);
}

Feature &&Feature::ConditionalEntries(std::set<std::string> absent) &&
{
    absentEntries = std::move(absent);
    conditionalEntries = true;
    return std::move(*this);
}

Feature &&Feature::VendorSpecific() &&
{
    vendorSpecific = true;
    return std::move(*this);
}

Feature &&Feature::DividedBy(std::string numberOrFeature) &&
{
    divisor = std::move(numberOrFeature);
    return std::move(*this);
}

Feature Integer(std::string category, std::string name, std::string toolTip)
{
    return Make(FeatureKind::Integer, std::move(category), std::move(name), std::move(toolTip));
}

Feature Float(std::string category, std::string name, std::string toolTip)
{
    return Make(FeatureKind::Float, std::move(category), std::move(name), std::move(toolTip)).Default(0.0);
}

Feature Boolean(std::string category, std::string name, std::string toolTip)
{
    return Make(FeatureKind::Boolean, std::move(category), std::move(name), std::move(toolTip));
}

Feature Enumeration(std::string category, std::string name, std::string toolTip,
                    std::vector<EnumEntry> entries)
{
    Feature feature =
        Make(FeatureKind::Enumeration, std::move(category), std::move(name), std::move(toolTip));
    feature.entries = std::move(entries);
    feature.defaultValue = feature.entries.empty() ? 0 : feature.entries.front().value;
    return feature;
}

Feature Command(std::string category, std::string name, std::string toolTip)
{
    return Make(FeatureKind::Command, std::move(category), std::move(name), std::move(toolTip));
}

Feature Text(std::string category, std::string name, std::string toolTip, size_t length)
{
    return Make(FeatureKind::String, std::move(category), std::move(name), std::move(toolTip))
        .Default("")
        .Length(length);
}

Feature Bytes(std::string category, std::string name, std::string toolTip, size_t length)
{
    return Make(FeatureKind::Bytes, std::move(category), std::move(name), std::move(toolTip)).Length(length);
}

bool IsSigned(const Feature &feature)
{
    return feature.mayBeNegative || (feature.minimum && feature.minimum->number.value_or(0) < 0);
}

bool IsOfUserSets(const Feature &feature)
{
    const bool hasValue = feature.kind != FeatureKind::Command && feature.kind != FeatureKind::String &&
                          feature.kind != FeatureKind::Bytes;
    const bool isOfTheMoment = feature.name.ends_with("Selector") || feature.name == "TLParamsLocked" ||
                               feature.category == "FileAccessControl";
    return feature.access == Access::ReadWrite && hasValue && !isOfTheMoment;
}

Limit ValueOf(std::string feature)
{
    return {std::move(feature), {}};
}

Limit Difference(std::string feature, std::string minus)
{
    return {std::move(feature), std::move(minus)};
}

std::string DisplayName(const std::string &name)
{
    const auto isUpper = [&](size_t i) { return std::isupper(static_cast<unsigned char>(name[i])) != 0; };
    const auto isLower = [&](size_t i) { return std::islower(static_cast<unsigned char>(name[i])) != 0; };
    std::string text;
    for (size_t i = 0; i < name.size(); ++i)
    {
        const bool startsWord =
            i > 0 && isUpper(i) && (isLower(i - 1) || (i + 1 < name.size() && isLower(i + 1)));
        text += startsWord ? " " : "";
        text += name[i];
    }
    return text;
}

} // namespace GenTL::simulator
