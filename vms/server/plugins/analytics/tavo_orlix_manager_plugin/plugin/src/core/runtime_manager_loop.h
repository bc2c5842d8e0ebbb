#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include <tavo/sdk/ptr.h>
#include <yyjson.h>

#include "base/assigned_model.h"
#include "core/requests.h"
#include "core/services.h"
#include "inference/manager_state.h"
#include "utils/retry_pause.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

class DeviceAgent;

// Brings the state of this machine into line with what the host and the user want. It polls: once
// a second it makes a pass over everything and does the first thing that is due; most steps end the
// pass at once, so that one pass does one large job and the next starts from the top. All
// installation, download and process control happen here and nowhere else, on the one thread that
// runs it. When nothing changed, a pass costs one request to the host and one comparison of texts.
//
// A pass:
//      1  shutdown test and sleep         9  reset action
//      2  utility provider               10  clear-cache action
//      3  cloud connection               11  retry action
//      4  cloud system identifier        12  device list
//      5  manager application            13  device parameters
//      6  manager status                 14  walk of the device agents
//      7  runtime reselection            15  start and stop decision
//      8  runtime selection              16  start of the manager
//
// A removal that step 10 could not finish is gone on with before step 5, also after a restart of
// the host, and nothing else until then.
//
// Requests to the host and the cloud and downloads hold the thread until they end, and nobody else:
// no lock is held meanwhile. The shutdown ends every wait but that for the application's end, which
// is 6 seconds at most, and calls of the host's. An agent is kept alive by a reference while it is
// in use, one agent at a time; if that is the last in the end, the agent is destroyed on this
// thread. So is one that a result has kept alive: at the start of the next pass.
//
// The pass, and steps 1, 2, 6 and 14 to 16, are in runtime_manager_loop.cpp; 3 to 5, 7 and 8, which
// bring up what is missing, in service_ladder.cpp, what is written to the server's record in
// server_parameters.cpp; 9 to 13 in device_parameters.cpp.
class RuntimeManagerLoop
{
public:
    // Both outlive the loop.
    RuntimeManagerLoop(
        Services& services, Requests& requests,
        std::chrono::milliseconds pause = std::chrono::seconds(1));

    // Makes passes until the shutdown, then stops the manager application. A pass that
    // throws is logged and lost, and the next one tries again. Does not throw.
    void run();

    enum class PassEnd
    {
        leaveLoop, // for the shutdown
        cutShort, // by the step that had something to do or to wait for
        complete,
    };

    // One pass; throws what its steps throw.
    PassEnd runPass();

private:
    // What outlives a pass.
    struct State
    {
        bool firstPass = true;
        bool isServerConfigured = false; // told of this installation, or reset
        AssignedModels assignedModels; // as of the list that was applied last
        std::string lastDevicesParameters; // as they were last applied, whole
        bool isRestartDue = false; // of the manager application, for what was applied meanwhile
        bool areFilesAskedFor = false; // those without which the application did not start; once
        bool isRemovalLookedFor = false; // one that an earlier run of the host has begun
        std::optional<RetryPause> removal; // of all that was installed, as long as it is under way
        bool isReportedDead = false; // the manager application, which may not be started again
    };

    // What one pass finds.
    struct Pass
    {
        ManagerState managerStatus = ManagerState::Stopped; // at step 6
        bool retryDownloads = false;
        std::string devicesParameters; // the host's device list, as it came
        ManagerState desired = ManagerState::Stopped; // or Running
    };

    // The steps; each says whether the pass goes on.
    bool waitForTurn();
    bool hostIsReachable();
    bool connectToCloud();
    bool siteIsKnown();
    bool provideManager();
    bool checkManager(Pass& pass);
    bool serveReselection(const Pass& pass);
    bool provideRuntime();
    bool serveReset();
    bool serveClearCache();
    bool serveRetry(Pass& pass);
    bool fetchDevices(Pass& pass);
    bool applyDevicesIfChanged(Pass& pass);
    bool restartIfDue(const Pass& pass); // of 13, too
    bool walkAgents(Pass& pass);
    bool startOrStopManager(const Pass& pass);

    // Parts of steps.
    bool finishRemoval(); // of all that was installed; false while something is left
    [[nodiscard]] std::string removalMark() const; // a file, as long as the removal is under way
    bool configureServer();

    // Writes what other clients of the host need to know about this installation to the server's
    // parameters.
    void patchServerParameters();

    // Whether the site is another one than `server` says, the server's record as it was before
    // patchServerParameters. Unknown counts as unchanged.
    [[nodiscard]] bool siteIdChanged(yyjson_val* server) const;

    void installRuntime(const std::string& name);
    bool configureAgents(yyjson_val* device, std::string_view deviceId) const;
    [[nodiscard]] bool anyAgentIsActive() const;
    void applyDevicesParameters(
        yyjson_val* devices, const std::string& mimeType, bool runtimeChanged);
    void startManager();
    void stopManager();

    void logSurroundings() const;
    template <class Work>
    void guarded(Work work);
    void leave();

    Services& m_services;
    Requests& m_requests;
    const std::chrono::milliseconds m_pause;
    State m_state;
};

// The engine's background thread.
void runtimeManagerLoop(Services& services, Requests& requests);

} // namespace tavo::vms_server_plugins::analytics::orlix
