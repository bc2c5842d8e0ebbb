// A host on a system with nothing on it: brings the library up to an agent of one camera, shows it
// pictures for some seconds, lets go of everything and looks what is left of it in this process.
//
// usage: bare_host LIBRARY HOME_FOLDER SECONDS

#include <chrono>
#include <filesystem>
#include <future>
#include <iostream>
#include <string>
#include <thread>

#include <tavo/sdk/analytics/i_consuming_device_agent.h>
#include <tavo/sdk/helpers/ref_countable.h>

#include "common/clock.h"
#include "library/loaded_engine.h"
#include "media/video_frame.h"
#include "metadata/results.h"
#include "records/records.h"

namespace tavo::devkit
{

namespace
{

constexpr int kWidth = 320;
constexpr int kHeight = 240;
constexpr std::chrono::milliseconds kFramePeriod{100};

class Silent : public sdk::RefCountable<sdk::analytics::IDeviceAgent::IHandler>
{
public:
    void handleMetadata(sdk::analytics::IMetadataPacket*) override {}
    void handleIntegrationDiagnosticEvent(sdk::IIntegrationDiagnosticEvent*) override {}
    void pushManifest(const sdk::IString*) override {}
};

void push(sdk::analytics::IConsumingDeviceAgent& agent)
{
    auto picture = std::make_shared<Picture>();
    picture->width = kWidth;
    picture->height = kHeight;
    picture->pixels.assign(kWidth * kHeight * 3, 20);
    sdk::Result<void> result;
    agent.doPushDataPacket(
        &result, sdk::makePtr<VideoFrame>(std::move(picture), wallClockUs()).get());
    if (!result.isOk())
        throw std::runtime_error("A frame was refused: " + takeText(result.errorMessage));
}

// Gives how many objects of the library are left.
std::int64_t work(LoadedEngine& engine, const std::string& home, std::chrono::seconds time)
{
    engine.obtain(home, nullptr);
    auto agent = engine.obtainAgent(defaultDeviceId(0));
    agent->setHandler(sdk::makePtr<Silent>().get());
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end)
    {
        push(*agent);
        std::this_thread::sleep_for(kFramePeriod);
    }
    agent->finalize();
    agent.reset();
    return engine.end();
}

int count(const std::filesystem::path& folder)
{
    return static_cast<int>(std::distance(
        std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()));
}

int run(const std::string& file, const std::string& home, std::chrono::seconds time)
{
    const auto store = makeMemoryRecordStore();
    seedRecords(*store, R"({"cloudSystemId": "system", "cloudAuthToken": "token"})", 1);
    const int filesBefore = count("/proc/self/fd");

    // What threads keep of the library is let go of where they end: one of these ends before the
    // library goes, and one after it.
    std::promise<void> isGone;
    std::jthread late;
    std::int64_t left = 0;
    {
        LoadedEngine engine(file, *store);
        std::exception_ptr failure;
        std::thread(
            [&]
            {
                try
                {
                    left = work(engine, home, time);
                }
                catch (...)
                {
                    failure = std::current_exception();
                }
            })
            .join();
        if (failure)
            std::rethrow_exception(failure);
        std::promise<void> hasUsed;
        late = std::jthread(
            [&engine, &hasUsed, gone = isGone.get_future()]
            {
                (void)takeText(
                    valueOrThrow("manifest", engine.library().createPlugin()->manifest()));
                hasUsed.set_value();
                gone.wait();
            });
        hasUsed.get_future().wait();
    }
    isGone.set_value();
    late.join();

    const int threads = count("/proc/self/task");
    const int files = count("/proc/self/fd") - filesBefore;
    std::cout << "left: " << left << " objects, " << threads - 1 << " threads, " << files
              << " files" << std::endl;
    return left == 0 && threads == 1 && files == 0 ? 0 : 1;
}

} // namespace

} // namespace tavo::devkit

int main(int argc, char* argv[])
try
{
    if (argc != 4)
        throw std::runtime_error("usage: bare_host LIBRARY HOME_FOLDER SECONDS");
    return tavo::devkit::run(argv[1], argv[2], std::chrono::seconds(std::stoi(argv[3])));
}
catch (const std::exception& error)
{
    std::cerr << error.what() << std::endl;
    return 2;
}
