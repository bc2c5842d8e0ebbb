#include <tavo/sdk/helpers/lib_context.h>

#include <cstddef>
#include <cstdio>
#include <new>
#include <string>
#include <string_view>

#include <tavo/kit/debug.h>
#include <tavo/sdk/exports.h>

namespace tavo::sdk
{

namespace
{

constexpr const char* kIncorrectName = "incorrectly_named_lib_context";

} // namespace

void LibContext::setName(const char* name)
{
    const std::lock_guard lock(m_mutex);

    const std::string_view currentName = m_name.load(std::memory_order_relaxed);
    if (currentName != kDefaultName && (!name || currentName != name))
    {
        char message[512]; // cut where a name is longer than any
        std::snprintf(
            message, sizeof message, "Attempt to change LibContext name from %s to %s.",
            m_name.load(std::memory_order_relaxed), name ? name : "(null)");
        kit::assertionFailed("m_name == kDefaultName || m_name == std::string(name)", message);
        return;
    }

    const char* newName = name;
    if (!kit::verify(name, "name") || !kit::verify(name[0] != '\0', "name[0] != '\\0'"))
        newName = kIncorrectName;

    if (currentName == newName)
        return; // readers may hold the text

    m_ownName[std::string_view(newName).copy(m_ownName.data(), m_ownName.size() - 1)] = '\0';
    m_name.store(m_ownName.data(), std::memory_order_release);
}

void LibContext::setRefCountableRegistry(IRefCountableRegistry* registry)
{
    const std::lock_guard lock(m_mutex);
    kit::verify(
        !m_refCountableRegistry.load(std::memory_order_relaxed), "!m_refCountableRegistry",
        "LibContext refCountableRegistry has already been set.");
    m_refCountableRegistry.store(registry, std::memory_order_release);
}

LibContext& libContext()
{
    alignas(LibContext) static std::byte memory[sizeof(LibContext)];
    static LibContext* const context = new (memory) LibContext;
    return *context;
}

} // namespace tavo::sdk

tavo::sdk::ILibContext* tavoLibContext()
{
    return &tavo::sdk::libContext();
}
