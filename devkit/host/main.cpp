#include <exception>
#include <iostream>

#include <tavo/sdk/helpers/lib_context.h>

#include "common/options.h"
#include "host.h"
#include "run_with_page.h"

namespace tavo::devkit
{

namespace
{

constexpr int kExitNoMetadata = 3;
constexpr int kExitFailure = 2;

} // namespace

} // namespace tavo::devkit

int main(int argc, char** argv)
{
    using namespace tavo::devkit;

    Options options;
    if (const std::optional<int> exitCode = parseOptions(argc, argv, &options))
        return *exitCode;
    tavo::sdk::libContext().setName("tavo_host");
    try
    {
        const bool hasMetadata = options.page ? runWithPage(options) : Host(options).run();
        return hasMetadata ? 0 : kExitNoMetadata;
    }
    catch (const std::exception& error)
    {
        std::cerr << "tavo_host: " << error.what() << std::endl;
        return kExitFailure;
    }
}
