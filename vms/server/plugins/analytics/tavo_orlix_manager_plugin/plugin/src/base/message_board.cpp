#include "base/message_board.h"

#include "utils/log.h"
#include "utils/log_rarely.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

void MessageBoard::postMessage(const std::string& key, const std::string& text, MessageType type)
{
    if (type == MessageType::warning)
        log_warning(key + text, "Adding warning: %s : %s\n", key.c_str(), text.c_str());
    else
        log_debug("Adding message: %s : %s\n", key.c_str(), text.c_str());
    const MutexLock lock(m_mutex);
    m_entries.insert_or_assign(key, Entry{type, text});
}

void MessageBoard::removeMessage(const std::string& key)
{
    std::size_t count{};
    {
        const MutexLock lock(m_mutex); // not over the log, which may wait for a disk
        count = m_entries.erase(key);
    }
    if (count != 0)
        log_debug("Removed message: %s \n", key.c_str());
}

void MessageBoard::clearWarnings()
{
    log_debug("Clearing all warning messages.\n");
    const MutexLock lock(m_mutex);
    std::erase_if(
        m_entries, [](const auto& entry) { return entry.second.type == MessageType::warning; });
}

MessageBoard::Entries MessageBoard::snapshot() const
{
    MutexLock lock(m_mutex);
    return m_entries;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
