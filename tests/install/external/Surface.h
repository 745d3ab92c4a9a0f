#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>

namespace notes {

/// Names of the library with the exact type that this program was written for. One whose type has
/// changed does not compile, one that is not exported does not link.
class Surface
{
public:
    /// A function, or a static member: function<Error(const QString &)>(&open).
    template<typename Signature>
    void function(Signature *address)
    {
        holds(address != nullptr);
    }

    /// A member function, or a field: member<bool() const>(&Task::isIdle).
    template<typename Type, typename Class>
    void member(Type Class::*address)
    {
        holds(address != nullptr);
    }

    /// A variable: constant<const QString>(&kName).
    template<typename Type>
    void constant(Type *address)
    {
        holds(address != nullptr);
    }

    /// What else this program relies on: a value, the shape of a meta-object.
    void holds(bool condition) { asAgreed = condition && asAgreed; }

    /// A constructor, and the destructor with it.
    template<typename Class, typename... Arguments>
    void constructor()
    {
        function<std::unique_ptr<Class>(Arguments...)>(&make<Class, Arguments...>);
    }

    /// Virtual operations behind the destructor, in the order in which programs that were compiled
    /// against earlier headers call them; `base` are those of the bases.
    template<typename... Operations>
    void inSlots(std::size_t base, Operations... operations)
    {
        constexpr std::size_t destructors = 2;
        const std::array<std::size_t, sizeof...(Operations)> found { slotOf(operations)... };
        for (std::size_t i = 0; i < found.size(); ++i)
            holds(found.at(i) == base + destructors + i);
    }

    /// The same where other virtual operations may stand before them and between them.
    template<typename... Operations>
    void ascending(Operations... operations)
    {
        const std::array<std::size_t, sizeof...(Operations)> found { slotOf(operations)... };
        for (std::size_t i = 1; i < found.size(); ++i)
            holds(found.at(i - 1) < found.at(i));
    }

    bool isAsAgreed() const { return asAgreed; }

private:
    template<typename Class, typename... Arguments>
    static std::unique_ptr<Class> make(Arguments... arguments)
    {
        return std::unique_ptr<Class>(new Class(std::forward<Arguments>(arguments)...));
    }

    /// A pointer to a virtual operation begins with its distance into the table.
    template<typename Operation>
    static std::size_t slotOf(Operation operation)
    {
        std::size_t distance = 0;
        static_assert(sizeof operation >= sizeof distance);
        std::memcpy(&distance, &operation, sizeof distance);
        return distance / sizeof(void *);
    }

    bool asAgreed = true;
};

// One per family of classes.
void nameManager(Surface &surface);
void nameCache(Surface &surface);
void nameDao(Surface &surface);
void nameHandlers(Surface &surface);
void nameTasks(Surface &surface);
void nameFoundation(Surface &surface);
void nameResults(Surface &surface);

} // namespace notes
