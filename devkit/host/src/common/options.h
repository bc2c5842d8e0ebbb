#pragma once

#include <optional>
#include <string>
#include <vector>

#include "common/page_address.h"

namespace tavo::devkit
{

struct FrameSize
{
    int width = 0;
    int height = 0;
};

// A user presses a button of a device's settings dialog.
struct ButtonPress
{
    std::string device; // a camera's index, a device's id, or "*" for all
    std::string button; // the setting's name
    double atSeconds = 0; // since the start
};

struct Options
{
    std::string plugin;
    std::string workDir;
    std::string video; // may be empty with a page
    int cameras = 0; // 0: as many as the records have devices, at least one
    double seconds = 0; // 0: until a signal
    bool fast = false;
    int restDelayMs = 0; // how late requests of the library are answered, once results flow
    std::optional<FrameSize> size;

    std::string recordsFile;
    std::string databaseFile;
    std::string settingsFile;
    std::vector<ButtonPress> presses;

    std::string metadataFile;
    std::string annotatedFile;
    std::string contactSheetFile;
    int annotatedCamera = 0;
    bool showDialog = false;
    bool resources = false;

    std::optional<PageAddress> page; // nothing: no page
    int keptSeconds = 300; // of metadata and pictures that the page can look back on
    std::string webFolder; // the page's files; empty: where they were built
};

// "WxH", both from 1 to 16384; nothing for any other text.
[[nodiscard]] std::optional<FrameSize> parseFrameSize(const std::string& text);

// "DEVICE:BUTTON@SECONDS"; nothing for any other text. A button's name may hold ':' and '@'.
[[nodiscard]] std::optional<ButtonPress> parseButtonPress(const std::string& text);

// Reads the command line. Gives the program's exit code when there is nothing to run: help was
// asked for, or the line is wrong, and the user has been told.
[[nodiscard]] std::optional<int> parseOptions(int argc, const char* const* argv, Options* options);

} // namespace tavo::devkit
