#include "vision/metadata_conversion.h"

#include <string>
#include <typeinfo>
#include <vector>

namespace tarn::cvl
{

namespace
{

/// The value if it has exactly this type, otherwise null.
template <typename T>
const T *ValueOf(const common::Any &value)
{
    // The same comparison as in Any::Cast.
    return value.Type().name() == typeid(T).name() ? &value.Cast<T>() : nullptr;
}

/// Writes the entries of one metadata object.
class Writer
{
public:
    explicit Writer(void *store) : m_store(store) {}

    /// Skips a value whose type the library does not know.
    void Write(const std::string &key, const common::Any &value) const
    {
        [[maybe_unused]] const bool isWritten =
            WriteScalar<bool>(key, value, dynamic::Metadata_SetBool) || WriteFlags(key, value) ||
            WriteScalar<int64_t>(key, value, dynamic::Metadata_SetInt) ||
            WriteArray<int64_t>(key, value, dynamic::Metadata_SetIntArray) ||
            WriteScalar<uint64_t>(key, value, dynamic::Metadata_SetUInt) ||
            WriteArray<uint64_t>(key, value, dynamic::Metadata_SetUIntArray) ||
            WriteScalar<double>(key, value, dynamic::Metadata_SetDouble) ||
            WriteArray<double>(key, value, dynamic::Metadata_SetDoubleArray) || WriteText(key, value) ||
            WriteTexts(key, value);
    }

    void WriteRoi(const common::Rectangle &roi) const
    {
        Call(dynamic::Metadata_SetUInt, m_store, "ROIX", roi.x);
        Call(dynamic::Metadata_SetUInt, m_store, "ROIY", roi.y);
        Call(dynamic::Metadata_SetUInt, m_store, "ROIWidth", roi.width);
        Call(dynamic::Metadata_SetUInt, m_store, "ROIHeight", roi.height);
    }

private:
    template <typename T, typename Function>
    bool WriteScalar(const std::string &key, const common::Any &value, const Function &set) const
    {
        const auto *scalar = ValueOf<T>(value);
        if (scalar != nullptr)
        {
            Call(set, m_store, key.c_str(), *scalar);
        }
        return scalar != nullptr;
    }

    template <typename T, typename Function>
    bool WriteArray(const std::string &key, const common::Any &value, const Function &set) const
    {
        const auto *array = ValueOf<std::vector<T>>(value);
        if (array != nullptr)
        {
            Call(set, m_store, key.c_str(), array->data(), array->size());
        }
        return array != nullptr;
    }

    bool WriteFlags(const std::string &key, const common::Any &value) const
    {
        const auto *flags = ValueOf<std::vector<bool>>(value);
        if (flags != nullptr)
        {
            const std::vector<uint8_t> bytes(flags->begin(), flags->end());
            Call(dynamic::Metadata_SetBoolArray, m_store, key.c_str(), bytes.data(), bytes.size());
        }
        return flags != nullptr;
    }

    bool WriteText(const std::string &key, const common::Any &value) const
    {
        const auto *text = ValueOf<std::string>(value);
        if (text != nullptr)
        {
            Call(dynamic::Metadata_SetString, m_store, key.c_str(), text->c_str());
        }
        return text != nullptr;
    }

    bool WriteTexts(const std::string &key, const common::Any &value) const
    {
        const auto *texts = ValueOf<std::vector<std::string>>(value);
        if (texts != nullptr)
        {
            std::vector<const char *> pointers;
            for (const auto &text : *texts)
            {
                pointers.push_back(text.c_str());
            }
            Call(dynamic::Metadata_SetStringArray, m_store, key.c_str(), pointers.data(), pointers.size());
        }
        return texts != nullptr;
    }

    void *m_store;
};

} // namespace

MetadataHandle ConvertMetadata(const common::Metadata &metadata)
{
    auto store = MetadataHandle::Create(dynamic::Metadata_Create);
    const Writer writer(store.Get());
    for (const auto &[key, value] : metadata)
    {
        writer.Write(key, value);
    }
    const auto *roi = metadata.Find("Roi");
    const auto *rectangle = roi != nullptr ? ValueOf<common::Rectangle>(*roi) : nullptr;
    if (rectangle != nullptr)
    {
        writer.WriteRoi(*rectangle);
    }
    return store;
}

} // namespace tarn::cvl
