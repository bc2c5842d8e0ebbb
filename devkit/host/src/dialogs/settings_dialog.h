#pragma once

#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <tavo/sdk/analytics/i_consuming_device_agent.h>
#include <tavo/sdk/ptr.h>

#include "common/console.h"
#include "dialogs/user_settings.h"
#include "metadata/metadata_sink.h"
#include "records/record_store.h"

namespace tavo::devkit
{

// What the library answers to a dialog, and so what the dialog shows.
struct DialogAnswer
{
    SettingValues values;
    std::string model; // JSON; empty: as it was
    std::map<std::string, std::string> errors; // by setting
    std::string actionUrl; // an address to open; empty: none
    std::string messageToUser;
    std::string failure; // the library refused; the rest is as it was
    bool isOutdated = false; // nothing was applied: these are the values now
};

// A device's settings dialog, worked by somebody's hands or by a user without any. The host's own
// values are kept in the store. Any thread; one call at a time goes to the library.
class SettingsDialog
{
public:
    struct Surroundings
    {
        RecordStore& store;
        MetadataSink& sink;
        Console& console;
        bool showBanners = false;
    };

    // `userValues` is what the user without hands enters each time.
    SettingsDialog(
        sdk::Ptr<sdk::analytics::IConsumingDeviceAgent> agent, MetadataSink::Origin origin,
        SettingValues userValues, Surroundings surroundings);

    // Opens the dialog, or refreshes it: the library's own values and its model come in.
    DialogAnswer refresh();

    // Opens the dialog, enters the user's values and presses Apply.
    void apply();

    // Enters `values`, which need not be all, and presses Apply. From then on the user without
    // hands leaves the dialog alone. `version` is of the values that these were entered over; if
    // somebody has changed them meanwhile nothing is applied. Empty: over whatever there is.
    DialogAnswer apply(const SettingValues& values, const std::string& version = {});

    // Presses a button, by its setting's name, as one does in a dialog that may be an old one: it
    // need not be there. The values that it changes in the dialog are applied.
    DialogAnswer press(const std::string& button);

    // Changes an active setting in a dialog that holds `values`. Nothing is applied.
    DialogAnswer press(const std::string& setting, const SettingValues& values);

    // What was entered or pressed by a name that no model had had; whether one has had it since,
    // visible or not.
    [[nodiscard]] std::set<std::string> namesMissed() const;
    [[nodiscard]] bool hasShown(const std::string& name) const;

    // The model that came last; empty before the first.
    [[nodiscard]] std::string lastModel() const;

    // Gives up the agent. Every later call fails.
    void close();

private:
    // All with m_mutex locked.
    [[nodiscard]] SettingValues storedValues() const;
    DialogAnswer refreshLocked();
    DialogAnswer pressLocked(const std::string& setting, const SettingValues& values);
    DialogAnswer send(const SettingValues& values);
    void takeResponse(const sdk::ISettingsResponse* response, DialogAnswer* answer);
    void showModel(const std::string& model);
    DialogAnswer fail(
        DialogAnswer answer, const std::string& what, const sdk::IString* message) const;

private:
    mutable std::mutex m_mutex;
    sdk::Ptr<sdk::analytics::IConsumingDeviceAgent> m_agent; // null once closed
    const MetadataSink::Origin m_origin;
    SettingValues m_userValues;
    const Surroundings m_surroundings;
    std::set<std::string> m_namesShown;
    std::set<std::string> m_namesMissed; // when they were used
    std::string m_lastModel;
    std::vector<std::string> m_lastLines;
};

// What a person sees first in a settings model: the texts of the banners and the names of the
// buttons, in order, as far as they are visible.
[[nodiscard]] std::vector<std::string> describeModel(std::string_view model);

} // namespace tavo::devkit
