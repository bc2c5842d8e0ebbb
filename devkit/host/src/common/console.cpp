#include "common/console.h"

#include <iostream>

namespace tavo::devkit
{

void Console::line(std::string_view text)
{
    const std::lock_guard lock(m_mutex);
    (m_toStandardError ? std::cerr : std::cout) << text << std::endl;
}

} // namespace tavo::devkit
