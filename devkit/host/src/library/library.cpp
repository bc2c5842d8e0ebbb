#include "library/library.h"

#include <iostream>
#include <stdexcept>

#include "library/loader.h"

namespace tavo::devkit
{

template <class Function>
Function* Library::function(const char* name) const
{
    return reinterpret_cast<Function*>(findSymbol(m_handle, name));
}

Library::Library(const std::string& file) :
    m_handle(openLibrary(file))
{
    try
    {
        // All four are the contract: a library that lacks one is refused, whether the name is
        // used here or not.
        for (const char* const name :
             {"createTavoPlugin", "tavoLibContext", "tavoSdkVersion", "tavoSetUnitTestOptions"})
        {
            (void)findSymbol(m_handle, name);
        }
        sdk::ILibContext* const context = function<sdk::ILibContext*()>("tavoLibContext")();
        context->setName("tavo_orlix_manager_plugin");
        context->setRefCountableRegistry(this);
    }
    catch (const std::runtime_error&)
    {
        closeLibrary(m_handle);
        throw;
    }
}

Library::~Library()
{
    try
    {
        closeLibrary(m_handle);
    }
    catch (const std::runtime_error& error)
    {
        std::cerr << "The library does not close: " << error.what() << std::endl;
    }
}

std::string Library::sdkVersion() const
{
    return function<const char*()>("tavoSdkVersion")();
}

sdk::Ptr<sdk::analytics::IIntegration> Library::createPlugin() const
{
    const sdk::Ptr<sdk::IPlugin> plugin(function<sdk::IPlugin*()>("createTavoPlugin")());
    auto integration = sdk::interfaceCast<sdk::analytics::IIntegration>(plugin);
    if (!integration)
        throw std::runtime_error("The library gives no integration object.");
    return integration;
}

} // namespace tavo::devkit
