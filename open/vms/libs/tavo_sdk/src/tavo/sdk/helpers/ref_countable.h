// The counting of a class that implements `RefCountableInterface`. Starts with one reference, and
// reports to the registry of the LibContext, if there is one, when an object comes and goes.
#pragma once

#include <atomic>
#include <cstdint>

#include <tavo/sdk/helpers/error.h>
#include <tavo/sdk/helpers/lib_context.h>
#include <tavo/sdk/i_ref_countable.h>

namespace tavo::sdk
{

template <class RefCountableInterface>
class RefCountable : public RefCountableInterface
{
public:
    RefCountable(const RefCountable&) = delete;
    RefCountable& operator=(const RefCountable&) = delete;

    TAVO_DESTRUCTOR_OVERRIDE(RefCountable) { report(&IRefCountableRegistry::notifyDestroyed); }

    std::uint32_t addRef() const override
    {
        if (m_delegate)
            return m_delegate->addRef();
        return m_refCount.fetch_add(1, std::memory_order_relaxed) + 1;
    }

    // For who knows the object without keeping it, from a registry that the object leaves in its
    // destructor: adds a reference, unless the last one is gone and the destructor is on its way.
    // Not for a part of another object, whose count is that one's.
    [[nodiscard]] bool tryAddRef() const
    {
        std::uint32_t refCount = m_delegate ? 0 : m_refCount.load(std::memory_order_relaxed);
        while (refCount != 0)
        {
            if (m_refCount.compare_exchange_weak(refCount, refCount + 1, std::memory_order_relaxed))
            {
                return true;
            }
        }
        return false;
    }

    // For who must not run the destructor: gives a reference back, unless it is the last one. That
    // stays the caller's. Not for a part of another object.
    [[nodiscard]] bool releaseRefUnlessLast() const
    {
        std::uint32_t refCount = m_refCount.load(std::memory_order_relaxed);
        while (refCount > 1)
        {
            if (m_refCount.compare_exchange_weak(refCount, refCount - 1, std::memory_order_acq_rel))
                return true;
        }
        return false;
    }

    std::uint32_t releaseRef() const override
    {
        if (m_delegate)
            return m_delegate->releaseRef();
        const std::uint32_t refCount = m_refCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (refCount == 0)
            delete m_self;
        return refCount;
    }

protected:
    RefCountable() { report(&IRefCountableRegistry::notifyCreated); }

    // For an object that is a part of another one and lives as long as that: references to it are
    // references to `delegate`, which is not owned.
    explicit RefCountable(const IRefCountable* delegate) :
        m_delegate(delegate)
    {
        report(&IRefCountableRegistry::notifyCreated);
    }

private:
    using Report = void (IRefCountableRegistry::*)(const IRefCountable*, std::uint32_t);
    void report(Report operation) const
    {
        IRefCountableRegistry* const registry = libContext().refCountableRegistry();
        if (!registry)
            return;
        atBorder([&] { (registry->*operation)(this, m_refCount.load(std::memory_order_relaxed)); });
    }

    mutable std::atomic<std::uint32_t> m_refCount{1};
    const RefCountable* const m_self = this;
    const IRefCountable* const m_delegate = nullptr;
};

} // namespace tavo::sdk
