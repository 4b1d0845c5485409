#ifndef QVR_SIMULATOR_FEATURE_H
#define QVR_SIMULATOR_FEATURE_H

#include "register_space.h"

#include <optional>
#include <set>
#include <string>
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
    Bytes /**< a register of the consumer's view, without a value of its own */
};

/** Bound of an integer: a number, or the value of one feature less that of another. */
struct Limit
{
    std::optional<int64_t> number;
    std::string feature;
    std::string minus;
};

struct EnumEntry
{
    std::string name;
    int64_t value;
};

/** A chunk that carries the value of a feature behind the image. */
struct ChunkPort
{
    uint64_t id;
    std::string feature; /**< name of the feature that reads the chunk, e.g. "ChunkFrameID" */
    FeatureKind kind;
    size_t length;
    std::string toolTip;
};

/**
 * One feature of a module, as data. From a list of these come the module's registers, their defaults and
 * checks, and the GenICam description: see FeatureSet. Made with the functions below and the setters:
 *
 *     Integer("ImageFormatControl", "Width", "Width of the image in pixels.").Default(640).Range(16, 640)
 */
struct Feature
{
    FeatureKind kind;
    std::string category;
    std::string name;
    std::string toolTip;
    Access access = Access::ReadWrite;
    size_t length = 4;
    int64_t integerDefault = 0;
    double floatDefault = 0.0;
    std::string textDefault;
    std::optional<Limit> minimum;
    std::optional<Limit> maximum;
    int64_t increment = 1;
    std::optional<std::pair<double, double>> floatRange;
    /** Of a float, instead of floatRange: features with the bounds, the upper one behind a formula. */
    std::optional<std::pair<std::string, std::string>> floatBounds;
    std::vector<EnumEntry> entries;
    std::string unit;
    std::string representation;
    std::string visibility = "Beginner";
    std::string selector;         /**< name of the feature that selects this one */
    std::string lock;             /**< name of the feature that makes this one read-only when it is not 0 */
    std::string shownLock;        /**< the same in the description, where its reader is told of more */
    bool changesByItself = false; /**< consumers must not cache it */
    bool conditionalEntries = false; /**< bits in registers tell which entries there are */
    std::set<std::string> absentEntries;
    /** Not empty: the description shows the integer as a float, divided by this number or feature. */
    std::string divisor;
    bool mixedConditions = false; /**< the description asks for these bits in every form there is */
    bool vendorSpecific = false;  /**< not named by the SFNC */

    Feature &&Default(int64_t value) &&;
    Feature &&DefaultFloat(double value) &&;
    Feature &&DefaultText(std::string value) &&;
    Feature &&Range(int64_t low, int64_t high, int64_t step = 1) &&;
    Feature &&Range(int64_t low, Limit high, int64_t step = 1) &&;
    Feature &&FloatRange(double low, double high) &&;
    Feature &&FloatBounds(std::string low, std::string high) &&;
    Feature &&ReadOnly() &&;
    Feature &&Length(size_t bytes) &&;
    Feature &&Unit(std::string value) &&;
    Feature &&Representation(std::string value) &&;
    Feature &&Visibility(std::string value) &&;
    Feature &&SelectedBy(std::string value) &&;
    Feature &&LockedBy(std::string value) &&;
    Feature &&ShownLockedBy(std::string value) &&;
    Feature &&Volatile() &&;
    /** Bits in registers tell which entries there are: all but these. */
    Feature &&ConditionalEntries(std::set<std::string> absent) &&;
    Feature &&VendorSpecific() &&;
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

/** Whether user sets cover it: what a consumer can set, but for what goes on at the moment. */
bool IsOfUserSets(const Feature &feature);

/** The value of a feature as an upper limit. */
Limit ValueOf(std::string feature);
/** The value of one feature less that of another as an upper limit. */
Limit Difference(std::string feature, std::string minus);

/** "AcquisitionFrameRate" as "Acquisition Frame Rate". */
std::string DisplayName(const std::string &name);

} // namespace GenTL::simulator

#endif
