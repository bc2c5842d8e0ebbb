#pragma once

#include <map>
#include <string>
#include <vector>

#include "diagnosis/checks.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

struct Bundle
{
    std::vector<std::string> files; // what is in it
    std::map<std::string, int> takenOut; // how often, by kind; see Redaction
    std::string failure; // empty: it is there, whole
};

// Packs what support asks for into `path`, a .tar.gz: `report`, the library's logs, those of the
// application and of its last crash, its settings and the ini file, each without what Redaction
// takes out. Works in a folder beside it that is gone on the return.
[[nodiscard]] Bundle makeBundle(
    const std::string& path, const Surroundings& surroundings, const std::string& report);

} // namespace tavo::vms_server_plugins::analytics::orlix
