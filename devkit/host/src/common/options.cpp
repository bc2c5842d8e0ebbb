#include "common/options.h"

#include <charconv>

#include <CLI/CLI.hpp>
#include <tavo/sdk/helpers/uuid.h>

namespace tavo::devkit
{

namespace
{

template <class Number>
std::optional<Number> parseNumber(std::string_view text)
{
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

constexpr char kDescription[] =
    "A stand-in host: loads the plugin, feeds it the frames of a video as the frames of cameras, "
    "and shows what comes back. Ends with 0 when metadata came back.";

void addInput(CLI::App& app, Options& options, std::string& size)
{
    app.add_option("--plugin", options.plugin, "The library to load")->required();
    app.add_option("--work-dir", options.workDir, "The host's home directory")->required();
    app.add_option("--video", options.video, "A file, which is played over and over, or a URL");
    app.add_option("--cameras", options.cameras, "How many cameras show the video")
        ->check(CLI::Range(1, 1000));
    app.add_option("--seconds", options.seconds, "How long to run; without it until a signal")
        ->check(CLI::NonNegativeNumber);
    app.add_option(
           "--rest-delay", options.restDelayMs, "Milliseconds by which requests are answered late")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--size", size, "Scale the frames to WxH");
    app.add_option("--records", options.recordsFile, "JSON with server, devices, cloud token")
        ->check(CLI::ExistingFile);
    app.add_option("--database", options.databaseFile, "Keep the records in this SQLite file");
    app.add_option("--settings", options.settingsFile, "JSON with setting values by device id")
        ->check(CLI::ExistingFile);
}

void addOutput(CLI::App& app, Options& options)
{
    app.add_option(
        "--metadata", options.metadataFile,
        "Write all that the library produces as JSON lines; - for standard output");
    app.add_option("--annotated", options.annotatedFile, "Write a video with the boxes drawn");
    app.add_option("--contact-sheet", options.contactSheetFile, "Write a PNG of annotated frames");
    app.add_option("--annotated-camera", options.annotatedCamera, "Index of the camera drawn")
        ->check(CLI::NonNegativeNumber);
    app.add_flag("--show-dialog", options.showDialog, "Print the settings dialog's banners");
    app.add_option("--web-folder", options.webFolder, "The page's files, where they were moved")
        ->check(CLI::ExistingDirectory);
    app.add_flag("--resources", options.resources, "Print memory and descriptors each minute");
}

// A page that others can reach is never without a token.
PageAddress readPage(const std::string& text, const std::string& token)
{
    std::optional<PageAddress> page = parsePageAddress(text);
    if (!page)
        throw CLI::ValidationError("--page", "'" + text + "' is not [ADDRESS:]PORT");
    page->token = token;
    if (page->token.empty() && !isLoopback(page->host))
        page->token = toText(sdk::randomUuid());
    return *page;
}

} // namespace

std::optional<FrameSize> parseFrameSize(const std::string& text)
{
    constexpr int kLargest = 16384;
    const size_t cross = text.find('x');
    if (cross == std::string::npos)
        return std::nullopt;
    const auto width = parseNumber<int>(std::string_view(text).substr(0, cross));
    const auto height = parseNumber<int>(std::string_view(text).substr(cross + 1));
    if (!width || !height || *width < 1 || *height < 1 || *width > kLargest || *height > kLargest)
        return std::nullopt;
    return FrameSize{*width, *height};
}

std::optional<ButtonPress> parseButtonPress(const std::string& text)
{
    const size_t colon = text.find(':');
    const size_t at = text.rfind('@');
    if (colon == std::string::npos || at == std::string::npos || at < colon)
        return std::nullopt;
    const auto seconds = parseNumber<double>(std::string_view(text).substr(at + 1));
    ButtonPress press{text.substr(0, colon), text.substr(colon + 1, at - colon - 1), 0};
    if (!seconds || !(*seconds >= 0) || press.device.empty() || press.button.empty())
        return std::nullopt;
    press.atSeconds = *seconds;
    return press;
}

std::optional<int> parseOptions(int argc, const char* const* argv, Options* options)
{
    CLI::App app(kDescription);
    std::string size;
    std::vector<std::string> presses;
    bool realtime = false;
    std::string page;
    std::string pageToken;
    addInput(app, *options, size);
    addOutput(app, *options);
    app.add_option(
           "--press", presses, "DEVICE:BUTTON@SECONDS: press a button of the dialog, repeatable")
        ->allow_extra_args(false);
    CLI::Option* const pageOption =
        app.add_option("--page", page, "[ADDRESS:]PORT: serve a page; port 0 is any free one");
    app.add_option("--page-token", pageToken, "What a viewer of the page must know")
        ->needs(pageOption);
    app.add_option("--page-keeps", options->keptSeconds, "Seconds that the page can look back")
        ->check(CLI::Range(1, 86400))
        ->needs(pageOption);
    CLI::Option* const fast =
        app.add_flag("--fast", options->fast, "As fast as all cameras take the frames");
    app.add_flag("--realtime", realtime, "At the video's own pace (the default)")->excludes(fast);

    try
    {
        app.parse(argc, argv);
        if (!size.empty() && !(options->size = parseFrameSize(size)))
            throw CLI::ValidationError("--size", "'" + size + "' is not WxH");
        if (!page.empty())
            options->page = readPage(page, pageToken);
        else if (options->video.empty())
            throw CLI::RequiredError("--video");
        for (const std::string& text : presses)
        {
            const auto press = parseButtonPress(text);
            if (!press)
                throw CLI::ValidationError(
                    "--press", "'" + text + "' is not DEVICE:BUTTON@SECONDS");
            options->presses.push_back(*press);
        }
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error);
    }
    return std::nullopt;
}

} // namespace tavo::devkit
