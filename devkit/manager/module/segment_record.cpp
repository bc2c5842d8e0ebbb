#include "module/segment_record.h"

#include <fstream>
#include <utility>

#include "utils/log.h"
#include "utils/shm.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

SegmentRecord::SegmentRecord(std::filesystem::path file) :
    m_file(std::move(file))
{
    std::ifstream recorded(m_file);
    for (std::string name; std::getline(recorded, name);)
    {
        orlix::log_info("Removing segment of an earlier run: %s\n", name.c_str());
        orlix::ShmSegment segment;
        orlix::shm_from_name(segment, name);
        orlix::shm_remove(segment);
    }
    recorded.close();
    write();
}

void SegmentRecord::add(const std::string& name)
{
    m_names.insert(name);
    write();
}

void SegmentRecord::erase(const std::string& name)
{
    m_names.erase(name);
    write();
}

void SegmentRecord::write() const
{
    std::ofstream file(m_file, std::ios::trunc);
    for (const std::string& name : m_names)
        file << name << '\n';
}

} // namespace tavo::devkit
