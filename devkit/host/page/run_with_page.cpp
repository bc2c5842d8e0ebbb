#include "run_with_page.h"

#include <iostream>

#include "host.h"
#include "page/jpeg.h"
#include "page/live_view.h"
#include "page/page_server.h"

namespace tavo::devkit
{

bool runWithPage(const Options& options)
{
    LiveView live{std::chrono::seconds(options.keptSeconds), encodeJpeg};
    Host host(options, &live);
    const PageServer page(
        host, live, *options.page, options.webFolder.empty() ? TAVO_WEB_FOLDER : options.webFolder);
    std::cerr << "page: " << page.url() << std::endl;
    return host.run();
}

} // namespace tavo::devkit
