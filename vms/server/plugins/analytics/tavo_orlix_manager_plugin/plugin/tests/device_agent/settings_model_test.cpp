#include "device_agent/settings_model_builder.h"

#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/deployment.h"
#include "device_agent/dialog_items.h"
#include "utils/json.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// A dialog, read back.
class Dialog
{
public:
    Dialog(const DialogState& state, const DeviceSettings& settings) :
        m_document(parseJson(makeSettingsModel(state, settings)))
    {
        collect(yyjson_doc_get_root(m_document.get()));
    }

    // Compact JSON of every item of the type, in order, at whatever depth.
    [[nodiscard]] std::vector<std::string> items(const std::string& type) const
    {
        return chosen([&](yyjson_val* item) { return jsonText(jsonMember(item, "type")) == type; });
    }

    // The one control of that name; empty if there is none.
    [[nodiscard]] std::string control(const std::string& name) const
    {
        const auto found =
            chosen([&](yyjson_val* item) { return jsonText(jsonMember(item, "name")) == name; });
        EXPECT_LE(found.size(), 1u) << name;
        return found.empty() ? std::string() : found[0];
    }

    // The group of that caption.
    [[nodiscard]] std::string group(const std::string& caption) const
    {
        const auto found = chosen(
            [&](yyjson_val* item)
            {
                return jsonText(jsonMember(item, "type")) == "GroupBox" &&
                    jsonText(jsonMember(item, "caption")) == caption;
            });
        EXPECT_LE(found.size(), 1u) << caption;
        return found.empty() ? std::string() : found[0];
    }

    // "icon: text" of the banners that stand outside of groups.
    [[nodiscard]] std::vector<std::string> banners() const
    {
        std::vector<std::string> banners;
        yyjson_arr_iter item =
            yyjson_arr_iter_with(jsonMember(yyjson_doc_get_root(m_document.get()), "items"));
        while (yyjson_val* const current = yyjson_arr_iter_next(&item))
        {
            if (jsonText(jsonMember(current, "type")) == "Banner")
            {
                banners.push_back(
                    std::string(jsonText(jsonMember(current, "icon"))) + ": " +
                    std::string(jsonText(jsonMember(current, "text"))));
            }
        }
        return banners;
    }

    // "type name-or-caption" of the items outside of groups.
    [[nodiscard]] std::vector<std::string> outline() const
    {
        std::vector<std::string> outline;
        yyjson_arr_iter item =
            yyjson_arr_iter_with(jsonMember(yyjson_doc_get_root(m_document.get()), "items"));
        while (yyjson_val* const current = yyjson_arr_iter_next(&item))
        {
            yyjson_val* const name = jsonMember(current, "name");
            outline.push_back(
                std::string(jsonText(jsonMember(current, "type"))) + " " +
                std::string(jsonText(name ? name : jsonMember(current, "caption"))));
        }
        return outline;
    }

private:
    void collect(yyjson_val* object)
    {
        m_items.push_back(object);
        yyjson_arr_iter item = yyjson_arr_iter_with(jsonMember(object, "items"));
        while (yyjson_val* const current = yyjson_arr_iter_next(&item))
            collect(current);
    }

    std::vector<std::string> chosen(const std::function<bool(yyjson_val*)>& choose) const
    {
        std::vector<std::string> texts;
        for (yyjson_val* const item : m_items)
        {
            if (!choose(item))
                continue;
            char* const text = yyjson_val_write(item, YYJSON_WRITE_NOFLAG, nullptr);
            texts.emplace_back(text);
            std::free(text);
        }
        return texts;
    }

    const JsonDocument m_document;
    std::vector<yyjson_val*> m_items;
};

DialogState readyState()
{
    DialogState state;
    state.cloudConnectionState = 5;
    state.managerInstallState = ManagerInstallState::installed;
    state.runtimeStatus = RuntimeStatus::installed;
    state.installedRuntimeName = "CPU";
    return state;
}

DeviceSettings readySettings()
{
    DeviceSettings settings;
    settings.availablePipelines = {{"{}", "People", "u1"}, {"{}", "Cars", "u2"}};
    settings.selectedPipeline = "u1";
    settings.pipelineDescription = "    People\n";
    return settings;
}

