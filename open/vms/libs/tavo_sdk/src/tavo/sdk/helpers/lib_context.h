// The one LibContext of this library. Built on first use, from any thread, and never destroyed: a
// host may hold its last object of ours until the process has ended.
#pragma once

#include <array>
#include <atomic>
#include <mutex>

#include <tavo/sdk/i_lib_context.h>

namespace tavo::sdk
{

class LibContext : public ILibContext
{
public:
    static constexpr const char* kDefaultName = "unnamed_lib_context";

    // ILibContext:
    TAVO_DESTRUCTOR_OVERRIDE(LibContext) = default;
    void setName(const char* name) override;
    void setRefCountableRegistry(IRefCountableRegistry* registry) override;

    // Both take no lock.
    const char* name() const { return m_name.load(std::memory_order_acquire); }
    IRefCountableRegistry* refCountableRegistry() const
    {
        return m_refCountableRegistry.load(std::memory_order_acquire);
    }

private:
    std::mutex m_mutex; // over the set operations
    std::array<char, 256> m_ownName{}; // cut if longer; written once, before m_name points to it
    std::atomic<const char*> m_name{kDefaultName};
    std::atomic<IRefCountableRegistry*> m_refCountableRegistry{nullptr}; // not owned
};

LibContext& libContext();

} // namespace tavo::sdk
