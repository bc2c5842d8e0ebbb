#include "device_agent/settings/device_settings.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

Mutex& settingsLock()
{
    static Mutex mutex(LockLevel::settings);
    return mutex;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