TEST(SettingsModel, HasAllControlsInOrder)
{
    DeviceSettings settings = readySettings();
    settings.modelNms = {{0.5f, "People", "m1"}};
    EXPECT_THAT(
        Dialog(readyState(), settings).outline(),
        ElementsAre(
            "SwitchButton deviceActiveSwitch", "ComboBox selectedPipeline", "Button manageDevice",
            "SpinBox model_nms_m1", "Button reselectRuntimeButton", "Row ",
            "GroupBox Device Overview", "GroupBox Video Settings", "BoxFigure cropBox",
            "GroupBox Line Crossing", "GroupBox Loitering Detection",
            "GroupBox Illegal Dumping Detection", "GroupBox Input Masks",
            "GroupBox Class Visualisation"));
}

TEST(SettingsModel, TellsTheFirstLevelThatIsMissing)
{
    const auto notReady = [](int cloud, int manager, int runtime)
    {
        DialogState state;
        state.cloudConnectionState = cloud;
        state.managerInstallState = static_cast<ManagerInstallState>(manager);
        state.runtimeStatus = static_cast<RuntimeStatus>(runtime);
        return state;
    };
    const struct
    {
        int cloud, manager, runtime;
        const char* banner;
    } kCases[] = {
        {0, 0, 0, "checking whether this server is connected to the cloud"},
        {1, 4, 0, "checking whether this server is connected to the cloud"},
        {2, 4, 1, "not connected to the cloud yet"},
        {4, 3, 5, "not connected to the cloud yet"},
        {5, 0, 0, "info: The ORLIX Plugin is still being initialised. Please wait"},
        {5, 1, 0, "info: The ORLIX Runtime is currently being downloaded to your device."},
        {5, 2, 0, "info: The ORLIX Runtime is currently being installed on your device."},
        {5, 3, 0,
         "info: The Tavo Orlix Manager could not be installed.\nConsult the documentation"},
        {5, 4, 0, "info: The ORLIX Plugin is detecting the available AI accelerators"},
        {5, 4, 7, "info: The ORLIX Plugin is detecting the available AI accelerators"},
        {5, 4, 1, "info: Multiple AI-capable devices detected. Select one to use."},
        {5, 4, 2, "info: The ORLIX Plugin is installing your acceleration library."},
        {5, 4, 3, "info: The ORLIX Plugin is installing your acceleration library."},
        {5, 4, 4, "info: The ORLIX Plugin could not install the acceleration library."},
        {5, 4, 5, "info: The ORLIX Plugin could not find any runtimes compatible"},
        {5, 4, 6, "info: Gathering available AI pipelines from the cloud. Please wait"},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(testing::Message() << c.cloud << c.manager << c.runtime);
        const Dialog dialog(notReady(c.cloud, c.manager, c.runtime), {});
        EXPECT_THAT(dialog.banners(), ElementsAre(HasSubstr(c.banner)));
        for (const char* const type : {"SwitchButton", "BoxFigure", "LineFigure", "TextField"})
        {
            EXPECT_THAT(
                dialog.items(type), AllOf(Not(IsEmpty()), Each(HasSubstr(R"("visible":false)"))));
        }
    }
    EXPECT_THAT(Dialog(readyState(), readySettings()).banners(), IsEmpty());
    EXPECT_THAT(Dialog(notReady(5, 4, 8), {}).banners(), IsEmpty()) << "a status without a text";
}

TEST(SettingsModel, OffersAWayOutOfWhatWentWrong)
{
    DialogState state = readyState();
    state.managerInstallState = ManagerInstallState::failed;
    EXPECT_THAT(
        Dialog(state, {}).items("Link"),
        ElementsAre(
            std::string(R"({"type":"Link","caption":"Manual Installation Docs","url":")") +
            kManualInstallationLink + "\"}"));

    state = readyState();
    state.runtimeStatus = RuntimeStatus::waitingForChoice;
    state.selectableLibraries = {"CPU", "GPU \"1\""};
    const Dialog choice(state, readySettings());
    EXPECT_EQ(
        R"({"type":"Button","name":"libraryChoiceCPU","caption":"CPU","description":"Install this acceleration library on your server.","isActive":"true"})",
        choice.control("libraryChoiceCPU"));
    EXPECT_NE("", choice.control("libraryChoiceGPU \"1\""));

    state.runtimeStatus = RuntimeStatus::installFailed;
    EXPECT_THAT(
        Dialog(state, {}).items("Button"),
        Contains(
            R"({"type":"Button","name":"reselectRuntimeButton","caption":"Reselect Runtime","description":"Reselect the runtime to use for inference.","isActive":"true"})"));
}

