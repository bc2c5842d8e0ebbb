#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "records/record_store.h"

namespace tavo::devkit
{

// One rung of the ladder from a bare server to results.
struct Rung
{
    enum class State
    {
        pending, // something below it is not there yet
        working,
        waiting, // for a person
        failed,
        done,
    };

    std::string title;
    State state = State::pending;
    std::string detail;
};

// What a rung is judged by beside records and files.
struct LadderView
{
    const RecordStore& store;
    std::filesystem::path managerFolder; // where the application is installed
    std::vector<std::string> models; // the settings models that the cameras' dialogs show
    size_t devicesOn = 0; // cameras that are switched on
    size_t devicesWithFrames = 0; // those that got a frame in the last seconds
    size_t devicesWithResults = 0; // and a result
    size_t devices = 0;
};

// The rungs from the lowest to the highest, as far as a host can tell from outside.
[[nodiscard]] std::vector<Rung> readLadder(const LadderView& view);

// The texts of the banners that stand for themselves in a settings model, the visible ones, in
// their order: where the library is in its start-up, and what is on its board.
struct Banner
{
    std::string icon;
    std::string text;

    friend bool operator==(const Banner&, const Banner&) = default;
};
[[nodiscard]] std::vector<Banner> readBanners(const std::string& model);

} // namespace tavo::devkit
