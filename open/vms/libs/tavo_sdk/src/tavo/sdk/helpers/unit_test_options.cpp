#include <tavo/sdk/helpers/unit_test_options.h>

#include <mutex>

#include <tavo/sdk/exports.h>
#include <tavo/sdk/helpers/error.h>
#include <tavo/sdk/helpers/string_map.h>

namespace tavo::sdk
{

namespace
{

struct Options
{
    std::mutex mutex; // over `values`
    std::map<std::string, std::string> values;
};

Options& options()
{
    static Options instance;
    return instance;
}

} // namespace

std::map<std::string, std::string> unitTestOptions()
{
    const std::lock_guard lock(options().mutex);
    return options().values;
}

} // namespace tavo::sdk

void tavoSetUnitTestOptions(const tavo::sdk::IStringMap* options)
{
    tavo::sdk::atBorder(
        [&]
        {
            std::map<std::string, std::string> values; // stay none of a host without options
            static_cast<void>(tavo::sdk::toStdMap(options, &values));
            const std::lock_guard lock(tavo::sdk::options().mutex);
            tavo::sdk::options().values.swap(values);
        });
}
