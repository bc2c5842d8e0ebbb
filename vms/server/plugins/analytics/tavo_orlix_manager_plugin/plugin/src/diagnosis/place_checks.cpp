// The folders, disks and sockets that the library works with.

#include <filesystem>
#include <map>
#include <sstream>

#include "diagnosis/checks.h"
#include "diagnosis/ways_out.h"
#include "inference/protocol.h"
#include "utils/file_lock.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr std::uint64_t kMiB = 1024 * 1024;
constexpr std::uint64_t kRoomForRuntime = 2048 * kMiB; // application, a runtime, some models
constexpr std::uint64_t kRoomForArchive = 512 * kMiB;
constexpr std::uint64_t kFramesOfCamera = 3; // waiting, worked on, and one to spare
constexpr std::size_t kLongestSocketPath = 107;

std::string room(std::uint64_t bytes)
{
    return std::to_string(bytes / kMiB) + " MiB";
}

// The first one there is on the way up: the folder itself may be yet to be made.
std::string existing(const std::string& path)
{
    std::error_code ignored;
    auto folder = pathFromUtf8(path);
    while (folder.has_relative_path() && !std::filesystem::exists(folder, ignored))
        folder = folder.parent_path();
    return utf8FromPath(folder);
}

// What the cameras of the last run need of the shared memory, by the log's lines of their frames.
std::uint64_t roomForFrames(const std::string& logs)
{
    std::map<std::string, std::uint64_t> sizes; // by device
    constexpr std::string_view kSends = " sends frames of ";
    constexpr std::size_t kLongestSize = 24;
    for (std::size_t at = 0; (at = logs.find(kSends, at)) != std::string::npos; ++at)
    {
        const std::size_t device = logs.rfind(' ', at - 1) + 1;
        std::istringstream size(logs.substr(at + kSends.size(), kLongestSize));
        std::uint64_t width{}, height{};
        char by{};
        if (size >> width >> by >> height)
            sizes[logs.substr(device, at - device)] = width * height * protocol::kChannels;
    }
    std::uint64_t sum = 0;
    for (const auto& [device, size] : sizes)
        sum += size * kFramesOfCamera;
    return sum;
}

// By what the host of this working directory has said last.
bool isHostWaiting(const std::string& logs)
{
    const std::size_t waits = logs.rfind("PLUGIN_SOCKET_TAKEN");
    const std::size_t has = logs.rfind("The plugin socket is free and taken over.");
    return waits != std::string::npos && (has == std::string::npos || waits > has);
}

} // namespace

void checkFolder(
    Findings& out, const std::string& subject, const std::string& path, const Place& place,
    std::uint64_t needed)
{
    out.add(
        subject,
        path + place.rights + ", " + room(place.freeBytes) + " free of " + room(needed) + " needed",
        {{!place.exists, Verdict::bad, "there is no such folder", way_out::kMakeFolder},
         {!place.isFolder, Verdict::bad, "this is no folder", way_out::kMakeFolder},
         {!place.mayWrite, Verdict::bad, "may not be written", way_out::kGiveRight},
         {place.othersMayReplace, Verdict::bad, "wrong rights", way_out::kSticky},
         {place.freeBytes < needed, Verdict::bad, "full disk", way_out::kMakeRoom},
         {!place.isOurs, Verdict::attention, "of another user", way_out::kGiveRight}});
}

void checkFolders(Findings& out, const Surroundings& surroundings)
{
    const std::string working = existing(surroundings.workingDirectory);
    const Place place = lookAtPlace(working);
    checkFolder(out, "Working directory", working, place, kRoomForRuntime);
    out.add(
        "Programs", working,
        {{!place.mayExecute, Verdict::bad, "mounted noexec", way_out::kNoexec}});
    const std::string& temporary = surroundings.temporaryFolder;
    checkFolder(out, "Temporary folder", temporary, lookAtPlace(temporary), kRoomForArchive);
    const std::size_t length = path_join(temporary, protocol::kModuleSocketFile).size();
    out.add(
        "Socket path", std::to_string(length) + " bytes",
        {{length > kLongestSocketPath, Verdict::bad,
          "more than " + std::to_string(kLongestSocketPath), way_out::kOwnFolder}});
    if (*kSharedMemoryFolder)
        checkFolder(
            out, "Shared memory", kSharedMemoryFolder, lookAtPlace(kSharedMemoryFolder),
            roomForFrames(surroundings.logs));
}

void checkSocket(Findings& out, const std::string& path, const Place& place)
{
    out.add(
        "Socket", path + (place.exists ? " is there" + place.rights : " is not there"),
        {{!place.isOurs, Verdict::bad, "a stranger's", way_out::kOwnFolder}});
}

bool checkSockets(Findings& out, const Surroundings& surroundings)
{
    const auto inTemporary = [&](const char* name)
    { return path_join(surroundings.temporaryFolder, name); };
    for (const char* name : {protocol::kPluginSocketFile, protocol::kModuleSocketFile})
        checkSocket(out, inTemporary(name), lookAtPlace(inTemporary(name)));
    const std::string path = inTemporary(protocol::kPluginSocketFile) + ".lock";
    FileLock lock; // whoever takes it makes its file, so that none is made here
    const bool isHeld = lookAtPlace(path).exists &&
        lock.take(path) == FileLock::Outcome::heldByAnother &&
        lookAtPlace(path).exists; // that of another user's host that has ended goes by the look
    const std::string holder = isHeld ? fileLockHolder(path) : "";
    out.add(
        "Lock of the sockets",
        isHeld ? "a host has it" + holder : "free: no host runs with this temporary folder",
        {{isHeld && isHostWaiting(surroundings.logs), Verdict::bad, "a second host waits for it",
          way_out::kOwnFolder}});
    return !isHeld;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
