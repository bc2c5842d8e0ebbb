#pragma once

#include <string>
#include <vector>

#include <tavo/sdk/analytics/i_consuming_device_agent.h>
#include <tavo/sdk/ptr.h>

#include "console.h"
#include "metadata_sink.h"
#include "record_store.h"
#include "user_settings.h"

namespace tavo::devkit
{

// A device's settings dialog, worked by a user without hands. The host's own values are kept in the
// store. One thread at a time.
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

    // `userValues` is what the user enters each time.
    SettingsDialog(
        sdk::Ptr<sdk::analytics::IConsumingDeviceAgent> agent, MetadataSink::Origin origin,
        SettingValues userValues, Surroundings surroundings);

    // Opens the dialog, or refreshes it: the library's own values and its model come in.
    void refresh();

    // Opens the dialog, enters the user's values and presses Apply.
    void apply();

    // Presses a button, by its setting's name. The values that it changes in the dialog are
    // applied.
    void press(const std::string& button);

private:
    [[nodiscard]] SettingValues storedValues() const;
    void takeResponse(const sdk::ISettingsResponse* response, SettingValues* values);
    void showModel(const std::string& model);
    void send(const SettingValues& values);
    void fail(const std::string& what, const sdk::IString* message);

private:
    const sdk::Ptr<sdk::analytics::IConsumingDeviceAgent> m_agent;
    const MetadataSink::Origin m_origin;
    const SettingValues m_userValues;
    const Surroundings m_surroundings;
    std::string m_lastModel;
    std::vector<std::string> m_lastLines;
};

// What a person sees first in a settings model: the texts of the banners and the names of the
// buttons, in order, as far as they are visible.
[[nodiscard]] std::vector<std::string> describeModel(std::string_view model);

} // namespace tavo::devkit