TEST(SettingsModel, TellsTheAgentsErrorsAheadOfTheWaiting)
{
    DialogState state = readyState();
    state.agentErrors = {{0, "No pipeline.\n"}, {1, "Broken."}};
    const Dialog dialog(state, {});
    EXPECT_THAT(
        dialog.banners(),
        ElementsAre(
            "warning: The Device Agent reported errors:\n-No pipeline.\n\n-Broken.",
            HasSubstr("info: Gathering")));
    EXPECT_THAT(dialog.items("Link"), ElementsAre(HasSubstr(kTroubleshootingLink)));
    EXPECT_THAT(dialog.control("deviceActiveSwitch"), HasSubstr(R"("visible":false)"));
    // Errors alone hide nothing.
    EXPECT_THAT(
        Dialog(state, readySettings()).control("deviceActiveSwitch"),
        HasSubstr(R"("defaultValue":false,"visible":true)"));
}

TEST(SettingsModel, OffersCustomWhereItCanBeManaged)
{
    const struct
    {
        int kind;
        const char* selected;
        bool customOffered, manageVisible;
    } kCases[] = {
        {0, "u1", true, false},     {0, "Custom", true, true}, {1, "u1", false, false},
        {1, "Custom", true, false}, {2, "u1", false, false},   {2, "Custom", true, false},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(testing::Message() << c.kind << c.selected);
        DialogState state = readyState();
        state.hostCustomizationKind = c.kind;
        DeviceSettings settings = readySettings();
        settings.selectedPipeline = c.selected;
        settings.modelNms = {{0.5f, "People", "m1"}};
        const Dialog dialog(state, settings);
        EXPECT_EQ(
            std::string(
                R"({"type":"ComboBox","name":"selectedPipeline","caption":"AI Pipeline","description":"Choose which AI pipeline to run on the current device.","defaultValue":")") +
                c.selected +
                (c.customOffered
                     ? R"(","itemCaptions":{"u1":"People","u2":"Cars","Custom":"Custom"},"range":["u1","u2","Custom"],"visible":true})"
                     : R"(","itemCaptions":{"u1":"People","u2":"Cars"},"range":["u1","u2"],"visible":true})"),
            dialog.control("selectedPipeline"));
        EXPECT_THAT(
            dialog.control("manageDevice"),
            HasSubstr(c.manageVisible ? R"("visible":true)" : R"("visible":false)"));
        EXPECT_THAT(
            dialog.control("model_nms_m1"),
            HasSubstr(
                c.selected == std::string("u1") ? R"("visible":true)" : R"("visible":false)"));
    }
    DeviceSettings noChoice = readySettings();
    noChoice.selectedPipeline.clear();
    EXPECT_EQ("", Dialog(readyState(), noChoice).control("selectedPipeline"));
}

TEST(SettingsModel, NamesModelsWhereThereAreSeveral)
{
    DeviceSettings settings = readySettings();
    settings.modelNms = {{0.5f, "People", "m1"}};
    EXPECT_EQ(
        R"({"type":"SpinBox","name":"model_nms_m1","suffix":"%","caption":"Model Sensitivity","description":"Controls the sensitivity of the model. A higher value will make the model more sensitive, resulting in more detections but also more false positives.","isActive":"false","defaultValue":42.0,"minValue":1.0,"maxValue":100.0,"step":5.0,"visible":true})",
        Dialog(readyState(), settings).control("model_nms_m1"));
    settings.modelNms.push_back({0.5f, "Cars", "m2"});
    const Dialog dialog(readyState(), settings);
    EXPECT_THAT(dialog.control("model_nms_m1"), HasSubstr(R"("Sensitivity for People")"));
    EXPECT_THAT(dialog.control("model_nms_m2"), HasSubstr(R"("Sensitivity for Cars")"));
}

