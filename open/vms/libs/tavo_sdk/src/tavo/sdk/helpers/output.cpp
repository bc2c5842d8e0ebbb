#include <tavo/sdk/helpers/output.h>

#include <new>
#include <utility>

#include <tavo/kit/debug.h>
#include <tavo/sdk/helpers/lib_context.h>

namespace tavo::sdk
{

void Output::setPrefix(std::string prefix)
{
    const std::lock_guard lock(m_mutex);
    m_prefix.swap(prefix);
}

void Output::printAlways(std::string_view text) const
{
    try
    {
        std::string line;
        {
            const std::lock_guard lock(m_mutex);
            line = m_prefix;
        }
        kit::printLine(line.append(text));
    }
    catch (const std::bad_alloc&)
    {} // nor is there memory to say so
}

std::string makePrintPrefix(
    const std::string& givenPrefix, const std::string& tag, const char* name)
{
    std::string prefix = "[" + (givenPrefix.empty() ? libContext().name() : givenPrefix) + tag;
    if (name && *name)
        prefix.append("_").append(name);
    return prefix + "] ";
}

} // namespace tavo::sdk
