#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include <tavo/sdk/analytics/i_integration.h>
#include <tavo/sdk/i_lib_context.h>
#include <tavo/sdk/ptr.h>

namespace tavo::devkit
{

// The library file, opened by the dynamic loader. Nothing of it is known at link time but the names
// of its four exports. Closed at the end of this object, when no object of the library may live any
// more. One thread.
class Library : private sdk::IRefCountableRegistry
{
public:
    // Throws std::runtime_error with the loader's text when the file or one of the exports is not
    // to be had.
    explicit Library(const std::string& file);
    TAVO_DESTRUCTOR_OVERRIDE(Library);
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    [[nodiscard]] std::string sdkVersion() const;

    // A new plugin object. Throws std::runtime_error when the library gives none or one that is no
    // integration.
    [[nodiscard]] sdk::Ptr<sdk::analytics::IIntegration> createPlugin() const;

    // How many counted objects of the library live: 0 once everything has been released.
    [[nodiscard]] int64_t liveObjects() const { return m_liveObjects; }

private:
    // IRefCountableRegistry: called by the library on any thread.
    void notifyCreated(const sdk::IRefCountable*, uint32_t) override { ++m_liveObjects; }
    void notifyDestroyed(const sdk::IRefCountable*, uint32_t) override { --m_liveObjects; }

    template <class Function>
    [[nodiscard]] Function* function(const char* name) const;

private:
    void* m_handle = nullptr; // the loader's
    std::atomic<int64_t> m_liveObjects = 0;
};

} // namespace tavo::devkit
