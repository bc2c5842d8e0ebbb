#include "device_agent/dialog/settings_model_builder.h"

#include <regex>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/deployment.h"
#include "device_agent/dialog/dialog_items.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using testing::AllOf, testing::HasSubstr, testing::Not;

MATCHER_P(HasPattern, pattern, "")
{
    return std::regex_search(arg, std::regex(pattern));
}

// Of a control by its name or a group by its caption; a group's items may follow.
auto isVisible(const std::string& what, bool visible)
{
    return HasPattern(
        '"' + what + "\"[^{}]*\"visible\":" + (visible ? std::string("true") : "false"));
}

constexpr int kInstalled = static_cast<int>(RuntimeStatus::installed);

// Everything is ready but for what is given.
DialogState stateOf(int cloud = 5, int manager = 4, int runtime = kInstalled)
{
    DialogState state;
    state.cloudConnectionState = cloud;
    state.managerInstallState = static_cast<ManagerInstallState>(manager);
    state.runtimeStatus = static_cast<RuntimeStatus>(runtime);
    return state;
}

DeviceSettings readySettings()
{
    DeviceSettings settings;
    settings.availablePipelines = {{"{}", "People", "u1"}, {"{}", "Cars", "u2"}};
    settings.selectedPipeline = "u1";
    settings.modelNms = {{0.5f, "People", "m1"}};
    settings.processors = {"Blur", "LineCrossing", "Illegal Dumping", "LoiteringDetection"};
    return settings;
}

JsonDocument preprocessor()
{
    return parseJson(R"({"externalPreprocessors": [{"Name": "Blur", "Settings": []}]})");
}

TEST(SettingsModel, TellsTheFirstLevelThatIsMissing)
{
    const struct
    {
        int cloud, manager, runtime;
        const char* banner;
    } kCases[] = {
        {0, 4, 0, "checking whether this server is connected to the cloud"},
        {1, 4, 0, "checking whether this server is connected to the cloud"},
        {2, 3, 5, "not connected to the cloud yet"},
        {5, 0, 0, "is still being initialised"},
        {5, 1, 0, "is currently being downloaded"},
        {5, 2, 0, "is currently being installed"},
        {5, 3, 0, kManualInstallationLink},
        {5, 4, 0, "is detecting the available AI accelerators"},
        {5, 4, 1, R"("libraryChoiceGPU \"1\"")"},
        {5, 4, 3, "is installing your acceleration library."},
        {5, 4, 4, "could not install the acceleration library."},
        {5, 4, 5, "could not find any runtimes compatible"},
        {5, 4, 6, "Gathering available AI pipelines from the cloud."},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.banner);
        DialogState state = stateOf(c.cloud, c.manager, c.runtime);
        state.selectableRuntimes = {"CPU", "GPU \"1\""};
        state.externalPreprocessors = preprocessor();
        DeviceSettings settings = readySettings();
        if (c.runtime == kInstalled)
            settings.availablePipelines.clear();
        for (const char* const selected : {"u1", "Custom"})
        {
            settings.selectedPipeline = selected;
            const std::string dialog = makeSettingsModel(state, settings);
            for (const auto& other : kCases)
                EXPECT_EQ(
                    std::string_view(other.banner) == c.banner,
                    dialog.find(other.banner) != std::string::npos);
            EXPECT_THAT(dialog, Not(HasSubstr(R"("visible":true)")));
            EXPECT_EQ(
                c.runtime == static_cast<int>(RuntimeStatus::installFailed),
                dialog.find(button::kReselectRuntime) != dialog.rfind(button::kReselectRuntime));
        }
    }
}

TEST(SettingsModel, HasItsNumbersAndFlags)
{
    DialogState state = stateOf();
    state.externalPreprocessors = preprocessor();
    DeviceSettings settings = readySettings();
    settings.classes = {"person"};
    const std::string dialog = makeSettingsModel(state, settings);
    std::string numbers;
    const std::regex member(R"re("(\w+)":(-?[0-9.]+|true|false))re");
    for (std::sregex_iterator found(dialog.begin(), dialog.end(), member), end; found != end;
         ++found)
    {
        const std::string name = (*found)[1].str();
        const std::string value = (*found)[2].str();
        numbers += name == "visible" ? (value == "true" ? "+" : "-") : name + "=" + value + " ";
    }
    EXPECT_EQ(
        "defaultValue=false ++-defaultValue=42.0 minValue=1.0 maxValue=100.0 step=5.0 ++---++++++"
        "minValue=1 maxValue=1000 defaultValue=30 ++++minValue=1 maxValue=1000 defaultValue=15 "
        "+++++count=5 minPoints=3 maxPoints=8 +defaultValue=true ",
        numbers);
}

