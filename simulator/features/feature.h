#pragma once

#include "simulator/features/register_space.h"

#include <algorithm>
#include <concepts>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

namespace GenTL::simulator
{

enum class FeatureKind
{
    Integer,
    Float,
    Boolean,
    Enumeration,
    Command,
    String,
    Bytes ///< raw bytes, which the description offers as a register
};

/// Bound of an integer: a number, the value of a feature, or the difference of the values of two features.
struct Limit
{
    std::optional<int64_t> number;
    std::string feature;
    std::string minus; ///< empty: nothing is subtracted

    // A plain number stands for a limit in calls such as Range(16, 640).
    Limit(int64_t value) : number(value) {}
    Limit(std::string whole, std::string part) : feature(std::move(whole)), minus(std::move(part)) {}
};

struct EnumEntry
{
    std::string name;
    int64_t value;
};

/// A chunk that carries the value of a feature behind the image.
struct ChunkPort
{
    uint64_t id;
    std::string feature; ///< name of the feature that reads the chunk, e.g. "ChunkFrameID"
    FeatureKind kind;
    size_t length;
    std::string toolTip;
};

/// An event whose data the description explains. The data are numbers of eight bytes, little-endian: the id,
/// the time in ns, and what the event adds.
struct EventPort
{
    uint64_t id;
    std::string name;                   ///< e.g. "ExposureEnd", which gives the feature "EventExposureEnd"
    std::string toolTip;                ///< when it happens
    std::vector<std::string> more = {}; ///< names of the numbers behind the time, e.g. "FrameID"
};

/// One feature of a module, as data. A list of features yields the module's registers, their defaults, the
/// checks on write, and the GenICam description: see FeatureSet. Made with the functions below and the
/// setters:
///
///     Integer("ImageFormatControl", "Width", "Width of the image in pixels.").Default(640).Range(16, 640)
struct Feature
{
    using DefaultValue = std::variant<int64_t, double, std::string>;

    FeatureKind kind;
    std::string category;
    std::string name;
    std::string toolTip;
    Access access = Access::ReadWrite;
    size_t length = 4; ///< bytes of the register
    DefaultValue defaultValue;
    std::optional<Limit> minimum;
    std::optional<Limit> maximum;
    int64_t increment = 1;
    std::optional<std::pair<double, double>> floatRange;
    /// Replaces floatRange: the features that hold the bounds; the description reads the upper one by a
    /// formula.
    std::optional<std::pair<std::string, std::string>> floatBounds;
    std::vector<EnumEntry> entries;
    std::string unit;
    std::string representation;
    std::string visibility = "Beginner";
    std::string selector;            ///< name of the feature that selects this one
    std::string lock;                ///< name of the feature that makes this one read-only while it is not 0
    std::string shownLock;           ///< the lock in the description, where it differs
    bool changesByItself = false;    ///< consumers must not cache it
    bool conditionalEntries = false; ///< bits in registers say which entries exist
    std::set<std::string> absentEntries;
    /// Not empty: the description shows the integer as a float, divided by this number or feature.
    std::string divisor;
    bool mixedConditions = false; ///< the description reads the bits of the entries in every form that exists
    bool vendorSpecific = false;  ///< not named by the SFNC
    bool mayBeNegative = false;   ///< although no minimum says so

    /// The value after opening: a number, a float or a text by the kind of the feature.
    Feature &&Default(DefaultValue value) &&;
    Feature &&Range(int64_t low, Limit high, int64_t step = 1) &&;
    Feature &&FloatRange(double low, double high) &&;
    Feature &&FloatBounds(std::string low, std::string high) &&;
    Feature &&ReadOnly() &&;
    Feature &&Length(size_t bytes) &&;
    Feature &&Unit(std::string value) &&;
    Feature &&Representation(std::string value) &&;
    Feature &&Visibility(std::string value) &&;
    Feature &&SelectedBy(std::string value) &&;
    /// `shown` is the lock in the description, where it differs.
    Feature &&LockedBy(std::string value, std::string shown = {}) &&;
    Feature &&Volatile() &&;
    /// Makes bits in registers say which entries exist: all but the `absent` ones.
    Feature &&ConditionalEntries(std::set<std::string> absent) &&;
    Feature &&VendorSpecific() &&;
    Feature &&MayBeNegative() &&;
    Feature &&DividedBy(std::string numberOrFeature) &&;
};

Feature Integer(std::string category, std::string name, std::string toolTip);
Feature Float(std::string category, std::string name, std::string toolTip);
Feature Boolean(std::string category, std::string name, std::string toolTip);
Feature Enumeration(std::string category, std::string name, std::string toolTip,
                    std::vector<EnumEntry> entries);
Feature Command(std::string category, std::string name, std::string toolTip);
Feature Text(std::string category, std::string name, std::string toolTip, size_t length);
Feature Bytes(std::string category, std::string name, std::string toolTip, size_t length);

/// Whether the register of an integer holds negative numbers.
bool IsSigned(const Feature &feature);

/// Whether user sets cover the feature: a consumer can write its value, and the value is a setting rather
/// than a selector, a lock or a step of a file access.
bool IsOfUserSets(const Feature &feature);

/// The value of a feature as an upper limit.
Limit ValueOf(std::string feature);
/// The value of `feature` minus the value of `minus` as an upper limit.
Limit Difference(std::string feature, std::string minus);

/// The entries of a selector: one for each item that has an `entry`.
template <typename Items>
std::vector<EnumEntry> EntriesOf(const Items &items)
{
    std::vector<EnumEntry> entries;
    entries.reserve(items.size());
    for (const auto &item : items)
    {
        entries.push_back(item.entry);
    }
    return entries;
}

/// Several lists as one.
template <typename T, std::same_as<std::vector<T>>... More>
std::vector<T> Joined(std::vector<T> first, More... more)
{
    first.reserve((first.size() + ... + more.size()));
    (std::ranges::move(more, std::back_inserter(first)), ...);
    return first;
}

/// "AcquisitionFrameRate" as "Acquisition Frame Rate".
std::string DisplayName(const std::string &name);

} // namespace GenTL::simulator
