#pragma once

#include <string>

#include <testing/scoped_variable.h>
#include <testing/temporary_folder.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

using test_support::TemporaryFolder;

// The system's temporary folder, for as long as a test needs its own.
class ScopedTempPath : public test_support::ScopedVariable
{
public:
    explicit ScopedTempPath(const std::string& path) :
        ScopedVariable(test_support::kTemporaryFolderVariable, path)
    {}
};

} // namespace tavo::vms_server_plugins::analytics::orlix
