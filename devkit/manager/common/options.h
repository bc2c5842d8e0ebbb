#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tavo::devkit
{

// The command line of both programs, and where they are installed.
struct Options
{
    std::string moduleSocket; // -i: path of the socket that the application listens on
    std::string pluginSocket; // -o: path of the socket that results go to
    bool logToFile = false; // -l: 0 or 1
    int verbosity = 1; // -v: 0 nothing, 1 basic, 2 verbose
    std::string token; // -t: engine only, what it says when it is ready

    std::filesystem::path program; // the running program's own file

    // The installation: holds bin, with the programs, and etc, with settings and logs.
    [[nodiscard]] std::filesystem::path rootFolder() const;
    [[nodiscard]] std::filesystem::path etcFolder() const { return rootFolder() / "etc"; }
};

inline constexpr char kTokenArgument[] = "-t";

// `arguments` are what follows the program's name. Nothing, with the reason on standard error, when
// a socket is missing or an argument is not known.
[[nodiscard]] std::optional<Options> parseOptions(const std::vector<std::string>& arguments);

// Makes the etc folder if it is not there, and opens the log in it: "<name>_start.log" and what
// follows on it, "<name>.log".
void openLog(const Options& options, const std::string& name);

} // namespace tavo::devkit
