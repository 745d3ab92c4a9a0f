#pragma once

#include "Export.h"

#include <QLatin1StringView>

#include <algorithm>
#include <utility>
#include <vector>

namespace zel {

/// A value with a name out of a list that libraries and programs add to: an enumeration that stays
/// open. What is made with a name that is registered already stands for the registered value, whose
/// data stays.
///
/// The name is kept as a pointer: pass a literal. Takes no lock: values are made while libraries
/// load or while a program sets itself up, and only read afterwards. Each T has one list in the
/// whole process, so it needs one explicit instantiation, in the library that owns it.
template<typename T>
class ZEL_RESOURCE_MANAGER_EXPORT ExtendableEnum
{
public:
    /// Registers the name with the data unless it is registered.
    ExtendableEnum(QLatin1StringView name, T data);

    /// By which values are told apart.
    QLatin1StringView name() const { return name_; }
    /// As given to the constructor; for what counts ask ExtendableEnumRef::data().
    const T &data() const { return data_; }

    /// In the order in which the names were first used. Valid until the next value is made.
    static const std::vector<ExtendableEnum> &registeredValues();

private:
    static std::vector<ExtendableEnum> &values();

    QLatin1StringView name_;
    T data_;
};

/// Stands for one registered value, by its name.
template<typename T>
class ExtendableEnumRef
{
public:
    /// Whoever asks for a reference may pass the value itself.
    ExtendableEnumRef(const ExtendableEnum<T> &value) // NOLINT(google-explicit-constructor)
        : name_(value.name())
    {
    }

    /// Of the value that this stands for.
    QLatin1StringView name() const { return name_; }
    /// The data under which the name was first registered.
    const T &data() const
    {
        const auto &values = ExtendableEnum<T>::registeredValues();
        const auto hasName = [this](const auto &value) {
            return value.name() == name_;
        };
        return std::find_if(values.begin(), values.end(), hasName)->data();
    }

    /// By name.
    friend bool operator==(const ExtendableEnumRef &left, const ExtendableEnumRef &right)
    {
        return left.name_ == right.name_;
    }
    /// By name, so that values can be keys.
    friend bool operator<(const ExtendableEnumRef &left, const ExtendableEnumRef &right)
    {
        return left.name_ < right.name_;
    }

private:
    QLatin1StringView name_;
};

template<typename T>
ExtendableEnum<T>::ExtendableEnum(QLatin1StringView name, T data)
    : name_(name)
    , data_(std::move(data))
{
    const auto hasName = [name](const ExtendableEnum &value) {
        return value.name_ == name;
    };
    if (std::none_of(values().begin(), values().end(), hasName))
        values().push_back(*this);
}

template<typename T>
const std::vector<ExtendableEnum<T>> &ExtendableEnum<T>::registeredValues()
{
    return values();
}

// Never destroyed: a scan on a worker may ask for a type while the process is ending.
template<typename T>
std::vector<ExtendableEnum<T>> &ExtendableEnum<T>::values()
{
    static auto *list = new std::vector<ExtendableEnum<T>>;
    return *list;
}

} // namespace zel
