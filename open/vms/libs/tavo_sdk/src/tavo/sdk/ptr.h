// A counted pointer to an interface or to a class that implements one.
//
// The two ways from a raw pointer are two words, so that no reader has to count:
// - `Ptr(raw)` takes over a reference that the caller owns;
// - `addRefToPtr(raw)` adds a reference of its own.
// `releasePtr()` is the way back: the caller owns the reference that the Ptr held.
// One Ptr belongs to one thread at a time.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

#include <tavo/sdk/i_ref_countable.h>

namespace tavo::sdk
{

template <class T>
class Ptr
{
public:
    Ptr() = default;
    Ptr(std::nullptr_t) {}
    explicit Ptr(T* adopted) :
        m_object(adopted)
    {}

    Ptr(const Ptr& other) :
        m_object(other.m_object)
    {
        addRef();
    }
    Ptr(Ptr&& other) noexcept :
        m_object(std::exchange(other.m_object, nullptr))
    {}

    template <class U>
    requires std::is_convertible_v<U*, T*> Ptr(const Ptr<U>& other) :
        m_object(other.get())
    {
        addRef();
    }

    template <class U>
    requires std::is_convertible_v<U*, T*> Ptr(Ptr<U>&& other)
    noexcept :
        m_object(other.releasePtr())
    {}

    Ptr& operator=(Ptr other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }

    ~Ptr() { reset(); }

    void reset()
    {
        if (T* const object = std::exchange(m_object, nullptr))
            object->releaseRef();
    }

    [[nodiscard]] T* releasePtr() { return std::exchange(m_object, nullptr); }

    T* get() const { return m_object; }
    T* operator->() const { return m_object; }
    T& operator*() const { return *m_object; }
    explicit operator bool() const { return m_object != nullptr; }

    friend bool operator==(const Ptr& left, std::nullptr_t) { return !left.m_object; }
    template <class U>
    friend bool operator==(const Ptr& left, const Ptr<U>& right)
    {
        return left.get() == right.get();
    }

private:
    void addRef() const
    {
        if (m_object)
            m_object->addRef();
    }

    T* m_object = nullptr;
};

template <class T>
[[nodiscard]] Ptr<T> addRefToPtr(T* object)
{
    if (object)
        object->addRef();
    return Ptr<T>(object);
}

template <class T, class... Args>
[[nodiscard]] Ptr<T> makePtr(Args&&... args)
{
    return Ptr<T>(new T(std::forward<Args>(args)...));
}

// The object as `T` if it is one under the first id of `T`, else null.
template <class T>
[[nodiscard]] Ptr<T> interfaceCast(IRefCountable* object)
{
    if (!object)
        return nullptr;
    return Ptr<T>(static_cast<T*>(object->queryInterface(T::kInterfaceIds[0])));
}

template <class T, class U>
[[nodiscard]] Ptr<T> interfaceCast(const Ptr<U>& object)
{
    return interfaceCast<T>(object.get());
}

} // namespace tavo::sdk