TEST(SettingsModel, OffersCustomWhereItCanBeManaged)
{
    DialogState state = stateOf();
    for (const int kind : {0, 2})
    {
        state.hostCustomizationKind = kind;
        DeviceSettings settings = readySettings();
        EXPECT_THAT(
            makeSettingsModel(state, settings),
            AllOf(
                HasSubstr(kind == 0 ? R"(["u1","u2","Custom"])" : R"(["u1","u2"])"),
                isVisible("manageDevice", false), isVisible("model_nms_m1", true)));
        settings.selectedPipeline = "Custom";
        EXPECT_THAT(
            makeSettingsModel(state, settings),
            AllOf(
                HasSubstr(R"(["u1","u2","Custom"])"), isVisible("manageDevice", kind == 0),
                isVisible("model_nms_m1", false)));
    }
}

TEST(SettingsModel, ShowsErrorsAndTheBoard)
{
    DialogState state = stateOf();
    state.board["RESET_DEVICE"] = {MessageType::message, "In progress"};
    EXPECT_THAT(
        makeSettingsModel(state, readySettings()),
        AllOf(
            HasSubstr(R"("icon":"info","text":"In progress"})"),
            HasSubstr(R"("Model Sensitivity")"), isVisible("clearCacheButton", false),
            Not(HasSubstr(kTroubleshootingLink)), Not(HasSubstr("modelDownloadRetryButton"))));

    state.agentErrors = {{0, "No pipeline.\n"}, {1, "Broken."}};
    state.board["DOWNLOAD_MODEL_FAILED_/models/m1"] = {MessageType::warning, "Failed: \xFF"};
    EXPECT_THAT(
        makeSettingsModel(state, readySettings()),
        AllOf(
            HasSubstr(R"("The Device Agent reported errors:\n-No pipeline.\n\n-Broken.")"),
            HasSubstr("\"icon\":\"warning\",\"text\":\"Failed: \xEF\xBF\xBD\""),
            isVisible("clearCacheButton", true), HasSubstr("modelDownloadRetryButton"),
            isVisible("deviceActiveSwitch", true)));
}

TEST(SettingsModel, ShowsWhatTheProcessorsOfThePipelineBring)
{
    DialogState state = stateOf();
    state.externalPostprocessors = parseJson(R"({"externalPostprocessors": [
        {"Name": "Bags", "Settings": [1.5], "Objects": [{"ID": "no name"}]},
        {"Name": "Unused", "Settings": [], "Objects": [{"ID": "u", "Name": "Unused object"}]},
        {"Name": "Silent"}]})");
    DeviceSettings settings = readySettings();
    settings.processors = {"Bags", "Silent", "LineCrossing"};
    settings.modelNms.push_back({0.5f, "Cars", "m2"});
    EXPECT_THAT(
        makeSettingsModel(state, settings),
        AllOf(
            HasSubstr(R"("caption":"Bags Settings","items":[1.5],"visible":true})"),
            Not(HasSubstr("Unused Settings")), Not(HasSubstr("Silent Settings")),
            HasSubstr(R"("Sensitivity for Cars")"), Not(HasSubstr("Model Sensitivity")),
            Not(HasSubstr("no name")), HasSubstr(R"("visualise_u","caption":"Unused object")"),
            isVisible("lineCrossingLine", true), isVisible("loiterDetectionObjectClass", false),
            isVisible("triggerReferenceRunButton", false)));
}

TEST(WellFormedUtf8, ReplacesWhatIsNoCharacter)
{
    const std::pair<std::string, std::string> kCases[] = {
        {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"a\x80z\xC3", "a?z?"}, // in the middle of nothing, and cut off
        {"\xC2\x80\xE0\xA0\x80\xF0\x90\x80\x80", "\xC2\x80\xE0\xA0\x80\xF0\x90\x80\x80"},
        {"\xC0\xAF", "??"}, // longer than need be
        {"\xED\xA0\x80", "???"}, // half of a pair
        {"\xF4\x8F\xBF\xBF\xF4\x90\x80\x80", "\xF4\x8F\xBF\xBF????"}, // the last, and beyond it
    };
    for (const auto& [text, wellFormed] : kCases)
    {
        std::string expected;
        for (const char character : wellFormed)
            expected += character == '?' ? "\xEF\xBF\xBD" : std::string(1, character);
        EXPECT_EQ(expected, wellFormedUtf8(text));
    }
}

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix
