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
            std::map<std::string, std::string> values;
            if (!tavo::sdk::toStdMap(options, &values))
                values.clear(); // a host without options

            const std::lock_guard lock(tavo::sdk::options().mutex);
            tavo::sdk::options().values.swap(values);
        });
}