TEST(SettingsModel, ShowsTheBoard)
{
    DialogState state = readyState();
    state.board["RESET_DEVICE"] = {MessageType::message, "In progress"};
    const Dialog calm(state, readySettings());
    EXPECT_THAT(calm.banners(), ElementsAre("info: In progress"));
    EXPECT_THAT(calm.items("Link"), IsEmpty());
    EXPECT_EQ(
        R"({"type":"Row","items":[)"
        R"({"type":"Button","name":"resetSingleDeviceButton","caption":"Reset This Device","description":"This will reset this device to its default configuration.","isActive":"true","visible":false},)"
        R"({"type":"Button","name":"resetAllDevicesButton","caption":"Reset All Devices","description":"This will reset all initialized devices to their default configurations.","isActive":"true","visible":false},)"
        R"({"type":"Button","name":"clearCacheButton","caption":"Clear Cache","description":"This will clear all files downloaded by the plugin, forcing them to be redownloaded.","isActive":"true","visible":false}]})",
        calm.items("Row")[0]);
    EXPECT_EQ("", calm.control("modelDownloadRetryButton"));

    state.board["DOWNLOAD_MODEL_FAILED_/models/m1"] = {MessageType::warning, "Failed: \xFF\xC3"};
    const Dialog failed(state, readySettings());
    EXPECT_THAT(failed.banners(), Contains("warning: Failed: \xEF\xBF\xBD\xEF\xBF\xBD"));
    EXPECT_THAT(failed.items("Link"), ElementsAre(HasSubstr(kTroubleshootingLink)));
    EXPECT_THAT(failed.control("clearCacheButton"), HasSubstr(R"("visible":true)"));
    EXPECT_EQ(
        R"({"type":"GroupBox","caption":"Device Overview","visible":true,"items":[)"
        R"({"type":"Button","name":"modelDownloadRetryButton","caption":"Retry Model Downloads","description":"This will retry all failed model downloads.","isActive":"true"},)"
        R"({"type":"Banner","icon":"info","text":"Active ORLIX Runtime: CPU\n\nPipelines active on this device:\n    People\n"},)"
        R"({"type":"Separator"}]})",
        failed.group("Device Overview"));
}

TEST(SettingsModel, ShowsDetectionsOfTheirProcessors)
{
    DeviceSettings settings = readySettings();
    EXPECT_THAT(
        Dialog(readyState(), settings).group("Line Crossing"), HasSubstr(R"("visible":false)"));
    settings.processors = {"LineCrossing", "LoiteringDetection", "Illegal Dumping"};
    const Dialog dialog(readyState(), settings);
    EXPECT_EQ(
        R"({"type":"GroupBox","caption":"Line Crossing","visible":true,"items":[{"type":"LineFigure","name":"lineCrossingLine","caption":"Line","description":"The line to detect crossings on.","allowedDirections":"none","visible":true}]})",
        dialog.group("Line Crossing"));
    EXPECT_EQ(
        R"({"type":"GroupBox","caption":"Loitering Detection","visible":true,"items":[)"
        R"j({"type":"SpinBox","name":"loiterDetectionTimeThreshold","caption":"Loiter Detection Time Threshold (s)","description":"Loitering will be detected on persons who stay in frame for at least this amount of time.","minValue":1,"maxValue":1000,"defaultValue":30,"visible":true},)j"
        R"({"type":"TextField","name":"loiterDetectionObjectClass","caption":"Loiter Detection Class","description":"Which object type to check for loitering detection.","defaultValue":"person","visible":true}]})",
        dialog.group("Loitering Detection"));
    EXPECT_EQ(
        R"({"type":"GroupBox","caption":"Illegal Dumping Detection","visible":true,"items":[)"
        R"({"type":"TextField","name":"dumpingDetectionObjectType","caption":"Dumping Detection Class","description":"Which object type to check for illegal dumping.","defaultValue":"object","visible":true},)"
        R"j({"type":"SpinBox","name":"dumpingDetectionTimeThreshold","caption":"Dumping Detection Time Threshold (s)","description":"Dumping will be detected on objects which stays static for at least this amount of time.","minValue":1,"maxValue":1000,"defaultValue":15,"visible":true},)j"
        R"({"type":"Button","name":"triggerReferenceRunButton","caption":"Trigger Reference Run","description":"This will trigger a reference run in the Edge Orlix Manager to compare detected objects in subsequent runs to the ones detected in the reference run.","isActive":"true","visible":true}]})",
        dialog.group("Illegal Dumping Detection"));
}

TEST(SettingsModel, TakesTheGroupsOfExternalProcessors)
{
    DialogState state = readyState();
    state.externalPostprocessors = parseJson(R"({"externalPostprocessors": [
        {"Name": "Bags", "Settings": [{"type": "SpinBox", "name": "externalprocessor.bags"}],
         "Objects": [{"ID": "big bag", "Name": "Big bag"}, {"ID": "no name"}]},
        {"Name": "Unused", "Settings": [], "Objects": [{"ID": "u", "Name": "Unused object"}]},
        {"Name": "Silent"}]})");
    state.externalPreprocessors = parseJson(R"({"externalPreprocessors": [
        {"Name": "Blur", "Settings": [1.5], "Objects": [{"ID": "p", "Name": "P"}]}]})");
    DeviceSettings settings = readySettings();
    settings.processors = {"Blur", "Bags", "Silent"};
    settings.classes = {"traffic light"};
    const Dialog dialog(state, settings);
    EXPECT_EQ(
        R"({"type":"GroupBox","caption":"Bags Settings","items":[{"type":"SpinBox","name":"externalprocessor.bags"}],"visible":true})",
        dialog.group("Bags Settings"));
    EXPECT_EQ(
        R"({"type":"GroupBox","caption":"Blur Settings","items":[1.5],"visible":true})",
        dialog.group("Blur Settings"));
    EXPECT_EQ("", dialog.group("Unused Settings"));
    EXPECT_EQ("", dialog.group("Silent Settings"));
    EXPECT_EQ(
        R"({"type":"GroupBox","caption":"Class Visualisation","visible":true,"items":[)"
        R"({"type":"Button","name":"selectAllButton","caption":"Select All","description":"Select all visualisations.","isActive":"true"},)"
        R"({"type":"Button","name":"deSelectAllButton","caption":"Deselect All","description":"Deselect all visualisations.","isActive":"true"},)"
        R"({"type":"CheckBox","name":"visualise_traffic light","caption":"traffic light","description":"When enabled, bounding boxes will be shown for this class.","defaultValue":true},)"
        R"({"type":"CheckBox","name":"visualise_big bag","caption":"Big bag","description":"When enabled, bounding boxes will be shown for this class.","defaultValue":true},)"
        R"({"type":"CheckBox","name":"visualise_u","caption":"Unused object","description":"When enabled, bounding boxes will be shown for this class.","defaultValue":true}]})",
        dialog.group("Class Visualisation"));
}

TEST(SettingsModel, HasRegionAndMasks)
{
    const Dialog dialog(readyState(), readySettings());
    EXPECT_EQ(
        R"({"type":"GroupBox","caption":"Video Settings","items":[],"visible":true})",
        dialog.group("Video Settings"));
    EXPECT_EQ(
        R"({"type":"BoxFigure","caption":"Region of Interest","name":"cropBox","description":"The image will be cropped to this region before being sent to Orlix Manager.","visible":true})",
        dialog.control("cropBox"));
    EXPECT_EQ(
        R"({"type":"GroupBox","caption":"Input Masks","visible":true,"items":[)"
        R"({"type":"ComboBox","name":"maskType","caption":"Mask Type","description":"Choose whether the defined mask(s) should be inclusive, or exclusive.","defaultValue":"inclusive","range":["inclusive","exclusive"],"itemCaptions":{"inclusive":"Inclusive","exclusive":"Exclusive"},"visible":true},)"
        R"({"type":"Repeater","count":5,"template":{"type":"GroupBox","caption":"Mask #","description":"Only bounding boxes whose center bottom falls within/without ( Depending on Mask Type ) this mask will generate objects.","filledCheckItems":["polygon#.figure"],"items":[{"type":"PolygonFigure","name":"polygon#.figure","minPoints":3,"maxPoints":8}]}}]})",
        dialog.group("Input Masks"));
}

TEST(WellFormedUtf8, ReplacesWhatIsNoCharacter)
{
    const struct
    {
        std::string text, wellFormed;
    } kCases[] = {
        {"plain", "plain"},
        {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"a\x80z", "a?z"}, // a byte in the middle of nothing
        {"\xC3", "?"}, // cut off
        {"\xE2\x82z", "??z"}, // cut off by another
        {"\xC0\xAF", "??"}, // longer than need be
        {"\xED\xA0\x80", "???"}, // half of a pair
        {"\xF4\x90\x80\x80", "????"}, // beyond the last
        {"\xF8\x88\x80\x80\x80", "?????"},
        {std::string("a\0b", 3), std::string("a\0b", 3)},
    };
    for (const auto& c : kCases)
    {
        std::string expected;
        for (const char character : c.wellFormed)
            expected += character == '?' ? "\xEF\xBF\xBD" : std::string(1, character);
        EXPECT_EQ(expected, wellFormedUtf8(c.text));
    }
}

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix
