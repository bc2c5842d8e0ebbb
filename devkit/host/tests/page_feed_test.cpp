// What the page is fed from: the kept minutes and the ladder.

#include <algorithm>

#include <gtest/gtest.h>

#include "page/history.h"
#include "page/ladder.h"
#include "records/records.h"
#include "temporary_folder.h"

namespace tavo::devkit
{

TEST(History, forgetsWhatIsOld)
{
    History history{std::chrono::seconds(300)};
    for (int64_t second = 0; second <= 400; ++second)
        history.keepLine("a", {second * 1'000'000, "{}"});
    EXPECT_EQ(history.lines("a", {0, 99'999'999}).size(), 0u);
    EXPECT_EQ(history.lines("a", {0, 400'000'000}).size(), 301u);
}

TEST(Ladder, tellsTheRungThatTheMachineStandsOn)
{
    const auto store = makeMemoryRecordStore();
    const vms_server_plugins::analytics::orlix::TemporaryFolder folder;
    LadderView view{*store, folder.path(), {}, 0, 0, 0, 0};
    const auto expectCurrent = [&](const char* title, Rung::State state, const char* detail)
    {
        SCOPED_TRACE(title);
        const std::vector<Rung> rungs = readLadder(view);
        const auto current = std::find_if(
            rungs.begin(), rungs.end(),
            [](const Rung& rung) { return rung.state != Rung::State::done; });
        ASSERT_NE(current, rungs.end());
        EXPECT_EQ(current->title, title);
        EXPECT_EQ(current->state, state);
        EXPECT_EQ(current->detail, detail);
        EXPECT_TRUE(std::all_of(
            current + 1, rungs.end(),
            [](const Rung& rung)
            { return rung.state == Rung::State::pending || rung.state == Rung::State::done; }));
    };
    const auto banner = [](const char* words) {
        return std::string(R"({"items":[{"type":"Banner","icon":"info","text":")") + words +
            R"("}]})";
    };

    seedRecords(*store, R"({"cloudAuthToken": "", "cloudSystemId": ""})", 0);
    expectCurrent("Cloud connection", Rung::State::waiting, "This server has no cloud token");
    seedRecords(*store, R"({"cloudAuthToken": "t"})", 0);
    expectCurrent("Cloud system", Rung::State::waiting, "This server belongs to no cloud system");
    seedRecords(*store, R"({"cloudSystemId": "s"})", 0);
    expectCurrent("Server record", Rung::State::working, "Not written yet");
    store->put(
        RecordKind::server, kServerRecordId, R"({"parameters":{"tavoAI":{"pluginVersion":"4"}}})");
    expectCurrent("Cameras", Rung::State::waiting, "0 of 0 cameras");

    view.devices = 1;
    store->put(RecordKind::device, "d", R"({"id":"d"})");
    view.models = {banner("is being downloaded")};
    expectCurrent("Inference application", Rung::State::working, "is being downloaded");
    view.models = {banner("could not be installed")};
    expectCurrent("Inference application", Rung::State::failed, "could not be installed");

    for (const char* const executable : {"bin/brunmod", "bin/brund"})
        folder.write(executable, "");
    view.models = {R"({"items":[{"type":"Button","name":"libraryChoiceX"}]})"};
    expectCurrent("AI runtime", Rung::State::waiting, "Choose one in the settings of a camera");
    view.models.clear();
    folder.write("bin/installed_runtime.txt", "X");
    expectCurrent("Pipelines", Rung::State::working, "0 of 1 camera");
    store->put(RecordKind::device, "d", R"({"parameters":{"tavoAI":{"pipelines":[{}]}}})");
    expectCurrent("Models", Rung::State::working, "None handed to the application yet");
    folder.write("etc/settings.json", R"([{"Name":"M"}])");
    expectCurrent("Switched on", Rung::State::waiting, "0 of 1 camera");
    view.devicesOn = 1;
    expectCurrent("Frames", Rung::State::working, "0 of 1 camera");
    view.devicesWithFrames = 1;
    expectCurrent("Results", Rung::State::working, "0 of 1 camera");
    view.devicesWithResults = 1;
    EXPECT_EQ(readLadder(view).back().state, Rung::State::done);
}

} // namespace tavo::devkit
