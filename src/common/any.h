#pragma once

#include "common/exceptions.h"

#include <memory>
#include <typeinfo>
#include <utility>

namespace tarn::common
{

/// A value of any copyable type, or no value.
class Any
{
public:
    Any() = default;
    template <typename T>
    Any(T value) // not explicit, so that a value converts to an Any
        : m_content(std::make_unique<Holder<T>>(std::move(value)))
    {
    }
    Any(const Any &other) : m_content(other.m_content ? other.m_content->Clone() : nullptr) {}
    Any(Any &&) noexcept = default;
    Any &operator=(Any other) noexcept
    {
        m_content = std::move(other.m_content);
        return *this;
    }
    ~Any() = default;

    /// The type of the value; void without a value.
    const std::type_info &Type() const { return m_content ? m_content->Type() : typeid(void); }

    /// @throws InvalidCastException when the value has another type
    template <typename T>
    const T &Cast() const
    {
        // Compares the addresses of the names. Types of the same name in two libraries count as different.
        if (Type().name() != typeid(T).name())
        {
            throw InvalidCastException(std::string("Casting from ") + Type().name() + " to the given type " +
                                       typeid(T).name() + " is not supported!");
        }
        return static_cast<const Holder<T> &>(*m_content).value;
    }

private:
    class Placeholder
    {
    public:
        Placeholder() = default;
        Placeholder(const Placeholder &) = delete;
        Placeholder &operator=(const Placeholder &) = delete;
        virtual ~Placeholder() = default;
        virtual const std::type_info &Type() const = 0;
        virtual std::unique_ptr<Placeholder> Clone() const = 0;
    };

    template <typename T>
    class Holder final : public Placeholder
    {
    public:
        explicit Holder(T initial) : value(std::move(initial)) {}
        const std::type_info &Type() const override { return typeid(T); }
        std::unique_ptr<Placeholder> Clone() const override { return std::make_unique<Holder>(value); }

        T value;
    };

    std::unique_ptr<Placeholder> m_content;
};

} // namespace tarn::common
